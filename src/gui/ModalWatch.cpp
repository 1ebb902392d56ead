#include "gui/ModalWatch.h"

#include "foundation/Alert.h"

#include <QAbstractButton>
#include <QApplication>
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
