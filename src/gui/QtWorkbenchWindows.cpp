#include "gui/QtWorkbenchWindows.h"

#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "gui/HardwarePanel.h"
#include "gui/AutoDetectProgressDialog.h"
#include "gui/LogWindow.h"
#include "gui/MIDITestWindow.h"
#include "gui/QtVistal.h"
#include "gui/SelectionDialog.h"
#include "host/CodecModules.h"
#include "host/KinvarHUB.h"

#include <algorithm>

CQtWorkbenchWindows::CQtWorkbenchWindows(CQtVistal& vistal) : fVistal(vistal)
{
    connect(&fVistal, &CQtVistal::Ending, this, [this] { CloseAll(); });
}

CQtWorkbenchWindows::~CQtWorkbenchWindows()
{
    CloseAll();
}

CLogWindow* CQtWorkbenchWindows::GetLogWindow() const
{
    return fLogWindow;
}

void CQtWorkbenchWindows::CloseAll()
{
    // Hardware panels close first: each ends its surface through the hub.
    // Then the MIDI test window, which releases its ports.
    for (const QPointer<CHardwarePanel>& panel : std::exchange(fPanels, {}))
        delete panel.data();
    delete fSelectionDialog.data();
    delete fMIDITestWindow.data();
    delete fLogWindow.data();
}

template <class Window, class Make>
Window& CQtWorkbenchWindows::OpenWindow(QPointer<Window>& window, Make&& make)
{
    if (!window)
    {
        window = make();
        window->show();
    }
    window->raise();
    return *window;
}

void CQtWorkbenchWindows::IWorkbenchWindows_FlushLog()
{
    // Taken under the lock and shown outside it: only this thread shows log
    // text, so nothing overtakes a piece, and no writer waits for a window.
    const TText16 text = TakePendingLog();
    if (text.empty())
        return;
    IWorkbenchWindows_OpenLogWindow();
    fLogWindow->AddText(text);
}

void CQtWorkbenchWindows::IWorkbenchWindows_OpenLogWindow()
{
    OpenWindow(fLogWindow, [] { return new CLogWindow; });
}

// ---- Hardware panels and the selection dialog ------------------------------

CSelectionDialog* CQtWorkbenchWindows::GetSelectionDialog() const
{
    return fSelectionDialog;
}

std::vector<CHardwarePanel*> CQtWorkbenchWindows::GetPanels()
{
    std::erase_if(fPanels, [](const QPointer<CHardwarePanel>& panel) { return panel.isNull(); });
    return {fPanels.begin(), fPanels.end()};
}

void CQtWorkbenchWindows::IWorkbenchWindows_IdlePanels()
{
    for (CHardwarePanel* panel : GetPanels())
        panel->Idle(fPanelIdleCount);
}

// The dialog refuses to open when no codec is loaded (its log line, and the
// command's failure).
void CQtWorkbenchWindows::IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener& listener)
{
    OpenWindow(fSelectionDialog, [this, &listener] {
        return new CSelectionDialog(
            gCodecSurfaces, NSMIDIHub::GetMIDIHub(),
            [this, &listener](const TSurfaceChoice& choice) { return SurfaceChosen(listener, choice); },
            fVistal.GetDialogParent());
    });
}

// A choice that fails (a port that won't open, a codec that refuses) is
// reported as a failed command is, and the dialog stays for another try.
bool CQtWorkbenchWindows::SurfaceChosen(IControlSurfaceSelectionListener& listener,
                                        const TSurfaceChoice& choice)
{
    const u32 status = GuardEdge(kVistalEdge, [&] {
        listener.IControlSurfaceSelectionListener_SurfaceChosen(choice.fCodec, choice.fInfo, choice.fInPorts,
                                                                choice.fOutPorts);
    });
    fVistal.ReportFailure(status);
    return status == kVistalOK;
}

void CQtWorkbenchWindows::IWorkbenchWindows_OpenHardwarePanel(
    const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
    const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts, const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts)
{
    auto* panel =
        new CHardwarePanel(std::make_unique<CPanelSurface>(GetKinvarHUB(), codec, info, inPorts, outPorts));
    fPanels.emplace_back(panel);
    panel->show();
}

// ---- The MIDI test window and the auto-detect progress dialog (issue 16) -----

CMIDITestWindow* CQtWorkbenchWindows::GetMIDITestWindow() const
{
    return fMIDITestWindow;
}

void CQtWorkbenchWindows::IWorkbenchWindows_IdleMIDITestWindow()
{
    if (fMIDITestWindow)
        fMIDITestWindow->Idle();
}

void CQtWorkbenchWindows::IWorkbenchWindows_OpenMIDITestWindow()
{
    OpenWindow(fMIDITestWindow, [] { return new CMIDITestWindow; });
}

std::unique_ptr<IAutoDetectProgressDialog>
CQtWorkbenchWindows::IWorkbenchWindows_OpenAutoDetectProgress()
{
    return std::make_unique<CAutoDetectProgressDialog>(fVistal, fVistal.GetDialogParent());
}
