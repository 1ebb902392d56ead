#include "gui/QtWorkbench.h"

#include "foundation/Failures.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/MyAppBehavior.h"
#include "host/ProgramEntry.h"

#include <QApplication>

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
        std::fputs("brassfold: there is no display to show the workbench on; start it on a virtual "
                   "one with "
                   "\"xvfb-run ./run.sh\".\n",
                   stderr);
        return 1;
    }
    return GuardProgramEntry([&] {
        QApplication application(argc, argv);
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
