#include "gui/MessageBoxes.h"

#include "foundation/Failures.h"
#include "gui/GuiText.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPushButton>
#include <QThread>

namespace
{
constexpr u32 kVistalInvalidArgument = 12002;

QMessageBox::Icon BoxIcon(u32 icon)
{
    switch (icon)
    {
    case kAlertIconStop:
        return QMessageBox::Critical;
    case kAlertIconNote:
        return QMessageBox::Information;
    case kAlertIconWarn:
        return QMessageBox::Warning;
    default:
        return QMessageBox::NoIcon;
    }
}

bool LastButtonCancels(u32 layout)
{
    return layout == kAlertLayoutTwoButtonsLastCancels ||
           layout == kAlertLayoutThreeButtonsLastCancels;
}

// Roles keep the buttons in the order of the record on every platform style.
void AddButtons(QMessageBox& box, const TAlertRecord& record)
{
    std::vector<QPushButton*> buttons;
    for (const auto* label : {&record.button1, &record.button2, &record.button3})
    {
        const TText16 text = AlertRecordText(*label);
        if (text.empty())
            break;
        QPushButton* button =
            box.addButton(EscapeMnemonics(ToQString(text)), QMessageBox::ActionRole);
        button->setAccessibleName(ToQString(text));
        buttons.push_back(button);
    }
    box.setDefaultButton(buttons.front());
    box.setEscapeButton(LastButtonCancels(record.buttonLayout) ? buttons.back() : buttons.front());
}

bool OnUserInterfaceThread()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return qobject_cast<const QApplication*>(application) != nullptr &&
           QThread::currentThread() == application->thread();
}

// A box's text: a CR separates its lines.
QString BoxText(const char* text)
{
    return QString::fromUtf8(text)
        .replace(QLatin1String("\r\n"), QLatin1String("\n"))
        .replace(QLatin1Char('\r'), QLatin1Char('\n'));
}
} // namespace

std::unique_ptr<QMessageBox> MakeAlertBox(const TAlertRecord& record, QWidget* parent)
{
    if (!IsValidAlertRecord(record))
        return nullptr;
    auto box = std::make_unique<QMessageBox>(parent);
    box->setIcon(BoxIcon(record.icon));
    const QString caption = ToQString(AlertRecordText(record.caption));
    box->setWindowTitle(caption.isEmpty() ? QApplication::applicationName() : caption);
    box->setText(DisplayText(AlertRecordText(record.body)));
    box->setTextFormat(Qt::PlainText);
    box->setAccessibleName(box->windowTitle());
    AddButtons(*box, record);
    return box;
}

u32 GetPressedButton(const QMessageBox& box)
{
    const QList<QAbstractButton*> buttons = box.buttons();
    const qsizetype index = buttons.indexOf(box.clickedButton());
    return kAlertPressedFirst + static_cast<u32>(std::max<qsizetype>(index, 0));
}

u32 ShowAlertBox(const TAlertRecord& record, IAlertListener& listener, QWidget* parent)
{
    const std::unique_ptr<QMessageBox> box = MakeAlertBox(record, parent);
    if (!box)
        return kVistalInvalidArgument;
    box->exec();
    return listener.IAlertListener_ButtonPressed(GetPressedButton(*box));
}

u32 CQtBoxPresenter::IAlertPresenter_ShowAlert(const TAlertRecord& record, IAlertListener& listener)
{
    return fFallback.IAlertPresenter_ShowAlert(record, listener);
}

EBoxAnswer CQtBoxPresenter::IAlertPresenter_ShowBox(const char* caption, const char* text,
                                                    EBoxButtons buttons) noexcept
{
    if (!OnUserInterfaceThread())
        return fFallback.IAlertPresenter_ShowBox(caption, text, buttons);
    try
    {
        const bool assertion = buttons == EBoxButtons::kAbortRetryIgnore;
        QMessageBox box(assertion ? QMessageBox::Warning : QMessageBox::Critical,
                        QString::fromUtf8(caption), BoxText(text),
                        assertion ? QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore
                                  : QMessageBox::Ok,
                        QApplication::activeWindow());
        box.setTextFormat(Qt::PlainText);
        switch (box.exec())
        {
        case QMessageBox::Abort:
            return EBoxAnswer::kAbort;
        case QMessageBox::Retry:
            return EBoxAnswer::kRetry;
        case QMessageBox::Ignore:
            return EBoxAnswer::kIgnore;
        default:
            return assertion ? EBoxAnswer::kIgnore : EBoxAnswer::kOK;
        }
    }
    catch (...)
    {
        return fFallback.IAlertPresenter_ShowBox(caption, text, buttons);
    }
}
