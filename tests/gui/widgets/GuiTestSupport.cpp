#include "GuiTestSupport.h"

#include <cstdlib>
#include <memory>

namespace NSGuiTesting
{
QApplication& GetApplication()
{
    static int argc = 1;
    static char name[] = "gui_widget_tests";
    static char* argv[] = {name, nullptr};
    static const std::unique_ptr<QApplication> application = [] {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        return std::make_unique<QApplication>(argc, argv);
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
