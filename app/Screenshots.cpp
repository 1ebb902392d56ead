// Renders every window of the workbench into PNG files for the manual:
//     brassfold-screenshots <folder>
// The real program's objects, driven through its menus as a user would;
// scripts/screenshots runs it under Xvfb with the bundled examples as the
// data folder. Each window that the workbench gains gets a scene here.

#include "foundation/FileHandling.h"
#include "gui/GuiText.h"
#include "gui/AutoDetectProgressDialog.h"
#include "gui/HardwarePanel.h"
#include "gui/LogWindow.h"
#include "gui/MIDITestWindow.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "gui/SelectionDialog.h"
#include "gui/WorkbenchDriver.h"
#include "host/MyAppBehavior.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <fstream>

namespace
{
class CShooter
{
public:
    CShooter(CQtVistal& vistal, CQtWorkbenchWindows& windows, const QString& folder)
        : fVistal(vistal), fWindows(windows), fFolder(folder)
    {
    }

    void Shoot();
    int GetFailures() const { return fFailures; }

private:
    void Save(QWidget* window, const QString& name);
    // Runs the menu command; the next modal dialog is saved as name, then
    // answered with answer.
    void ShootDialog(const char16* command, const QString& name,
                     const std::function<void(QWidget&)>& answer);
    void ShootMenus();
    // The MIDI test window on Loopback A, with what it sent to itself.
    void ShootMIDITestWindow();
    // The progress dialog while the second model is probed.
    void ShootAutoDetect();
    // The selection dialog with a scripted model on the loopback cables, and
    // its panel after the hardware moved a fader and pressed a button.
    void ShootPanel();
    std::filesystem::path WriteBrokenMap();

    CQtVistal& fVistal;
    CQtWorkbenchWindows& fWindows;
    QDir fFolder;
    QTemporaryDir fScratch;
    int fFailures = 0;
};

void CShooter::Save(QWidget* window, const QString& name)
{
    if (window == nullptr)
    {
        std::fprintf(stderr, "screenshots: no window for %s\n", qPrintable(name));
        ++fFailures;
        return;
    }
    window->show();
    QCoreApplication::processEvents();
    const QString file = fFolder.filePath(name + ".png");
    if (!window->grab().save(file))
        ++fFailures;
    std::printf("%s\n", qPrintable(file));
}

void CShooter::ShootDialog(const char16* command, const QString& name,
                           const std::function<void(QWidget&)>& answer)
{
    OnNextModalDialog([this, name, answer](QWidget& dialog) {
        Save(&dialog, name);
        answer(dialog);
    });
    fVistal.FindMenuAction(command)->trigger();
}

void CShooter::ShootMenus()
{
    for (QAction* title : fVistal.GetMainWindow()->menuBar()->actions())
    {
        QMenu* menu = title->menu();
        menu->popup(fVistal.GetMainWindow()->mapToGlobal(QPoint(40, 40)));
        Save(menu, title->text().toLower() + "-menu");
        menu->close();
    }
}

void CShooter::ShootMIDITestWindow()
{
    fVistal.FindMenuAction(u"MIDI Test")->trigger();
    CMIDITestWindow* window = fWindows.GetMIDITestWindow();
    for (QComboBox* popup : window->findChildren<QComboBox*>())
    {
        popup->setCurrentIndex(popup->findText(QStringLiteral("Loopback A")));
        emit popup->activated(popup->currentIndex());
    }
    auto* field = window->findChild<QLineEdit*>();
    auto* send = window->findChild<QPushButton*>("CMIDITestWindowBehavior::fSendButton");
    for (const char* message : {"90 3c 7f", "b0 07 40", "f0 7e 7f 06 01 f7", "80 3c 00"})
    {
        field->setText(QString::fromLatin1(message));
        send->click();
    }
    auto* received = window->findChild<QPlainTextEdit*>();
    ProcessEventsUntil([&] { return received->toPlainText().count('\n') == 4; });
    // Widened as a user would, so that the port names and the lines show whole.
    window->resize(440, 300);
    Save(window, "midi-test-window");
    window->close();
}

void CShooter::ShootAutoDetect()
{
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<CAutoDetectProgressDialog*>(QApplication::activeModalWidget());
        if (dialog != nullptr && dialog->GetBarValue() > 0 && !dialog->GetSurfaceText().isEmpty())
        {
            watch.stop();
            Save(dialog, "auto-detect-progress");
        }
    });
    watch.start(0);
    fVistal.FindMenuAction(u"AutoDetect")->trigger();
    if (watch.isActive())
        Save(nullptr, "auto-detect-progress");
}

// A copy of an example map with one entry that names no item of its surface.
std::filesystem::path CShooter::WriteBrokenMap()
{
    const std::filesystem::path map = GetMapFolders().at(0) / "Quillfeather QF-8.kinvarmap";
    const std::filesystem::path copy = ToPath(fScratch.filePath("Quillfeather QF-8.kinvarmap"));
    std::filesystem::copy_file(map, copy);
    std::ofstream(copy, std::ios::app) << "Map\tFader 9\t\tVolume\n";
    return copy;
}

