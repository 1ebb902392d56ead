#pragma once
// What the widget tests share: each test calls GetApplication first (one
// QApplication on the offscreen platform), finds controls by their
// accessible names, and says ahead what to do with a modal dialog
// (OnNextModalDialog of gui/WorkbenchDriver.h), which blocks once it shows.

#include "gui/WorkbenchDriver.h"

#include <QApplication>
#include <QString>
#include <QWidget>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

namespace NSGuiTesting
{
using namespace std::chrono_literals;

QApplication& GetApplication();

// The widget of that type below root with that accessible name; null, and
// a failed test, when there is none.
template <class Widget> Widget* Find(const QWidget& root, const QString& name)
{
    for (Widget* widget : root.findChildren<Widget*>())
        if (widget->accessibleName() == name)
            return widget;
    ADD_FAILURE() << "no widget named " << name.toStdString();
    return nullptr;
}

// The shown top-level window with that accessible name; null when none.
QWidget* FindWindow(const QString& name);

} // namespace NSGuiTesting
