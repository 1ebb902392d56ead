#pragma once
// The run behaviour of the workbench: everything the workbench does on the
// user interface thread is a call from the toolkit into this object. It owns
// the "Test" menu and its commands, the idle step with the output frame clock,
// and the delivery of decoded input; the windows it opens are the GUI layer's
// (host/WorkbenchWindows.h).
//
// Every operation keeps the GUI edge: a std::exception becomes its status word
// (VistalResultFromException), anything else 12007, and no exception reaches
// the toolkit.

#include "host/KinvarHUB.h"
#include "host/OutputFrameClock.h"
#include "host/RunBehavior.h"
#include "host/WorkbenchWindows.h"

#include <vector>

// The menu of the workbench, number 2, titled "Test".
inline constexpr u32 kTestMenu = 2;
// What the workbench adds beyond the "Test" menu lives in a menu of its own,
// number 1, titled "File", so that the "Test" menu's records and dispatch stay
// as they are.
inline constexpr u32 kFileMenu = 1;

// Command ids of the "Test" menu. Ids and menu positions are not in line:
// "Validate Map File" (5) stands ahead of "MIDI Test" (3) and "Show Log
// Window" (4).
enum ECommand : u32
{
    kChooseCodecFileCommand = 0,
    kAutoDetectCommand = 1,
    kCreateControlSurfaceCommand = 2,
    kMIDITestCommand = 3,
    kShowLogWindowCommand = 4,
    kValidateMapFileCommand = 5,
};
inline constexpr u32 kCommandCount = 6;

// Command ids of the "File" menu, apart from those of the "Test" menu.
enum EFileCommand : u32
{
    kLoadMIDICodecsCommand = 100,
    kAboutCommand = 101,
    kQuitCommand = 102,
};

// The records of the "Test" menu, commands and separators alternating.
const std::vector<TMenuRecord>& GetTestMenu();
// The records of the "File" menu: "Load MIDI Codecs", "About Brassfold..."
// and "Quit" (Ctrl+Q), with the framework's words ("SSTR" 1000).
std::vector<TMenuRecord> GetFileMenu();

class CMyAppBehavior : public IVistalRunBehavior, public IControlSurfaceSelectionListener
{
public:
    // With the process's hub and frame clock.
    explicit CMyAppBehavior(IWorkbenchWindows& windows);
    CMyAppBehavior(IWorkbenchWindows& windows, CKinvarHUB& hub, COutputFrameClock& frames);

    // Loads the program's texts ("TXT" 2000) unless they are loaded.
    u32 OnStart() override;
    // Ends every running surface through the hub (shutdown messages go out,
    // ports close), then empties gCodecSurfaces, then loadedModules: surfaces
    // die before their codecs, codecs before the modules that hold their code.
    u32 OnEnd() override;
    u32 OnQuitCommand() override;
    u32 OnOpenDefaultDocument(u32 ignored) override;
    u32 OnReserved1(u32 ignored) override;
    // The "Test" menu, then the "File" menu.
    u32 OnBuildMenus(IMenuBuilder& builder) override;
    // Runs the handler of a command id below kCommandCount and sets *handled
    // to 1; leaves *handled alone for any other id. A command of the "File"
    // menu runs its own handler instead and sets *handled to 1. Then brings
    // the menus up to date, unless the handler threw.
    u32 OnMenuCommand(const TCommandRecord& command, u32* handled) override;
    u32 OnQueryCommand(u32 ignored, u32* enabled) override;
    // The log flush, the output frame tick, the panels' and the MIDI test
    // window's idle steps; then asks to be called again in 10 ms.
    u32 OnIdle(u64* nextIdle) override;
    u32 OnBeginDraw(void* canvas) override;
    u32 OnEndDraw(void* canvas) override;
    u32 OnReserved2(u32 ignored) override;
    u32 OnDunmarkStep() override;
    u32 OnReserved3() override;
    u32 OnReserved4() override;
    // kInputEvent with data 0 drives the hub's input; anything else is a
    // failed assertion.
    u32 OnCustomEvent(u32 event, u32 data) override;
    // The alert "An error occurred, check the Log Window!", titled "Error".
    u32 OnError(u32 ignored) override;
    ~CMyAppBehavior() override;

    // Never refuses: writes 1.
    virtual u32 OnQueryQuit(u32* mayQuit);

    // The selection dialog's choice opens a hardware panel.
    void IControlSurfaceSelectionListener_SurfaceChosen(
        const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
        const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
        const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts) override;

    // The canvases between OnBeginDraw and OnEndDraw, innermost last.
    const std::vector<void*>& GetCanvasStack() const { return fCanvases; }

private:
    void RunCommand(u32 command);
    bool RunFileCommand(u32 command);

    IWorkbenchWindows& fWindows;
    CKinvarHUB& fHub;
    COutputFrameClock& fFrames;
    std::vector<void*> fCanvases;
};
