#include "host/MyAppBehavior.h"

#include "foundation/Alert.h"
#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/TextResource.h"
#include "host/AppCommands.h"
#include "host/CodecModules.h"
#include "host/ProgramEntry.h"
#include "host/Vistal.h"

namespace
{
constexpr u32 kProgramTextResource = 2000;
constexpr u64 kIdleIntervalMs = 10;

constexpr i32 kQuitWord = 1;
constexpr i32 kFileWord = 6;
constexpr i32 kCtrlKeyWord = 131;

TMenuRecord Command(const TText16& title, u32 command, u32 menu = kTestMenu,
                    const TText16& shortcut = u"")
{
    return TMenuRecord{title, shortcut, menu, command, false};
}

TMenuRecord Separator(u32 menu = kTestMenu) { return TMenuRecord{u"", u"", menu, 0, true}; }

// A word of the framework's string resource ("SSTR" 1000).
TText16 FrameworkWord(i32 index)
{
    return NSVistalUtils::GetStringResource(
        NSVistalUtils::MakeResourceId(NSVistalUtils::kResourceString, 1000, index));
}

void ShowAbout()
{
    const TStartupParams params = MakeStartupParams();
    const TText16 caption = params.fAboutItemText.substr(0, params.fAboutItemText.find(u"..."));
    Alert(u"[NOTE][^0]^1\nA workbench for writing Kinvar control surface codecs and mapping "
          u"files.\n\n^2[OK]",
          {caption, params.fApplicationName, params.fCompanyName}, false);
}

template <class Body> u32 Guard(Body&& body) noexcept
{
    return GuardEdge(kVistalEdge, std::forward<Body>(body));
}
} // namespace

const std::vector<TMenuRecord>& GetTestMenu()
{
    static const std::vector<TMenuRecord> menu = {
        Command(u"Choose Codec File", kChooseCodecFileCommand),
        Separator(),
        Command(u"AutoDetect", kAutoDetectCommand),
        Separator(),
        Command(u"Create ControlSurface", kCreateControlSurfaceCommand),
        Separator(),
        Command(u"Validate Map File", kValidateMapFileCommand),
        Separator(),
        Command(u"MIDI Test", kMIDITestCommand),
        Separator(),
        Command(u"Show Log Window", kShowLogWindowCommand),
    };
    return menu;
}

std::vector<TMenuRecord> GetFileMenu()
{
    return {
        Command(u"Load MIDI Codecs", kLoadMIDICodecsCommand, kFileMenu),
        Separator(kFileMenu),
        Command(MakeStartupParams().fAboutItemText, kAboutCommand, kFileMenu),
        Separator(kFileMenu),
        Command(FrameworkWord(kQuitWord), kQuitCommand, kFileMenu,
                FrameworkWord(kCtrlKeyWord) + u"+Q"),
    };
}

CMyAppBehavior::CMyAppBehavior(IWorkbenchWindows& windows)
    : CMyAppBehavior(windows, GetKinvarHUB(), GetOutputFrameClock())
{
}

CMyAppBehavior::CMyAppBehavior(IWorkbenchWindows& windows, CKinvarHUB& hub, COutputFrameClock& frames)
    : fWindows(windows), fHub(hub), fFrames(frames)
{
}

CMyAppBehavior::~CMyAppBehavior() = default;

u32 CMyAppBehavior::OnStart()
{
    return Guard([] { LoadTextResource(kProgramTextResource); });
}

u32 CMyAppBehavior::OnEnd()
{
    return Guard([this] {
        // Running surfaces hold codecs, and their ports deliver input into
        // codec code: they end first, with their shutdown messages.
        fHub.DeleteAllActiveControlSurfaces();
        gCodecSurfaces.clear();
        loadedModules.clear();
    });
}

u32 CMyAppBehavior::OnQuitCommand()
{
    u32 status = kVistalOK;
    const u32 guarded = Guard([&] { status = GetVistal().IVistal_RequestQuit(); });
    return guarded != kVistalOK ? guarded : status;
}

u32 CMyAppBehavior::OnOpenDefaultDocument(u32)
{
    return Guard([] { OpenDummyDocumentWindow(GetVistal()); });
}

u32 CMyAppBehavior::OnReserved1(u32) { return kVistalOK; }

u32 CMyAppBehavior::OnBuildMenus(IMenuBuilder& builder)
{
    return Guard([&] {
        ThrowVistalResult(builder.IMenuBuilder_AddItems(kTestMenu, GetTestMenu()));
        ThrowVistalResult(builder.IMenuBuilder_SetTitle(kTestMenu, u"Test"));
        ThrowVistalResult(builder.IMenuBuilder_AddItems(kFileMenu, GetFileMenu()));
        ThrowVistalResult(builder.IMenuBuilder_SetTitle(kFileMenu, FrameworkWord(kFileWord)));
    });
}

