#include "GuiTestSupport.h"

#include <cstdlib>

namespace NSGuiTesting
{
QApplication& GetApplication()
{
    static int argc = 1;
    static char name[] = "gui_widget_tests";
    static char* argv[] = {name, nullptr};
    // Never destroyed: at exit, Qt's own statics would go first.
    static QApplication* const application = [] {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        return new QApplication(argc, argv);
    }();
    return *application;
}

QWidget* FindWindow(const QString& name)
{
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->isVisible() && window->accessibleName() == name)
            return window;
    return nullptr;
}

} // namespace NSGuiTesting
