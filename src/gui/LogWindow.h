#pragma once
// The log window, titled "Log": what codecs report, map faults and the
// workbench's own notes (gui/LogModel.h holds the text and its rules). A
// read-only view in a fixed-width font that follows the end, and two buttons:
// "Clear" empties it, "Save..." writes it to a text file.
//
// The workbench has at most one; CQtWorkbenchWindows opens it at the idle
// step when text is pending. It deletes itself when closed. The user
// interface thread.

#include "gui/LogModel.h"

#include <QMainWindow>

#include <filesystem>
#include <string_view>

class QPlainTextEdit;

// A main window, so that it is a frame of its own to screen readers.
class CLogWindow final : public QMainWindow
{
    Q_OBJECT

public:
    explicit CLogWindow(QWidget* parent = nullptr);

    void AddText(std::u16string_view text);
    const CLogModel& GetModel() const { return fModel; }

    void Clear();
    // Asks for a file, then SaveTo.
    void Save();
    // A failure becomes an alert that names the file; the text stays.
    void SaveTo(const std::filesystem::path& file);

private:
    void ShowText();

    CLogModel fModel;
    QPlainTextEdit* fView;
};
