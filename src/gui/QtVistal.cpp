#include "gui/QtVistal.h"

#include "codec/CodecSurfaces.h"
#include "foundation/Alert.h"
#include "foundation/Debugger.h"
#include "foundation/Failures.h"
#include "gui/DocumentWindow.h"
#include "gui/GuiText.h"
#include "gui/MessageBoxes.h"
#include "gui/SurfaceListView.h"
#include "host/CodecModules.h"
#include "host/IdleSchedule.h"

#include <QApplication>
#include <QEvent>
#include <QKeySequence>
#include <QMenuBar>

#include <chrono>

namespace
{
constexpr u32 kVistalIllegalCallSequence = 12003;
// The framework's idle interval for a behaviour that names none.
constexpr u64 kDefaultIdleMs = 10000;
// How soon to look again while the idle step has to wait.
constexpr auto kIdleRetry = std::chrono::milliseconds(10);
const QSize kMainWindowSize(720, 480);

// The custom event as it crosses threads.
class CCustomEvent final : public QEvent
{
public:
    CCustomEvent(u32 event, u32 data) : QEvent(Type()), fEvent(event), fData(data) {}
    static QEvent::Type Type()
    {
        static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
        return type;
    }
    u32 fEvent;
    u32 fData;
};

// Qt's own warnings join the debug channel.
void ToDebugChannel(QtMsgType, const QMessageLogContext&, const QString& message)
{
    WriteLine(message.toStdString());
}
} // namespace

class CQtVistal::CMenuRecorder final : public IMenuBuilder
{
public:
    explicit CMenuRecorder(std::map<u32, TMenu>& menus) : fMenus(menus) {}
    u32 IMenuBuilder_AddItems(u32 menu, const std::vector<TMenuRecord>& records) override
    {
        return GuardEdge(kVistalEdge, [&] {
            std::vector<TMenuRecord>& items = fMenus[menu].fRecords;
            items.insert(items.end(), records.begin(), records.end());
        });
    }
    u32 IMenuBuilder_SetTitle(u32 menu, const TText16& title) override
    {
        return GuardEdge(kVistalEdge, [&] { fMenus[menu].fTitle = title; });
    }

private:
    std::map<u32, TMenu>& fMenus;
};

CQtVistal::CQtVistal(const COutputFrameClock& frames) : fFrames(frames)
{
    connect(&fIdleTimer, &CPreciseTimer::Timeout, this,
            [this] { GuardWindowCallback([this] { Idle(); }); });
}

CQtVistal::~CQtVistal() = default;

u32 CQtVistal::Run(IVistalRunBehavior* behaviour, const TStartupParams& params)
{
    auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (application == nullptr || behaviour == nullptr)
        return kVistalIllegalCallSequence;
    const std::unique_ptr<IVistalRunBehavior> owned(behaviour);
    QApplication::setOrganizationName(ToQString(params.fCompanyName));
    QApplication::setApplicationName(ToQString(params.fApplicationName));
    const bool quitOnLastWindow = QApplication::quitOnLastWindowClosed();
    QApplication::setQuitOnLastWindowClosed(false);
    const QtMessageHandler qtMessages = qInstallMessageHandler(&ToDebugChannel);
    CQtBoxPresenter boxes(GetAlertPresenter());
    CVistalAlertPresenter alerts(*this, boxes);
    SetAlertPresenter(&alerts);

    fBehaviour = behaviour;
    CallBehaviour([&] { return fBehaviour->OnStart(); });
    fMenus.clear();
    CMenuRecorder menus(fMenus);
    CallBehaviour([&] { return fBehaviour->OnBuildMenus(menus); });
    CallBehaviour([&] { return fBehaviour->OnOpenDefaultDocument(0); });
    fLoopRunning = true;
    fIdleTimer.StartAt(std::chrono::steady_clock::now());
    QApplication::exec();
    fLoopRunning = false;
    fIdleTimer.Stop();
    emit Ending();
    CloseDocumentWindows();
    CallBehaviour([&] { return fBehaviour->OnEnd(); });
    fBehaviour = nullptr;
    fDeferredEvents.clear();

    SetAlertPresenter(nullptr);
    qInstallMessageHandler(qtMessages);
    QApplication::setQuitOnLastWindowClosed(quitOnLastWindow);
    return kVistalOK;
}

template <class Call> void CQtVistal::CallBehaviour(Call&& call)
{
    ++fCallDepth;
    const u32 status = call();
    if (status != kVistalOK)
        fBehaviour->OnError(status);
    --fCallDepth;
}

QMainWindow* CQtVistal::GetMainWindow() const
{
    return fMainWindow;
}

QWidget* CQtVistal::GetDialogParent() const
{
    QWidget* active = QApplication::activeWindow();
    return active != nullptr ? active : fMainWindow.data();
}

void CQtVistal::FillMenuBar(QMenuBar& bar)
{
    for (const auto& [number, menu] : fMenus)
    {
        QMenu* qtMenu = bar.addMenu(EscapeMnemonics(ToQString(menu.fTitle)));
        qtMenu->setAccessibleName(ToQString(menu.fTitle));
        for (const TMenuRecord& record : menu.fRecords)
        {
            if (record.fSeparator)
            {
                qtMenu->addSeparator();
                continue;
            }
            QAction* action = qtMenu->addAction(EscapeMnemonics(ToQString(record.fTitle)));
            if (!record.fShortcut.empty())
            {
                // Every window of the workbench answers the menu's keys.
                action->setShortcut(
                    QKeySequence(ToQString(record.fShortcut), QKeySequence::PortableText));
                action->setShortcutContext(Qt::ApplicationShortcut);
            }
            connect(action, &QAction::triggered, this,
                    [this, menu = record.fMenu, command = record.fCommand] {
                        MenuCommand(menu, command);
                    });
        }
    }
}

