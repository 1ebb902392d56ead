// The workbench as the program runs it, on the offscreen platform: the real
// run behaviour, adapter and windows, driven through the menus.

#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"

#include "AssertionRecorder.h"
#include "GuiTestSupport.h"
#include "foundation/FileHandling.h"
#include "gui/GuiText.h"
#include "gui/LogWindow.h"
#include "gui/SurfaceListView.h"
#include "host/MyAppBehavior.h"

#include <QFileDialog>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>

#include <fstream>

using namespace NSGuiTesting;

namespace
{
const std::filesystem::path kExamples = std::filesystem::path(BRASSFOLD_SOURCE_DIR) /
                                        "examples/Thistlemarrow Software/Kinvar/Codecs/MIDI Codecs";

} // namespace

// A broken codec file fails "Choose Codec File" (with the script host missing,
// at its assertion); its message lands in the log window, an alert points
// there, and the workbench goes on until "Quit".
TEST(WorkbenchTest, ListsTheLoadedModelsAndGoesOnAfterAFailingCommand)
{
    GetApplication();
    const std::filesystem::path broken = std::filesystem::temp_directory_path() / "broken.luacodec";
    std::ofstream(broken) << "this is not a codec (\n";
    SetCodecFolderOverride(kExamples.string());
    CQtVistal vistal;
    CVistalInstallation installation(vistal);
    CQtWorkbenchWindows windows(vistal);
    NSTesting::CExpectAssertions assertions;
    QString startFolder;
    QStringList alerts;
    QString logText;
    QTimer::singleShot(0, [&] {
        QStringList menus;
        for (QAction* menu : vistal.GetMainWindow()->menuBar()->actions())
            menus << menu->text();
        EXPECT_EQ(QStringList({"File", "Test"}), menus);
        vistal.FindMenuAction(u"Load MIDI Codecs")->trigger();
        auto* list = vistal.GetMainWindow()->findChild<CSurfaceListView*>();
        EXPECT_EQ(3u, list->GetModel().GetEntries().size());
        EXPECT_NE(nullptr,
                  Find<QLabel>(*list, "Picture of Quillfeather Instruments QF-8 Fader Box"));

        OnNextModalDialog([&](QWidget& dialog) {
            startFolder = static_cast<QFileDialog&>(dialog).directory().absolutePath();
            OnNextModalDialog([&](QWidget& alert) {
                alerts << alert.windowTitle() + ": " + static_cast<QMessageBox&>(alert).text();
                PressDialogButton(alert, "OK");
            });
            ChooseFileInDialog(dialog, broken);
        });
        vistal.FindMenuAction(u"Choose Codec File")->trigger();
        EXPECT_TRUE(ProcessEventsUntil([&] { return windows.GetLogWindow() != nullptr; }));
        logText = ToQString(windows.GetLogWindow()->GetModel().GetText());
        vistal.FindMenuAction(u"Quit")->trigger();
    });
    EXPECT_EQ(
        0, RunWorkbench([&](IVistalRunBehavior* behaviour,
                            const TStartupParams& params) { return vistal.Run(behaviour, params); },
                        std::make_unique<CMyAppBehavior>(windows)));
    SetCodecFolderOverride("");
    std::filesystem::remove(broken);
    EXPECT_EQ(FromPath(kExamples), startFolder);
    EXPECT_EQ(QStringList{"Error: An error occurred, check the Log Window!"}, alerts);
    EXPECT_FALSE(logText.isEmpty());
    EXPECT_EQ(nullptr, windows.GetLogWindow());
}
