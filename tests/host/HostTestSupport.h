#pragma once
// What the host's tests share: test codec modules, a recording toolkit and windows, captures, ports.

#include "codec/CodecSupport.h"
#include "foundation/Alert.h"
#include "foundation/Debugger.h"
#include "host/Vistal.h"
#include "host/WorkbenchWindows.h"
#include "midi/MIDIHub.h"

#include "AssertionRecorder.h"
#include "MIDITestSupport.h"
#include "TempFolder.h"
#include "WaitUntil.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace NSHostTesting
{
using namespace std::chrono_literals;
using NSMIDIHub::CMIDIPortSpec;
using NSMIDIHub::TBinary;

using NSTesting::WaitUntil;
using NSTesting::CTempFolder;
using NSTesting::CAlertRecorder;

// The test modules by kind: "GOOD", "NO_FACTORY", "FAILING_FACTORY", "STATES".
std::filesystem::path TestCodec(const char* kind);
std::filesystem::path NotALibrary();
// The "STATES" module's codec, loaded once, and its "State Box" with the ports' optional flags given.
const TCodecPtr& StatesCodec();
NSKinvarCodec::TControlSurfaceInfo StateBox(std::vector<bool> inOptional, std::vector<bool> outOptional);

// Lines of the debug channel while it lives. Main thread.
class CDebugCapture
{
public:
    CDebugCapture();
    ~CDebugCapture();
    std::size_t Count(const std::string& text) const; // the lines that contain text
    std::size_t LineCount() const;

private:
    CTraceHookInstaller fTraceHook;
    TDebugOutput fPreviousOutput;
};

// The log's pending text since construction, or since the last call.
class CLogCapture
{
public:
    CLogCapture();
    TText16 Text();
};

CMIDIPortSpec InPort(const char16_t* cable);
CMIDIPortSpec OutPort(const char16_t* cable);
// A loopback port that does not exist.
CMIDIPortSpec MissingPort(bool input);

using NSMIDITesting::CRecordingReceiver;

// Records what it is asked; answers with the statuses and files set in it.
class CFakeVistal final : public IVistal
{
public:
    u32 IVistal_PostCustomEvent(u32 event, u32 data) override;
    u32 IVistal_UpdateCommands() override
    {
        ++fUpdateCount;
        return kVistalOK;
    }
    u32 IVistal_RequestQuit() override { return fQuitStatus; }
    u32 IVistal_ShowAlert(const TAlertRecord&, IAlertListener& listener) override
    {
        return listener.IAlertListener_ButtonPressed(kAlertPressedFirst);
    }
    u32 IVistal_ShowOpenDialog(const TOpenDialogRequest& request, IOpenDialogListener& listener) override;
    u32 IVistal_Yield() override { return kVistalOK; }
    u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator&, u32, u32) override { return kVistalOK; }

    // Posts may come on MIDI threads.
    std::atomic<std::size_t> fPostCount{0};
    u32 fQuitStatus = kVistalOK;
    int fUpdateCount = 0;
    std::vector<TOpenDialogRequest> fOpenRequests;
    // What the open dialogs answer; empty: cancelled.
    std::vector<std::filesystem::path> fFilesToChoose;
};

// Records the calls in order; the one named in fThrowIn throws. (A panel's road is the widget tests'.)
class CFakeWindows final : public IWorkbenchWindows
{
public:
    void IWorkbenchWindows_FlushLog() override { Call("FlushLog"); }
    void IWorkbenchWindows_IdlePanels() override { Call("IdlePanels"); }
    void IWorkbenchWindows_IdleMIDITestWindow() override { Call("IdleMIDITestWindow"); }
    void IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener&) override
    {
        Call("OpenSelectionDialog");
    }
    void IWorkbenchWindows_OpenMIDITestWindow() override { Call("OpenMIDITestWindow"); }
    void IWorkbenchWindows_OpenLogWindow() override { Call("OpenLogWindow"); }
    void IWorkbenchWindows_OpenHardwarePanel(const TCodecPtr&, const NSKinvarCodec::TControlSurfaceInfo&,
                                             const std::vector<CMIDIPortSpec>&,
                                             const std::vector<CMIDIPortSpec>&) override
    {
        Call("OpenHardwarePanel");
    }
    std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() override;

    std::vector<std::string> fCalls;
    std::string fThrowIn;

private:
    void Call(const std::string& name);
};
} // namespace NSHostTesting
