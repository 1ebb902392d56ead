#pragma once
// The MIDI test window, titled "MIDI Test": raw MIDI by hand, with no codec
// (gui/MIDITestModel.h holds the ports, the send text and what came in).
//
// Two port rows at fixed places: a title ("In-port", "Out-port"), a popup
// whose rows are the prompt and the ports, listed anew each time it opens so
// that a port plugged in later can be chosen, and the row's status. Below
// them, in the flow layout, "Send" with the field of the message, the check
// boxes of time stamps and of hiding clock and active sensing, "Copy" and
// "Save..."; then "Received messages:" and the received lines, rebuilt only
// when something came.
//
// A modeless dialog, of which the workbench has at most one;
// CQtWorkbenchWindows opens it and gives it its idle step. Return in the
// message field presses "Send". Closing it releases both ports at once; it deletes itself
// after. The user interface thread.

#include "gui/MIDITestModel.h"

#include <QDialog>

#include <filesystem>

class CPortPopup;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

class CMIDITestWindow final : public QDialog
{
    Q_OBJECT

public:
    explicit CMIDITestWindow(QWidget* parent = nullptr);
    ~CMIDITestWindow() override;

    // Takes what came in, and shows it if anything did.
    void Idle();
    const CMIDITestModel& GetModel() const { return fModel; }

    // Writes what was received: the ".syx" of a file of that extension
    // holds its system exclusive messages, any other file its lines. A
    // failure becomes an alert that names the file.
    void SaveTo(const std::filesystem::path& file);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    // Escape closes it as the window's close button does.
    void reject() override { close(); }

private:
    struct TPortRow
    {
        QLabel* fTitle;
        CPortPopup* fPopup;
        QLabel* fStatus;
    };

    TPortRow MakePortRow(const QString& name, bool input);
    // "Send" and its field, the check boxes, "Copy" and "Save...", in the flow layout.
    QWidget* MakeControls(QWidget* parent);
    QWidget* MakeLowerPart();
    void PlacePortRow(const TPortRow& row, const QRect& work, int top);
    void ShowReceived();
    void Save();

    CMIDITestModel fModel;
    TPortRow fInRow;
    TPortRow fOutRow;
    QWidget* fLowerPart;
    QPlainTextEdit* fReceivedText = nullptr;
};
