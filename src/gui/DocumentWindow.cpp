#include "gui/DocumentWindow.h"

#include "foundation/Alert.h"
#include "foundation/Failures.h"

#include <QCloseEvent>
#include <QKeyEvent>

CDocumentWindow::CDocumentWindow(u32 type) : fType(type)
{
    setAttribute(Qt::WA_DeleteOnClose);
}

CDocumentWindow::~CDocumentWindow() = default;

void CDocumentWindow::SetBehavior(std::unique_ptr<IDocumentWindowBehavior> behavior)
{
    fBehavior = std::move(behavior);
    Forward([](IDocumentWindowBehavior& b) { return b.IDocumentWindowBehavior_Opened(); });
}

template <class Event> void CDocumentWindow::Forward(Event&& event)
{
    if (fBehavior)
        GuardWindowCallback([&] { ThrowVistalResult(event(*fBehavior)); });
}

void CDocumentWindow::CloseNow()
{
    fClosing = true;
    close();
}

// The behaviour may call this from inside its close request, so the window
// closes once the event in hand is done.
u32 CDocumentWindow::IVistalWindow_Close()
{
    fClosing = true;
    QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
    return kVistalOK;
}

void CDocumentWindow::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange)
    {
        const u32 active = isActiveWindow() ? 1 : 0;
        Forward([active](IDocumentWindowBehavior& b) {
            return b.IDocumentWindowBehavior_Activated(active);
        });
    }
}

void CDocumentWindow::closeEvent(QCloseEvent* event)
{
    if (fClosing)
    {
        event->accept();
        emit Closed();
        return;
    }
    event->ignore();
    Forward([](IDocumentWindowBehavior& b) { return b.IDocumentWindowBehavior_CloseRequested(); });
}

void CDocumentWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    Forward([](IDocumentWindowBehavior& b) { return b.IDocumentWindowBehavior_Resized(); });
}

void CDocumentWindow::keyPressEvent(QKeyEvent* event)
{
    const u32 key = static_cast<u32>(event->key());
    Forward([key](IDocumentWindowBehavior& b) { return b.IDocumentWindowBehavior_KeyDown(key); });
    QMainWindow::keyPressEvent(event);
}
