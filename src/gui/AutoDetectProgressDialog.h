#pragma once
// The progress dialog of "AutoDetect", titled "Auto-detect": which model is
// being probed and how far the run is, on a bar from 0 to 1000 (busy until
// the number of models is known). It has no controls of its own and can't be
// closed by the user; the command closes it once the panels of what was
// found are open.
//
// Probing holds the user interface thread, so each step of the run ends by
// letting the toolkit handle pending events (IVistal_Yield): the dialog
// paints, and the rest of the workbench stays drawn. A failure there is
// thrown into the run, which it ends.
//
// The user interface thread.

#include "host/Vistal.h"
#include "host/WorkbenchWindows.h"

#include <QDialog>

class QLabel;
class QProgressBar;

class CAutoDetectProgressDialog final : public QDialog,
                                        public IAutoDetectProgressDialog,
                                        public NSKinvarSetupUtils::IAutoDetectProgress
{
    Q_OBJECT

public:
    static constexpr int kBarEnd = 1000;

    // Shows the dialog, modal, over the window over (may be null).
    CAutoDetectProgressDialog(IVistal& vistal, QWidget* over);
    ~CAutoDetectProgressDialog() override;

    // The bar's position; -1 while it shows as busy.
    int GetBarValue() const;
    QString GetSurfaceText() const;

    NSKinvarSetupUtils::IAutoDetectProgress& GetProgress() override { return *this; }
    void Close() override;

    void IAutoDetectProgress_OnBegin() override;
    void IAutoDetectProgress_OnModelCount(u32 count) override;
    void IAutoDetectProgress_OnModelBegin(u32 index,
                                          const NSKinvarCodec::TControlSurfaceInfo& info) override;
    void IAutoDetectProgress_OnSurfaceFound(
        u32 index, const NSKinvarSetupUtils::VDetectedKinvarControlSurface& surface) override;
    void IAutoDetectProgress_OnModelEnd(u32 index,
                                        const NSKinvarCodec::TControlSurfaceInfo& info) override;
    void IAutoDetectProgress_OnEnd() override;

protected:
    // Escape and the window's close button do nothing: the run decides.
    void reject() override {}
    void closeEvent(QCloseEvent* event) override;

private:
    void SetSurfaceText(const TText16& text);
    void ProcessPendingEvents();

    IVistal& fVistal;
    QLabel* fControlSurfaceTextView;
    QProgressBar* fProgressView;
    // What the surface text shows while a model is probed: its manufacturer
    // and its model.
    TText16 fSurfaceTextScript = u"^0 ^1";
    u32 fTotal = 0;
    bool fClosing = false;
};
