#include "gui/QtWorkbenchWindows.h"

#include "foundation/Alert.h"
#include "foundation/LogText.h"
#include "gui/LogWindow.h"
#include "gui/QtVistal.h"

namespace
{
// Lets "AutoDetect" run while its progress dialog is not built yet.
class CSilentProgressDialog final : public IAutoDetectProgressDialog,
                                    public NSKinvarSetupUtils::IAutoDetectProgress
{
public:
    NSKinvarSetupUtils::IAutoDetectProgress& GetProgress() override { return *this; }
    void Close() override {}
    void IAutoDetectProgress_OnBegin() override {}
    void IAutoDetectProgress_OnModelCount(u32) override {}
    void IAutoDetectProgress_OnModelBegin(u32, const NSKinvarCodec::TControlSurfaceInfo&) override
    {
    }
    void IAutoDetectProgress_OnSurfaceFound(
        u32, const NSKinvarSetupUtils::VDetectedKinvarControlSurface&) override
    {
    }
    void IAutoDetectProgress_OnModelEnd(u32, const NSKinvarCodec::TControlSurfaceInfo&) override {}
    void IAutoDetectProgress_OnEnd() override {}
};
} // namespace

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
    // through the hub. Then the MIDI test window (issue 16).
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

void CQtWorkbenchWindows::IWorkbenchWindows_IdleMIDITestWindow() {}

void CQtWorkbenchWindows::IWorkbenchWindows_OpenMIDITestWindow()
{
    NotAvailableYet(u"The MIDI test window");
}

std::unique_ptr<IAutoDetectProgressDialog>
CQtWorkbenchWindows::IWorkbenchWindows_OpenAutoDetectProgress()
{
    NotAvailableYet(u"The auto-detect progress dialog");
    return std::make_unique<CSilentProgressDialog>();
}

void CQtWorkbenchWindows::NotAvailableYet(const char16* window)
{
    AddToLog(TText16(window) + u" is not available in this build yet.");
    Alert(u"[NOTE]^0 is not available in this build yet.[OK]", {window}, false);
}
