#pragma once
// A document window that the host asked for (IVistal_CreateDocumentWindow):
// a Qt main window that forwards its events to the behaviour that the host's
// creator made, and that the behaviour closes (IVistalWindow_Close). The
// user's close asks the behaviour first. Each event runs in the frame of a
// window callback: a failure becomes an alert, and the window lives on.
//
// The window deletes itself, and with it the behaviour, once closed. The
// user interface thread.

#include "host/Vistal.h"

#include <QMainWindow>

#include <memory>

class CDocumentWindow final : public QMainWindow, public IVistalWindow
{
    Q_OBJECT

public:
    explicit CDocumentWindow(u32 type);
    ~CDocumentWindow() override;

    void SetBehavior(std::unique_ptr<IDocumentWindowBehavior> behavior);
    u32 GetType() const { return fType; }
    // Closes at once, whatever the behaviour would say: the end of the run.
    void CloseNow();

    u32 IVistalWindow_Close() override;

signals:
    // The window has closed for good; it is deleted next.
    void Closed();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    template <class Event> void Forward(Event&& event);

    u32 fType;
    bool fClosing = false;
    std::unique_ptr<IDocumentWindowBehavior> fBehavior;
};
