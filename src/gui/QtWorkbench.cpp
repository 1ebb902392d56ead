#include "gui/QtWorkbench.h"

#include "foundation/Failures.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/MyAppBehavior.h"
#include "host/ProgramEntry.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <cstdlib>

namespace
{
bool HasDisplay()
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (const char* value = std::getenv(name); value != nullptr && *value != 0)
            return true;
    return false;
}
} // namespace

int RunQtWorkbench(int argc, char** argv)
{
    if (!HasDisplay())
    {
        // Named as it was started, so that the hint fits a build tree and an
        // installed program alike.
        std::fprintf(stderr,
                     "brassfold: there is no display to show the workbench on; start it on a "
                     "virtual one with \"xvfb-run -a %s\".\n",
                     argc > 0 ? argv[0] : "brassfold");
        return 1;
    }
    return GuardProgramEntry([&] {
        QApplication application(argc, argv);
        // The installed desktop entry and icon carry this id: it lets a
        // Wayland desktop match the window to its entry, and gives the
        // windows the installed icon.
        QGuiApplication::setDesktopFileName(QStringLiteral(BRASSFOLD_APP_ID));
        // Outside a desktop session Qt knows no icon theme, and would not
        // even look in the fallback one, where icons are installed.
        if (QIcon::themeName().isEmpty())
            QIcon::setThemeName(QStringLiteral("hicolor"));
        QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral(BRASSFOLD_APP_ID)));
        CQtVistal vistal;
        CVistalInstallation installation(vistal);
        CQtWorkbenchWindows windows(vistal);
        return RunWorkbench(
            [&](IVistalRunBehavior* behaviour, const TStartupParams& params) {
                return vistal.Run(behaviour, params);
            },
            std::make_unique<CMyAppBehavior>(windows));
    });
}
