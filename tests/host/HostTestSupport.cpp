#include "HostTestSupport.h"

#include "foundation/Debugger.h"
#include "foundation/LogText.h"
#include "host/KinvarHUB.h"
#include "midi/PortSpec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <random>
#include <stdexcept>

using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace NSHostTesting
{
fs::path TestCodec(const char* kind)
{
    return fs::path(BRASSFOLD_HOST_TEST_CODECS) / (std::string(kind) + ".kinvarcodec");
}

fs::path NotALibrary()
{
    return fs::path(BRASSFOLD_TEST_DATA_DIR) / "host" / "NotALibrary.kinvarcodec";
}

CTemporaryFolder::CTemporaryFolder()
{
    std::random_device random;
    fPath = fs::temp_directory_path() / ("brassfold-host-" + std::to_string(random()));
    fs::create_directories(fPath);
}

CTemporaryFolder::~CTemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(fPath, ignored);
}

fs::path CTemporaryFolder::Write(const fs::path& relative, const std::string& content) const
{
    const fs::path file = fPath / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

// ---- The debug channel ----------------------------------------------------------

struct CDebugCapture::TState
{
    CTraceHookInstaller fTraceHook;
    TDebugOutput fPreviousOutput = GetDebugOutput();
};

namespace
{
std::vector<std::string> gDebugLines;

void CaptureDebugLine(const char* text)
{
    std::string line(text);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    gDebugLines.push_back(line);
}
} // namespace

CDebugCapture::CDebugCapture() : fState(std::make_unique<TState>())
{
    gDebugLines.clear();
    SetDebugOutput(&CaptureDebugLine);
}

CDebugCapture::~CDebugCapture() { SetDebugOutput(fState->fPreviousOutput); }

std::vector<std::string> CDebugCapture::Lines() const { return gDebugLines; }

std::size_t CDebugCapture::Count(const std::string& text) const
{
    return static_cast<std::size_t>(std::count_if(gDebugLines.begin(), gDebugLines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    }));
}

CLogCapture::CLogCapture() { TakePendingLog(); }

TText16 CLogCapture::Text() { return TakePendingLog(); }

// ---- Ports ------------------------------------------------------------------------

namespace
{
CMIDIPortSpec FindPort(const std::vector<CMIDIPortSpec>& ports, const char16_t* name)
{
    for (const CMIDIPortSpec& port : ports)
        if (port.GetDisplayName() == name)
            return port;
    ADD_FAILURE() << "no loopback port";
    return {};
}
} // namespace

CMIDIPortSpec InPort(const char16_t* cable) { return FindPort(NSMIDIHub::GetMIDIHub().GetInPorts(), cable); }
CMIDIPortSpec OutPort(const char16_t* cable) { return FindPort(NSMIDIHub::GetMIDIHub().GetOutPorts(), cable); }

CMIDIPortSpec MissingPort(bool input)
{
    const NSTonewell::CPortSpec spec(NSTonewell::EBackend::kLoopback,
                                     input ? NSTonewell::EDirection::kIn : NSTonewell::EDirection::kOut,
                                     "Loopback Nowhere", 0);
    return CMIDIPortSpec(spec);
}

void CRecordingReceiver::Receive(const CMIDIPortSpec&, const u64*, const TBinary& data)
{
    std::lock_guard lock(fLock);
    fMessages.push_back(data);
}

bool CRecordingReceiver::WaitForCount(std::size_t count, std::chrono::milliseconds timeout) const
{
    return WaitUntil([&] { return Count() >= count; }, timeout);
}

std::vector<TBinary> CRecordingReceiver::Messages() const
{
    std::lock_guard lock(fLock);
    return fMessages;
}

std::size_t CRecordingReceiver::Count() const
{
    std::lock_guard lock(fLock);
    return fMessages.size();
}

// ---- The toolkit ----------------------------------------------------------------------

u32 CFakeVistal::IVistal_PostCustomEvent(u32 event, u32 data)
{
    std::lock_guard lock(fLock);
    fPosts.emplace_back(event, data);
    ++fPostCount;
    return fPostStatus;
}

std::vector<std::pair<u32, u32>> CFakeVistal::Posts() const
{
    std::lock_guard lock(fLock);
    return fPosts;
}