QAction* CQtVistal::FindMenuAction(const TText16& title) const
{
    if (!fMainWindow)
        return nullptr;
    for (QAction* action : fMainWindow->menuBar()->findChildren<QAction*>())
        if (action->text() == EscapeMnemonics(ToQString(title)))
            return action;
    return nullptr;
}

void CQtVistal::ReportFailure(u32 status)
{
    if (fBehaviour != nullptr && status != kVistalOK)
        CallBehaviour([&] { return fBehaviour->OnError(status); });
}

void CQtVistal::MenuCommand(u32 menu, u32 command)
{
    if (fBehaviour == nullptr)
        return;
    u32 handled = 0;
    CallBehaviour([&] {
        return fBehaviour->OnMenuCommand(TCommandRecord{menu, command}, &handled);
    });
}

bool CQtVistal::MayIdle() const
{
    return fCallDepth == 0 && GetAlertDepth() == 0 && NoAssertionInProgress();
}

void CQtVistal::Idle()
{
    if (fBehaviour == nullptr)
        return;
    if (!MayIdle())
    {
        fIdleTimer.StartAt(std::chrono::steady_clock::now() + kIdleRetry);
        return;
    }
    DeliverDeferredEvents();
    u64 nextIdle = kDefaultIdleMs;
    ++fIdleCount;
    CallBehaviour([&] { return fBehaviour->OnIdle(&nextIdle); });
    if (fLoopRunning)
        ScheduleIdle(nextIdle);
}

void CQtVistal::ScheduleIdle(u64 requestedMs)
{
    fIdleTimer.StartAt(NSIdleSchedule::NextIdleTime(requestedMs, fFrames.GetNextOutputTime()));
}

u32 CQtVistal::IVistal_PostCustomEvent(u32 event, u32 data)
{
    return GuardEdge(kVistalEdge,
                     [&] { QCoreApplication::postEvent(this, new CCustomEvent(event, data)); });
}

bool CQtVistal::event(QEvent* event)
{
    if (event->type() != CCustomEvent::Type())
        return QObject::event(event);
    GuardWindowCallback([&] {
        const auto& custom = static_cast<const CCustomEvent&>(*event);
        if (fBehaviour == nullptr || GetAlertDepth() != 0 || !NoAssertionInProgress())
            fDeferredEvents.emplace_back(custom.fEvent, custom.fData);
        else
            DeliverEvent(custom.fEvent, custom.fData);
    });
    return true;
}

void CQtVistal::DeliverDeferredEvents()
{
    const std::vector<std::pair<u32, u32>> events = std::exchange(fDeferredEvents, {});
    for (const auto& [event, data] : events)
        DeliverEvent(event, data);
}

void CQtVistal::DeliverEvent(u32 event, u32 data)
{
    ++fEventCount;
    CallBehaviour([&] { return fBehaviour->OnCustomEvent(event, data); });
}

u32 CQtVistal::IVistal_UpdateCommands()
{
    return GuardEdge(kVistalEdge, [&] { emit CommandsUpdated(); });
}

u32 CQtVistal::IVistal_RequestQuit()
{
    return GuardEdge(kVistalEdge, [] {
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                  Qt::QueuedConnection);
    });
}

u32 CQtVistal::IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener)
{
    u32 status = kVistalOK;
    const u32 guarded =
        GuardEdge(kVistalEdge, [&] { status = ShowAlertBox(record, listener, GetDialogParent()); });
    return guarded != kVistalOK ? guarded : status;
}

u32 CQtVistal::IVistal_ShowOpenDialog(const TOpenDialogRequest& request,
                                      IOpenDialogListener& listener)
{
    u32 status = kVistalOK;
    const u32 guarded = GuardEdge(kVistalEdge, [&] {
        status = listener.IOpenDialogListener_Chosen(fOpenDialogs.Run(request, GetDialogParent()));
    });
    return guarded != kVistalOK ? guarded : status;
}

u32 CQtVistal::IVistal_Yield()
{
    return GuardEdge(kVistalEdge, [] { QCoreApplication::processEvents(); });
}

u32 CQtVistal::IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType, u32)
{
    u32 status = kVistalOK;
    const u32 guarded = GuardEdge(kVistalEdge, [&] {
        auto window = std::make_unique<CDocumentWindow>(windowType);
        IDocumentWindowBehavior* behavior = nullptr;
        status = creator.IDocumentWindowCreator_Create(*window, &behavior);
        if (status != kVistalOK)
            return;
        window->SetBehavior(std::unique_ptr<IDocumentWindowBehavior>(behavior));
        if (windowType == kDummyDocumentWindowType)
            MakeMainWindow(*window);
        fDocumentWindows.emplace_back(window.get());
        window.release()->show();
    });
    return guarded != kVistalOK ? guarded : status;
}

void CQtVistal::MakeMainWindow(CDocumentWindow& window)
{
    window.setWindowTitle(QApplication::applicationName());
    window.setAccessibleName(QApplication::applicationName());
    FillMenuBar(*window.menuBar());
    auto* list = new CSurfaceListView(&window);
    window.setCentralWidget(list);
    window.resize(kMainWindowSize);
    list->Refresh(gCodecSurfaces);
    connect(this, &CQtVistal::CommandsUpdated, list, [list] { list->Refresh(gCodecSurfaces); });
    connect(&window, &CDocumentWindow::Closed, this, [this] {
        if (fLoopRunning)
            IVistal_RequestQuit();
    });
    fMainWindow = &window;
}

void CQtVistal::CloseDocumentWindows()
{
    for (const QPointer<CDocumentWindow>& window : std::exchange(fDocumentWindows, {}))
        if (window)
        {
            window->CloseNow();
            delete window.data();
        }
}
