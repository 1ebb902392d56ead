// The toolkit adapter drives a run behaviour through Qt's loop.

#include "gui/QtVistal.h"

#include "GuiTestSupport.h"
#include "foundation/Alert.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/MyAppBehavior.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QThread>
#include <QTimer>

#include <string>
#include <thread>

using namespace NSGuiTesting;

namespace
{
// What the behaviour saw; it outlives the behaviour, which Run deletes.
struct TSeen
{
    std::vector<std::string> fCalls;
    int fIdleCount = 0;
    int fIdleWhileAlert = 0;
    bool fAlertUp = false;
    bool fEventOnMainThread = false;
    bool fMainWindowAtEnd = true;
    std::function<void(int idle)> fOnIdle;
};

// The workbench's behaviour with a menu of one failing command, noting what it is asked.
class CRecordingBehaviour final : public CMyAppBehavior
{
public:
    CRecordingBehaviour(IWorkbenchWindows& windows, TSeen& seen)
        : CMyAppBehavior(windows), fSeen(seen)
    {
    }
    u32 OnStart() override { return Note("Start"); }
    u32 OnEnd() override
    {
        fSeen.fMainWindowAtEnd = FindWindow("Brassfold") != nullptr;
        return Note("End");
    }
    u32 OnOpenDefaultDocument(u32 ignored) override
    {
        Note("OpenDefaultDocument");
        return CMyAppBehavior::OnOpenDefaultDocument(ignored);
    }
    u32 OnBuildMenus(IMenuBuilder& builder) override
    {
        builder.IMenuBuilder_AddItems(2, {TMenuRecord{u"Warn & Fail", u"", 2, 7, false}});
        builder.IMenuBuilder_SetTitle(2, u"Test");
        return Note("BuildMenus");
    }
    u32 OnMenuCommand(const TCommandRecord& command, u32*) override
    {
        Note("Command " + std::to_string(command.fCommand));
        fSeen.fAlertUp = true;
        Alert(u"[WARN]Wait.[OK]", false);
        fSeen.fAlertUp = false;
        return 12005;
    }
    u32 OnIdle(u64* nextIdle) override
    {
        fSeen.fIdleWhileAlert += fSeen.fAlertUp ? 1 : 0;
        fSeen.fOnIdle(++fSeen.fIdleCount);
        *nextIdle = 10;
        return kVistalOK;
    }
    u32 OnCustomEvent(u32 event, u32 data) override
    {
        fSeen.fEventOnMainThread =
            QThread::currentThread() == QCoreApplication::instance()->thread();
        return Note("Event " + std::to_string(event) + " " + std::to_string(data));
    }
    u32 OnError(u32 status) override { return Note("Error " + std::to_string(status)); }

private:
    u32 Note(const std::string& call)
    {
        fSeen.fCalls.push_back(call);
        return kVistalOK;
    }
    TSeen& fSeen;
};
} // namespace

TEST(QtVistalTest, DrivesTheBehaviourThroughQtsLoop)
{
    GetApplication();
    CQtVistal vistal;
    CVistalInstallation installation(vistal);
    CQtWorkbenchWindows windows(vistal);
    TSeen seen;
    seen.fOnIdle = [&](int idle) {
        if (idle == 2)
            std::thread([&] { vistal.IVistal_PostCustomEvent(kInputEvent, 0); }).join();
        if (idle == 3)
        {
            OnNextModalDialog([](QWidget& alert) {
                QTimer::singleShot(100, &alert, [&] { PressDialogButton(alert, "OK"); });
            });
            vistal.FindMenuAction(u"Warn & Fail")->trigger();
        }
        if (idle == 4)
            vistal.IVistal_RequestQuit();
    };
    EXPECT_EQ(kVistalOK, vistal.Run(new CRecordingBehaviour(windows, seen), MakeStartupParams()));
    EXPECT_EQ((std::vector<std::string>{"Start", "BuildMenus", "OpenDefaultDocument",
                                        "Event 268435457 0", "Command 7", "Error 12005", "End"}),
              seen.fCalls);
    EXPECT_TRUE(seen.fEventOnMainThread);
    EXPECT_EQ(0, seen.fIdleWhileAlert);
    EXPECT_FALSE(seen.fMainWindowAtEnd);
    EXPECT_EQ("Brassfold", QApplication::applicationName().toStdString());
}