u32 CMyAppBehavior::OnMenuCommand(const TCommandRecord& command, u32* handled)
{
    u32 status = kVistalOK;
    const u32 guarded = Guard([&] {
        if (command.fMenu == kFileMenu)
        {
            if (RunFileCommand(command.fCommand))
                *handled = 1;
        }
        else if (command.fCommand < kCommandCount)
        {
            RunCommand(command.fCommand);
            *handled = 1;
        }
        status = GetVistal().IVistal_UpdateCommands();
    });
    return guarded != kVistalOK ? guarded : status;
}

void CMyAppBehavior::RunCommand(u32 command)
{
    switch (command)
    {
    case kChooseCodecFileCommand:
        ChooseCodecFile(GetVistal());
        break;
    case kAutoDetectCommand:
        AutoDetect(fWindows);
        break;
    case kCreateControlSurfaceCommand:
        fWindows.IWorkbenchWindows_OpenSelectionDialog(*this);
        break;
    case kMIDITestCommand:
        fWindows.IWorkbenchWindows_OpenMIDITestWindow();
        break;
    case kShowLogWindowCommand:
        fWindows.IWorkbenchWindows_OpenLogWindow();
        break;
    case kValidateMapFileCommand:
        ValidateMapFileCommand(GetVistal());
        break;
    }
}

bool CMyAppBehavior::RunFileCommand(u32 command)
{
    switch (command)
    {
    case kLoadMIDICodecsCommand:
        LoadMIDICodecs();
        return true;
    case kAboutCommand:
        ShowAbout();
        return true;
    case kQuitCommand:
        ThrowVistalResult(GetVistal().IVistal_RequestQuit());
        return true;
    }
    return false;
}

u32 CMyAppBehavior::OnQueryCommand(u32, u32* enabled)
{
    *enabled = 0;
    return kVistalOK;
}

u32 CMyAppBehavior::OnIdle(u64* nextIdle)
{
    // Each step on its own, so that a failure names the step it stopped.
    if (const u32 status = Guard([&] { fWindows.IWorkbenchWindows_FlushLog(); }); status != kVistalOK)
        return status;
    if (const u32 status = Guard([&] { fFrames.Tick(); }); status != kVistalOK)
        return status;
    if (const u32 status = Guard([&] { fWindows.IWorkbenchWindows_IdlePanels(); }); status != kVistalOK)
        return status;
    if (const u32 status = Guard([&] { fWindows.IWorkbenchWindows_IdleMIDITestWindow(); });
        status != kVistalOK)
        return status;
    // A thousand times the framework's default: the output frames ride on
    // the idle calls.
    *nextIdle = kIdleIntervalMs;
    return kVistalOK;
}

u32 CMyAppBehavior::OnBeginDraw(void* canvas)
{
    return Guard([&] { fCanvases.push_back(canvas); });
}

u32 CMyAppBehavior::OnEndDraw(void* canvas)
{
    return Guard([&] {
        BF_ASSERT(!fCanvases.empty() && fCanvases.back() == canvas);
        if (fCanvases.empty())
            throw XIllegalCallSequence();
        fCanvases.pop_back();
    });
}

u32 CMyAppBehavior::OnReserved2(u32) { return kVistalOK; }

// Widgets are the toolkit's own here: no widget library needs a step.
u32 CMyAppBehavior::OnDunmarkStep() { return kVistalOK; }

u32 CMyAppBehavior::OnReserved3() { return kVistalOK; }
u32 CMyAppBehavior::OnReserved4() { return kVistalOK; }

u32 CMyAppBehavior::OnCustomEvent(u32 event, u32 data)
{
    return Guard([&] {
        if (event != kInputEvent || data != 0)
        {
            BF_ASSERT(event == kInputEvent && data == 0);
            return;
        }
        fHub.DriveInput();
    });
}

u32 CMyAppBehavior::OnError(u32)
{
    return Guard([] { Alert(u"[STOP][Error]An error occurred, check the Log Window![OK]", false); });
}

u32 CMyAppBehavior::OnQueryQuit(u32* mayQuit)
{
    *mayQuit = 1;
    return kVistalOK;
}

void CMyAppBehavior::IControlSurfaceSelectionListener_SurfaceChosen(
    const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
    const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts, const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts)
{
    fWindows.IWorkbenchWindows_OpenHardwarePanel(codec, info, inPorts, outPorts);
}
