#pragma once
// Acting on modal dialogs from outside: a modal dialog (an alert, a file
// dialog) blocks in its own loop, so whoever drives the workbench without a
// user (the screenshot tool, the widget tests) says ahead what to do with the
// next one, and the action runs from the event loop once the dialog shows.
// The user interface thread.

#include <QString>

#include <functional>

class QWidget;

void OnNextModalDialog(std::function<void(QWidget& dialog)> action);
// Clicks the dialog's button whose text, without mnemonic marks, is text;
// false when there is none.
bool PressDialogButton(QWidget& dialog, const QString& text);
