#pragma once
// The workbench's own windows on Qt (host/WorkbenchWindows.h): what the run
// behaviour and the commands open, and the idle steps that reach them.
//
// How a window is made here, for every window to come:
//   - a model without widgets in src/gui (or src/host where the host needs
//     it), with its unit tests;
//   - a thin QWidget class that shows the model and forwards the user's
//     actions, with an accessible name on every control, its Qt callbacks in
//     GuardWindowCallback (no exception leaves them), and Qt::WA_DeleteOnClose;
//   - a QPointer to it here (null once the user has closed it), opened by its
//     IWorkbenchWindows operation (OpenWindow), given its idle step by the
//     matching Idle... operation, and closed by CloseAll at the end of the run
//     (CQtVistal::Ending), before OnEnd ends the surfaces and drops the codecs.
//
// The user interface thread.

#include "host/WorkbenchWindows.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <vector>

class CHardwarePanel;
class CLogWindow;
class CMIDITestWindow;
class CQtVistal;
class CSelectionDialog;
struct TSurfaceChoice;

class CQtWorkbenchWindows final : public QObject, public IWorkbenchWindows
{
    Q_OBJECT

public:
    explicit CQtWorkbenchWindows(CQtVistal& vistal);
    ~CQtWorkbenchWindows() override;

    // The log window; null while none is open.
    CLogWindow* GetLogWindow() const;
    // The selection dialog; null while none is open.
    CSelectionDialog* GetSelectionDialog() const;
    // The open hardware panels, in the order opened.
    std::vector<CHardwarePanel*> GetPanels();
    // The MIDI test window; null while none is open.
    CMIDITestWindow* GetMIDITestWindow() const;
    // Closes every window of the workbench.
    void CloseAll();

    // Moves the pending log text to the log window, which opens when there is
    // any (never for none).
    void IWorkbenchWindows_FlushLog() override;
    void IWorkbenchWindows_IdlePanels() override;
    void IWorkbenchWindows_IdleMIDITestWindow() override;
    void IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener& listener) override;
    void IWorkbenchWindows_OpenMIDITestWindow() override;
    void IWorkbenchWindows_OpenLogWindow() override;
    void IWorkbenchWindows_OpenHardwarePanel(
        const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
        const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
        const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts) override;
    std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() override;

private:
    // Shows window, made by make when none is open, and brings it to the front.
    template <class Window, class Make> Window& OpenWindow(QPointer<Window>& window, Make&& make);
    // Hands the dialog's choice to listener; false when that failed.
    bool SurfaceChosen(IControlSurfaceSelectionListener& listener, const TSurfaceChoice& choice);

    CQtVistal& fVistal;
    QPointer<CLogWindow> fLogWindow;
    QPointer<CSelectionDialog> fSelectionDialog;
    std::vector<QPointer<CHardwarePanel>> fPanels;
    // The idle steps of all panels, counted together: the statistics of a
    // panel run when the count is a multiple of ten.
    u32 fPanelIdleCount = 0;
    QPointer<CMIDITestWindow> fMIDITestWindow;
};
