#pragma once
// IVistal on Qt 6 Widgets: the toolkit adapter of the workbench.
//
// Run drives the run behaviour as the toolkit's event loop does: OnStart,
// the menus (OnBuildMenus), the default document (OnOpenDefaultDocument),
// then Qt's loop, which delivers
//   - the idle calls, on a precise single-shot timer (gui/PreciseTimer.h)
//     that is set after each OnIdle to the moment of host/IdleSchedule.h: as
//     often as the behaviour asks (10 ms) and exactly when the next output
//     frame is due, so the frames run every 34 ms (29 or 30 a second) while
//     the idle program sleeps between the calls;
//   - custom events, posted from any thread with QCoreApplication::postEvent;
//   - menu actions, as OnMenuCommand;
// and after the loop Ending(), at which every window closes, then OnEnd. A
// status other than 12000 from any of them leads to OnError.
//
// No idle call nests in another call: while a command runs (in a file dialog,
// an alert, a progress dialog) and while an alert or the assertion box is up,
// the idle step waits, and no output frames run. Custom events that come
// while an alert or the assertion box is up wait for the next idle call.
//
// The document window of kDummyDocumentWindowType is the main window: it
// carries the menus and the list of surface models, and closing it quits.
//
// Every operation but IVistal_PostCustomEvent is for the user interface
// thread.

#include "gui/OpenFileDialog.h"
#include "gui/PreciseTimer.h"
#include "host/OutputFrameClock.h"
#include "host/ProgramEntry.h"
#include "host/RunBehavior.h"
#include "host/Vistal.h"

#include <QObject>
#include <QPointer>

#include <map>
#include <memory>
#include <utility>
#include <vector>

class CDocumentWindow;
class QAction;
class QMainWindow;
class QMenuBar;
class QWidget;

class CQtVistal final : public QObject, public IVistal
{
    Q_OBJECT

public:
    // frames: the clock whose frame times the idle schedule follows.
    explicit CQtVistal(const COutputFrameClock& frames = GetOutputFrameClock());
    ~CQtVistal() override;

    // Runs behaviour until the application quits and returns 12000; the
    // behaviour is then the adapter's, deleted before Run returns. Without a
    // QApplication it returns 12003 and leaves the behaviour to the caller.
    u32 Run(IVistalRunBehavior* behaviour, const TStartupParams& params);

    // The window with the menus; null while none is open.
    QMainWindow* GetMainWindow() const;
    // Where dialogs and alerts belong: the active window, else the main one.
    QWidget* GetDialogParent() const;
    // The menus as OnBuildMenus gave them, in the order of their numbers.
    void FillMenuBar(QMenuBar& bar);

    // The main window's menu action of that title (as the records give it);
    // null when there is none.
    QAction* FindMenuAction(const TText16& title) const;
    // A window's action that stands for a command failed with status (not
    // 12000): the behaviour reports it as it reports a failed command.
    void ReportFailure(u32 status);
    // The behaviour's menu command, as a menu action delivers it.
    void MenuCommand(u32 menu, u32 command);

    u64 GetIdleCount() const { return fIdleCount; }
    u64 GetEventCount() const { return fEventCount; }

    u32 IVistal_PostCustomEvent(u32 event, u32 data) override;
    // Emits CommandsUpdated.
    u32 IVistal_UpdateCommands() override;
    u32 IVistal_RequestQuit() override;
    u32 IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override;
    u32 IVistal_ShowOpenDialog(const TOpenDialogRequest& request,
                               IOpenDialogListener& listener) override;
    u32 IVistal_Yield() override;
    u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType,
                                     u32 flags) override;

signals:
    // Menus and commands are to be brought up to date: the windows refresh
    // what they show of the program's state.
    void CommandsUpdated();
    // The loop has ended and OnEnd comes next: every window closes now.
    void Ending();

protected:
    bool event(QEvent* event) override;

private:
    struct TMenu
    {
        TText16 fTitle;
        std::vector<TMenuRecord> fRecords;
    };
    class CMenuRecorder;

    template <class Call> void CallBehaviour(Call&& call);
    bool MayIdle() const;
    void Idle();
    void ScheduleIdle(u64 requestedMs);
    void DeliverDeferredEvents();
    void DeliverEvent(u32 event, u32 data);
    void MakeMainWindow(CDocumentWindow& window);
    void CloseDocumentWindows();

    const COutputFrameClock& fFrames;
    IVistalRunBehavior* fBehaviour = nullptr;
    bool fLoopRunning = false;
    int fCallDepth = 0;
    CPreciseTimer fIdleTimer;
    std::vector<std::pair<u32, u32>> fDeferredEvents;
    std::map<u32, TMenu> fMenus;
    std::vector<QPointer<CDocumentWindow>> fDocumentWindows;
    QPointer<CDocumentWindow> fMainWindow;
    COpenFileDialogs fOpenDialogs;
    u64 fIdleCount = 0;
    u64 fEventCount = 0;
};