u32 CFakeVistal::IVistal_UpdateCommands()
{
    ++fUpdateCount;
    return fUpdateStatus;
}

u32 CFakeVistal::IVistal_RequestQuit()
{
    ++fQuitCount;
    return fQuitStatus;
}

u32 CFakeVistal::IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener)
{
    fAlertBodies.push_back(AlertRecordText(record.body));
    return listener.IAlertListener_ButtonPressed(kAlertPressedFirst);
}

u32 CFakeVistal::IVistal_ShowOpenDialog(const TOpenDialogRequest& request, IOpenDialogListener& listener)
{
    fOpenRequests.push_back(request);
    return listener.IOpenDialogListener_Chosen(fFilesToChoose);
}

u32 CFakeVistal::IVistal_Yield() { return kVistalOK; }

u32 CFakeVistal::IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType, u32 flags)
{
    auto window = std::make_unique<TWindow>();
    window->fType = windowType;
    window->fFlags = flags;
    IDocumentWindowBehavior* behavior = nullptr;
    const u32 status = creator.IDocumentWindowCreator_Create(*window, &behavior);
    window->fBehavior.reset(behavior);
    fWindows.push_back(std::move(window));
    return status;
}

// ---- The windows ----------------------------------------------------------------------

namespace
{
class CFakeProgressDialog final : public IAutoDetectProgressDialog, public NSKinvarSetupUtils::IAutoDetectProgress
{
public:
    explicit CFakeProgressDialog(std::vector<std::string>& calls) : fCalls(calls) {}

    NSKinvarSetupUtils::IAutoDetectProgress& GetProgress() override { return *this; }
    void Close() override { fCalls.push_back("CloseProgress"); }

    void IAutoDetectProgress_OnBegin() override { fCalls.push_back("ProgressBegin"); }
    void IAutoDetectProgress_OnModelCount(u32 count) override
    {
        fCalls.push_back("ProgressModels " + std::to_string(count));
    }
    void IAutoDetectProgress_OnModelBegin(u32, const TControlSurfaceInfo&) override {}
    void IAutoDetectProgress_OnSurfaceFound(u32, const NSKinvarSetupUtils::VDetectedKinvarControlSurface&) override {}
    void IAutoDetectProgress_OnModelEnd(u32, const TControlSurfaceInfo&) override {}
    void IAutoDetectProgress_OnEnd() override { fCalls.push_back("ProgressEnd"); }

private:
    std::vector<std::string>& fCalls;
};
} // namespace

CFakeWindows::~CFakeWindows()
{
    for (const u32 id : fPanelSurfaces)
        GetKinvarHUB().DeleteActiveControlSurface(id);
}

void CFakeWindows::Call(const std::string& name)
{
    fCalls.push_back(name);
    if (name == fThrowIn)
        throw std::runtime_error(name);
}

void CFakeWindows::IWorkbenchWindows_FlushLog() { Call("FlushLog"); }
void CFakeWindows::IWorkbenchWindows_IdlePanels() { Call("IdlePanels"); }
void CFakeWindows::IWorkbenchWindows_IdleMIDITestWindow() { Call("IdleMIDITestWindow"); }

void CFakeWindows::IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener& listener)
{
    fSelectionListener = &listener;
    Call("OpenSelectionDialog");
}

void CFakeWindows::IWorkbenchWindows_OpenMIDITestWindow() { Call("OpenMIDITestWindow"); }
void CFakeWindows::IWorkbenchWindows_OpenLogWindow() { Call("OpenLogWindow"); }

void CFakeWindows::IWorkbenchWindows_OpenHardwarePanel(const TCodecPtr& codec, const TControlSurfaceInfo& info,
                                                       const std::vector<CMIDIPortSpec>& inPorts,
                                                       const std::vector<CMIDIPortSpec>& outPorts)
{
    Call("OpenHardwarePanel");
    fPanelSurfaces.push_back(GetKinvarHUB().CreateActiveControlSurface(codec, info, u"Name", inPorts, outPorts));
    fPanelInfos.push_back(info);
}

