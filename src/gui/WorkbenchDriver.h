#pragma once
// Driving the workbench without a user (the screenshot tool, the widget
// tests). A modal dialog (an alert, a file dialog) blocks in its own loop, so
// the driver says ahead what to do with the next one, and the action runs
// from the event loop once the dialog shows. The user interface thread.

#include <QString>

#include <chrono>
#include <filesystem>
#include <functional>

class QWidget;

void OnNextModalDialog(std::function<void(QWidget& dialog)> action);
// Clicks the dialog's button whose text, without mnemonic marks, is text;
// false when there is none.
bool PressDialogButton(QWidget& dialog, const QString& text);
// Types file into an open-file dialog's name field, as a user would, and
// opens it.
void ChooseFileInDialog(QWidget& dialog, const std::filesystem::path& file);
// Handles events until predicate holds; false when timeout passed first.
bool ProcessEventsUntil(const std::function<bool()>& predicate,
                        std::chrono::milliseconds timeout = std::chrono::seconds(5));
