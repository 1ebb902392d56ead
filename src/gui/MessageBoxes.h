#pragma once
// Alerts and boxes as Qt message boxes.
//
// An alert record (foundation/AlertPresenter.h) becomes a QMessageBox: STOP,
// NOTE, WARN and NONE its icon, the caption its title (the application's
// name when empty), the body its text, and its one to three bracketed buttons
// its buttons, the first the default; in the layouts whose last button
// cancels, Escape presses that one, otherwise Escape presses the first.
//
// CQtBoxPresenter shows the boxes that need no running program: the error box
// of last resort and the assertion box (Abort, Retry, Ignore). They come up as
// message boxes on the user interface thread while a QApplication exists;
// elsewhere, and on other threads, they go to the presenter that was there
// before (standard error).

#include "foundation/AlertPresenter.h"

#include <QMessageBox>

#include <memory>

class QWidget;

// The box of a record; null for a record that IsValidAlertRecord refuses.
std::unique_ptr<QMessageBox> MakeAlertBox(const TAlertRecord& record, QWidget* parent);
// What a presenter reports for the button pressed in a box of MakeAlertBox:
// 564, 565 or 566.
u32 GetPressedButton(const QMessageBox& box);
// Shows the record, blocks, and hands the pressed button to listener; 12002
// for a refused record, else what the listener returns.
u32 ShowAlertBox(const TAlertRecord& record, IAlertListener& listener, QWidget* parent);

class CQtBoxPresenter final : public IAlertPresenter
{
public:
    // fallback: where alerts go, and boxes that Qt can't show.
    explicit CQtBoxPresenter(IAlertPresenter& fallback) : fFallback(fallback) {}

    u32 IAlertPresenter_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override;
    EBoxAnswer IAlertPresenter_ShowBox(const char* caption, const char* text,
                                       EBoxButtons buttons) noexcept override;

private:
    IAlertPresenter& fFallback;
};