void CShooter::ShootPanel()
{
    fVistal.FindMenuAction(u"Create ControlSurface")->trigger();
    CSelectionDialog* dialog = fWindows.GetSelectionDialog();
    if (dialog == nullptr)
        return Save(nullptr, "selection-dialog");
    const auto pick = [](QComboBox* popup, const char* row) { popup->setCurrentIndex(popup->findText(row)); };
    pick(dialog->GetSurfacePopup(), "Copperlane Audio Beacon 8");
    pick(dialog->GetInPortPopup(0), "Loopback A");
    pick(dialog->GetOutPortPopup(0), "Loopback B");
    Save(dialog, "selection-dialog");
    dialog->Choose();
    const std::vector<CHardwarePanel*> panels = fWindows.GetPanels();
    // A second of frames for the rates, then the hardware's moves, caught
    // while they glow.
    ProcessEventsUntil([] { return false; }, std::chrono::milliseconds(1200));
    NSMIDIHub::CMIDIHub& hub = NSMIDIHub::GetMIDIHub();
    for (const NSMIDIHub::CMIDIPortSpec& port : hub.GetOutPorts())
        if (port.GetDisplayName() == u"Loopback A")
            for (const NSMIDIHub::TBinary& message : {NSMIDIHub::TBinary{0xB0, 0x12, 0x60}, {0x90, 0x19, 0x7F}})
                hub.GetSender(port)->Send(nullptr, message);
    ProcessEventsUntil([] { return false; }, std::chrono::milliseconds(150));
    Save(panels.empty() ? nullptr : panels.back(), "hardware-panel");
}

void CShooter::Shoot()
{
    QMainWindow* main = fVistal.GetMainWindow();
    Save(main, "main-window-empty");
    const auto choose = [](const std::filesystem::path& file) {
        return [file](QWidget& dialog) { ChooseFileInDialog(dialog, file); };
    };
    fVistal.FindMenuAction(u"Load MIDI Codecs")->trigger();
    OnNextModalDialog([&](QWidget& dialog) {
        Save(&dialog, "open-codec-file");
        choose(GetLuaCodecFolders().at(0) / "Copperlane Beacon 8.luacodec")(dialog);
    });
    fVistal.FindMenuAction(u"Choose Codec File")->trigger();
    Save(main, "main-window");
    ShootMenus();
    const auto press = [](const char* button) {
        return [button](QWidget& dialog) { PressDialogButton(dialog, button); };
    };
    const std::filesystem::path exampleMap =
        GetMapFolders().at(0) / "Loambridge Tessera 16.kinvarmap";
    OnNextModalDialog([&](QWidget& dialog) {
        Save(&dialog, "open-map-file");
        OnNextModalDialog([&](QWidget& alert) {
            Save(&alert, "map-ok-alert");
            PressDialogButton(alert, "Close");
        });
        choose(exampleMap)(dialog);
    });
    fVistal.FindMenuAction(u"Validate Map File")->trigger();
    OnNextModalDialog([&, broken = WriteBrokenMap()](QWidget& dialog) {
        choose(broken)(dialog);
        // The faults go to the log window, and the command's failure to an alert.
        OnNextModalDialog([&](QWidget& alert) {
            Save(&alert, "error-alert");
            PressDialogButton(alert, "OK");
        });
    });
    fVistal.FindMenuAction(u"Validate Map File")->trigger();
    ProcessEventsUntil([&] { return fWindows.GetLogWindow() != nullptr; });
    Save(fWindows.GetLogWindow(), "log-window");
    ShootPanel();
    ShootDialog(u"About Brassfold...", "about", press("OK"));
    ShootMIDITestWindow();
    ShootAutoDetect();
    fVistal.FindMenuAction(u"Quit")->trigger();
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: brassfold-screenshots <folder>\n");
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication application(argc, argv);
    CQtVistal vistal;
    CVistalInstallation installation(vistal);
    CQtWorkbenchWindows windows(vistal);
    CShooter shooter(vistal, windows, QString::fromLocal8Bit(argv[1]));
    QTimer::singleShot(0, [&] {
        try
        {
            shooter.Shoot();
        }
        catch (const std::exception& e)
        {
            std::fprintf(stderr, "screenshots: %s\n", e.what());
            QCoreApplication::exit(1);
        }
    });
    const int status =
        RunWorkbench([&](IVistalRunBehavior* behaviour,
                         const TStartupParams& params) { return vistal.Run(behaviour, params); },
                     std::make_unique<CMyAppBehavior>(windows));
    return status == 0 && shooter.GetFailures() == 0 ? 0 : 1;
}