std::unique_ptr<IAutoDetectProgressDialog> CFakeWindows::IWorkbenchWindows_OpenAutoDetectProgress()
{
    Call("OpenProgress");
    return std::make_unique<CFakeProgressDialog>(fCalls);
}

// ---- The scripted codec ----------------------------------------------------------------

void TScript::Log(const std::string& call)
{
    std::lock_guard lock(fLock);
    fCalls.push_back(call);
}

std::vector<std::string> TScript::Calls() const
{
    std::lock_guard lock(fLock);
    return fCalls;
}

std::vector<std::pair<u32, TBinary>> TScript::Events() const
{
    std::lock_guard lock(fLock);
    return fEvents;
}

namespace
{
void SayText(ITextGetter& messages, const std::u16string& text)
{
    if (!text.empty())
        messages.ITextGetter_Take(text.c_str());
}

u32 SendAll(IMIDIEventGetter& getter, const std::vector<TBinary>& messages)
{
    std::vector<TMIDIEvent> events(messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i)
    {
        events[i].fSize = static_cast<u32>(messages[i].size());
        std::copy(messages[i].begin(), messages[i].end(), events[i].fData);
    }
    return getter.IMIDIEventGetter_Take(events.data(), static_cast<u32>(events.size()));
}

class CScriptedSurface final : public IControlSurface
{
public:
    explicit CScriptedSurface(std::shared_ptr<TScript> script) : fScript(std::move(script)) {}
    virtual ~CScriptedSurface() = default;

    u32 IControlSurface_CheckInvariant() override { return 1; }
    u32 IControlSurface_GetUniqueName(char* buffer) override
    {
        buffer[0] = 0;
        return ::kCodecOK;
    }
    u32 IControlSurface_GetInfo(TControlSurfaceInfo* info) override
    {
        *info = fScript->fInfo;
        return ::kCodecOK;
    }
    u32 IControlSurface_GetItemCount(u32* count) override
    {
        *count = fScript->fItemCount;
        return ::kCodecOK;
    }
    u32 IControlSurface_GetItemInfo(u32 itemIndex, TItemInfo* info) override
    {
        if (itemIndex >= fScript->fItemCount)
            return kCodecInvalidArgument;
        SetRecordText(info->fName, u"Item " + std::u16string(1, char16_t(u'0' + itemIndex)));
        info->fInputKind = kInputValue;
        info->fOutputKind = kOutputValue;
        info->fMax = 2000;
        info->fStateCount = 2;
        return ::kCodecOK;
    }
    u32 IControlSurface_GetItemStateName(u32, u32 stateIndex, char16* name) override
    {
        const std::u16string text = stateIndex == 0 ? u"Low" : u"High";
        std::copy(text.begin(), text.end(), name);
        name[text.size()] = 0;
        return ::kCodecOK;
    }
    u32 IControlSurface_GetStartupEvents(IMIDIEventGetter& getter, u32 outPort, ITextGetter&) override
    {
        fScript->Log("GetStartupEvents " + std::to_string(outPort));
        return SendAll(getter, fScript->fStartupMessages);
    }
    u32 IControlSurface_SetInputHandler(IControlSurfaceInputHandler* handler) override
    {
        fScript->Log(handler != nullptr ? "SetInputHandler" : "SetInputHandler null");
        std::lock_guard lock(fScript->fLock);
        fHandler = handler;
        return ::kCodecOK;
    }
    u32 IControlSurface_HandleMIDIEvent(const TMIDIEvent* event, u32 inPort, ITextGetter& messages) override
    {
        IControlSurfaceInputHandler* handler = nullptr;
        {
            std::lock_guard lock(fScript->fLock);
            fScript->fEvents.emplace_back(inPort, TBinary(event->fData, event->fData + event->fSize));
            handler = fHandler;
        }
        SayText(messages, fScript->fInputText);
        if (fScript->fReportInput && handler != nullptr)
        {
            TItemInput input{};
            input.fTime = event->fTime;
            input.fValue1 = event->fSize;
            const u32 status = handler->IControlSurfaceInputHandler_HandleInput(this, &input);
            if (status != ::kCodecOK)
                return status;
        }
        return fScript->fInputStatus;
    }
    u32 IControlSurface_SetItemStates(u32 count, const TItemState* states, ITextGetter&) override
    {
        std::lock_guard lock(fScript->fLock);
        fScript->fStates.emplace_back(states, states + count);
        return fScript->fFrameStatus;
    }
    u32 IControlSurface_GetOutputEvents(u32 maxBytes, u32 outPort, IMIDIEventGetter& getter, ITextGetter&) override
    {
        fScript->Log("GetOutputEvents " + std::to_string(outPort) + " " + std::to_string(maxBytes));
        const u32 status = SendAll(getter, fScript->fFrameMessages);
        return status != ::kCodecOK ? status : fScript->fFrameStatus;
    }
    u32 IControlSurface_GetShutdownEvents(IMIDIEventGetter& getter, u32 outPort, ITextGetter&) override
    {
        fScript->Log("GetShutdownEvents " + std::to_string(outPort));
        SendAll(getter, {{0xF0, 0x7D, 0x02, 0xF7}});
        return fScript->fShutdownStatus;
    }
    u32 IControlSurface_Destroy() override
    {
        fScript->fOpenInPortsAtDestroy = NSMIDIHub::GetMIDIHub().GetOpenInPortCount();
        fScript->Log("Destroy");
        delete this;
        return ::kCodecOK;
    }

private:
    std::shared_ptr<TScript> fScript;
    IControlSurfaceInputHandler* fHandler = nullptr;
};

class CScriptedCodec final : public ICodec2
{
public:
    explicit CScriptedCodec(std::shared_ptr<TScript> script) : fScript(std::move(script)) {}
    virtual ~CScriptedCodec() = default;

