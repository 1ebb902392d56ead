#pragma once
// What the host's tests share: the test codec modules, a fake toolkit and
// fake windows that record what the host asks of them, a capture of the
// debug channel, a scripted in-process codec, and bounded waits.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"
#include "foundation/Types.h"
#include "host/Vistal.h"
#include "host/WorkbenchWindows.h"
#include "midi/MIDIHub.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace NSHostTesting
{
using namespace std::chrono_literals;
using NSMIDIHub::CMIDIPortSpec;
using NSMIDIHub::TBinary;

// Long enough for a loaded machine, short enough to fail fast.
inline constexpr auto kPatience = 10s;

template <class Predicate> bool WaitUntil(Predicate predicate, std::chrono::milliseconds timeout = kPatience)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// The test modules by kind: "GOOD", "NO_FACTORY", "FAILING_FACTORY", "STATES".
std::filesystem::path TestCodec(const char* kind);
std::filesystem::path NotALibrary();

// A fresh folder below the temporary folder, removed with its content.
class CTemporaryFolder
{
public:
    CTemporaryFolder();
    ~CTemporaryFolder();
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return fPath; }
    std::filesystem::path Write(const std::filesystem::path& relative, const std::string& content) const;

private:
    std::filesystem::path fPath;
};

// Lines of the debug channel while it lives: trace lines (BF_TRACE) and what
// codecs trace. Main thread.
class CDebugCapture
{
public:
    CDebugCapture();
    ~CDebugCapture();
    CDebugCapture(const CDebugCapture&) = delete;
    CDebugCapture& operator=(const CDebugCapture&) = delete;

    std::vector<std::string> Lines() const;
    // How many lines contain text.
    std::size_t Count(const std::string& text) const;

private:
    struct TState;
    std::unique_ptr<TState> fState;
};

// Takes the log window's pending text as it is when constructed, so that a
// test sees only its own; Text() takes what came since.
class CLogCapture
{
public:
    CLogCapture();
    TText16 Text();
};

// Ports of the loopback cables.
CMIDIPortSpec InPort(const char16_t* cable);
CMIDIPortSpec OutPort(const char16_t* cable);
// A spec of a loopback port that does not exist.
CMIDIPortSpec MissingPort(bool input);

// Records what arrives on a port.
class CRecordingReceiver final : public NSMIDIHub::IMIDIReceiver
{
public:
    void Receive(const CMIDIPortSpec& port, const u64* time, const TBinary& data) override;
    bool WaitForCount(std::size_t count, std::chrono::milliseconds timeout = kPatience) const;
    std::vector<TBinary> Messages() const;
    std::size_t Count() const;

private:
    mutable std::mutex fLock;
    std::vector<TBinary> fMessages;
};

// Records everything; answers with the statuses and files set in it.
class CFakeVistal final : public IVistal
{
public:
    u32 IVistal_PostCustomEvent(u32 event, u32 data) override;
    u32 IVistal_UpdateCommands() override;
    u32 IVistal_RequestQuit() override;
    u32 IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override;
    u32 IVistal_ShowOpenDialog(const TOpenDialogRequest& request, IOpenDialogListener& listener) override;
    u32 IVistal_Yield() override;
    u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType, u32 flags) override;

    // Posts may come from MIDI threads.
    std::size_t PostCount() const { return fPostCount.load(); }
    std::vector<std::pair<u32, u32>> Posts() const;

    u32 fPostStatus = kVistalOK;
    u32 fUpdateStatus = kVistalOK;
    u32 fQuitStatus = kVistalOK;
    int fUpdateCount = 0;
    int fQuitCount = 0;
    std::vector<TText16> fAlertBodies;
    std::vector<TOpenDialogRequest> fOpenRequests;
    // What the next open dialog answers; empty: cancelled.
    std::vector<std::filesystem::path> fFilesToChoose;

    struct TWindow final : public IVistalWindow
    {
        u32 IVistalWindow_Close() override
        {
            ++fCloseCount;
            return kVistalOK;
        }
        u32 fType = 0;
        u32 fFlags = 0;
        int fCloseCount = 0;
        std::unique_ptr<IDocumentWindowBehavior> fBehavior;
    };
    std::vector<std::unique_ptr<TWindow>> fWindows;

private:
    mutable std::mutex fLock;
    std::atomic<std::size_t> fPostCount{0};
    std::vector<std::pair<u32, u32>> fPosts;
};

// Records the calls in order ("FlushLog", "IdlePanels", ...); a call named in
// fThrowIn throws std::runtime_error. Panels are opened as the GUI opens
// them: the surface is started through the process's hub, and its id kept.
class CFakeWindows final : public IWorkbenchWindows
{
public:
    ~CFakeWindows() override;

    void IWorkbenchWindows_FlushLog() override;
    void IWorkbenchWindows_IdlePanels() override;
    void IWorkbenchWindows_IdleMIDITestWindow() override;
    void IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener& listener) override;
    void IWorkbenchWindows_OpenMIDITestWindow() override;
    void IWorkbenchWindows_OpenLogWindow() override;
    void IWorkbenchWindows_OpenHardwarePanel(const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
                                             const std::vector<CMIDIPortSpec>& inPorts,
                                             const std::vector<CMIDIPortSpec>& outPorts) override;
    std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() override;

    std::vector<std::string> fCalls;
    std::string fThrowIn;
    IControlSurfaceSelectionListener* fSelectionListener = nullptr;
    // Ids of the surfaces of the panels, deleted with this object.
    std::vector<u32> fPanelSurfaces;
    std::vector<NSKinvarCodec::TControlSurfaceInfo> fPanelInfos;

private:
    void Call(const std::string& name);
};

// A surface whose behaviour the test sets, and which logs every call that it
// gets into a shared list, in order, with the thread-safe ones locked.
struct TScript
{
    NSKinvarCodec::TControlSurfaceInfo fInfo{};
    u32 fItemCount = 2;
    // Creation: a surface comes back when this is kCodecOK.
    u32 fCreateStatus = NSKinvarCodec::kCodecOK;
    // What each frame sends on each port, and the status of the frame's calls.
    std::vector<TBinary> fFrameMessages;
    u32 fFrameStatus = NSKinvarCodec::kCodecOK;
    std::vector<TBinary> fStartupMessages;
    u32 fShutdownStatus = NSKinvarCodec::kCodecOK;
    // Input: the status of HandleMIDIEvent, and the text it says.
    u32 fInputStatus = NSKinvarCodec::kCodecOK;
    std::u16string fInputText;
    // Each message handed in makes one input of item 0 whose fValue1 is its size.
    bool fReportInput = false;

    // The last surface made.
    NSKinvarCodec::IControlSurface* fSurface = nullptr;

    mutable std::mutex fLock;
    std::vector<std::string> fCalls;
    std::vector<std::pair<u32, TBinary>> fEvents; // port index, message
    std::vector<std::vector<NSKinvarCodec::TItemState>> fStates;
    std::size_t fOpenInPortsAtDestroy = 99;

    void Log(const std::string& call);
    std::vector<std::string> Calls() const;
    std::vector<std::pair<u32, TBinary>> Events() const;
};

// A codec of one model, made of script; its surfaces log into script.
TCodecPtr MakeScriptedCodec(std::shared_ptr<TScript> script);

// A model record: the names, and port counts with optional flags.
NSKinvarCodec::TControlSurfaceInfo MakeInfo(const char16_t* manufacturer, const char16_t* model,
                                            std::vector<bool> inOptional, std::vector<bool> outOptional);
} // namespace NSHostTesting
