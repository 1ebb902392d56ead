#include "gui/WorkbenchDriver.h"

#include "foundation/Alert.h"
#include "gui/GuiText.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QTimer>
#include <QWidget>

namespace
{
constexpr int kPollMs = 5;
}

void OnNextModalDialog(std::function<void(QWidget& dialog)> action)
{
    auto* poll = new QTimer(QCoreApplication::instance());
    QObject::connect(poll, &QTimer::timeout, poll, [poll, action = std::move(action)] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr || !dialog->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        GuardWindowCallback([&] { action(*dialog); });
    });
    poll->start(kPollMs);
}

bool PressDialogButton(QWidget& dialog, const QString& text)
{
    for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>())
        if (QString(button->text()).remove(QLatin1Char('&')) == text)
        {
            button->click();
            return true;
        }
    return false;
}

bool ProcessEventsUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, kPollMs);
    }
    return true;
}

void ChooseFileInDialog(QWidget& dialog, const std::filesystem::path& file)
{
    auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (name == nullptr)
        return;
    name->setText(FromPath(file));
    QMetaObject::invokeMethod(&dialog, "accept");
}