    u32 ICodec2_CheckInvariant() override { return 1; }
    u32 ICodec2_SetDebugger(IDebugger*) override { return ::kCodecOK; }
    u32 ICodec2_GetMayStayLoaded(u32* result) override
    {
        *result = 1;
        return ::kCodecOK;
    }
    u32 ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter& getter, ITextGetter&) override
    {
        return getter.IControlSurfaceInfoGetter_Take(&fScript->fInfo, 1);
    }
    IControlSurface* ICodec2_CreateControlSurface(const TControlSurfaceInfo&, u32* status) override
    {
        fScript->Log("CreateControlSurface");
        *status = fScript->fCreateStatus;
        if (*status != ::kCodecOK)
            return nullptr;
        fScript->fSurface = new CScriptedSurface(fScript);
        return fScript->fSurface;
    }
    IControlSurface* ICodec2_CreateControlSurfaceByName(const char*, u32* status) override
    {
        *status = kCodecUnsupportedInterface;
        return nullptr;
    }
    u32 ICodec2_GetControlSurfacePicture(const TControlSurfaceInfo&, u32* hasPicture, u32*) override
    {
        *hasPicture = 0;
        return ::kCodecOK;
    }
    u32 ICodec2_ProbeForControlSurface(IMIDIProber&, const TControlSurfaceInfo&, IProbeResultGetter&,
                                       ITextGetter&) override
    {
        return ::kCodecOK;
    }
    u32 ICodec2_Destroy() override
    {
        delete this;
        return ::kCodecOK;
    }

private:
    std::shared_ptr<TScript> fScript;
};
} // namespace

TCodecPtr MakeScriptedCodec(std::shared_ptr<TScript> script)
{
    return TCodecPtr(new CScriptedCodec(std::move(script)), codec_deleter());
}

TControlSurfaceInfo MakeInfo(const char16_t* manufacturer, const char16_t* model, std::vector<bool> inOptional,
                             std::vector<bool> outOptional)
{
    TControlSurfaceInfo info{};
    SetRecordText(info.fManufacturer, manufacturer);
    SetRecordText(info.fModel, model);
    info.fInPortCount = static_cast<u32>(inOptional.size());
    for (std::size_t i = 0; i < inOptional.size() && i < kMaxPortCount; ++i)
        info.fInPortOptional[i] = inOptional[i] ? 1 : 0;
    info.fOutPortCount = static_cast<u32>(outOptional.size());
    for (std::size_t i = 0; i < outOptional.size() && i < kMaxPortCount; ++i)
        info.fOutPortOptional[i] = outOptional[i] ? 1 : 0;
    return info;
}
} // namespace NSHostTesting
