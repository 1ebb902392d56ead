#include "gui/QtWorkbenchWindows.h"

#include "foundation/Alert.h"
#include "foundation/LogText.h"
#include "gui/AutoDetectProgressDialog.h"
#include "gui/LogWindow.h"
#include "gui/MIDITestWindow.h"
#include "gui/QtVistal.h"

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
    // Hardware panels (issue 15) close here first: each ends its surface
    // through the hub. Then the MIDI test window, which releases its ports.
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

// ---- Hardware panels and the selection dialog (issue 15) --------------------

void CQtWorkbenchWindows::IWorkbenchWindows_IdlePanels() {}

void CQtWorkbenchWindows::IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener&)
{
    NotAvailableYet(u"The control surface selection dialog");
}

void CQtWorkbenchWindows::IWorkbenchWindows_OpenHardwarePanel(
    const TCodecPtr&, const NSKinvarCodec::TControlSurfaceInfo&,
    const std::vector<NSMIDIHub::CMIDIPortSpec>&, const std::vector<NSMIDIHub::CMIDIPortSpec>&)
{
    NotAvailableYet(u"The hardware panel");
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

void CQtWorkbenchWindows::NotAvailableYet(const char16* window)
{
    AddToLog(TText16(window) + u" is not available in this build yet.");
    Alert(u"[NOTE]^0 is not available in this build yet.[OK]", {window}, false);
}
