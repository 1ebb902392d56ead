#include "gui/LogWindow.h"

#include "foundation/Alert.h"
#include "gui/GuiText.h"

#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace
{
const QSize kLogWindowSize(640, 360);

QPushButton* MakeButton(const QString& text, QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    return button;
}
} // namespace

CLogWindow::CLogWindow(QWidget* parent) : QMainWindow(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("LogWindow"));
    setWindowTitle(QStringLiteral("Log"));
    setAccessibleName(windowTitle());
    auto* content = new QWidget(this);
    setCentralWidget(content);
    fView = new QPlainTextEdit(content);
    fView->setReadOnly(true);
    fView->setLineWrapMode(QPlainTextEdit::NoWrap);
    fView->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    fView->setAccessibleName(QStringLiteral("Log text"));
    QPushButton* clear = MakeButton(QStringLiteral("Clear"), content);
    QPushButton* save = MakeButton(QStringLiteral("Save..."), content);
    connect(clear, &QPushButton::clicked, this,
            [this] { GuardWindowCallback([this] { Clear(); }); });
    connect(save, &QPushButton::clicked, this, [this] { GuardWindowCallback([this] { Save(); }); });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(clear);
    buttons->addWidget(save);
    auto* layout = new QVBoxLayout(content);
    layout->addWidget(fView, 1);
    layout->addLayout(buttons);
    resize(kLogWindowSize);
}

void CLogWindow::AddText(std::u16string_view text)
{
    fModel.Add(text);
    ShowText();
}

void CLogWindow::Clear()
{
    fModel.Clear();
    ShowText();
}

void CLogWindow::ShowText()
{
    fView->setPlainText(ToQString(fModel.GetLines()));
    QScrollBar* bar = fView->verticalScrollBar();
    bar->setValue(bar->maximum());
}

void CLogWindow::Save()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString file = QFileDialog::getSaveFileName(
        this, QStringLiteral("Save Log"), folder + QStringLiteral("/Brassfold Log.txt"),
        QStringLiteral("Text files (*.txt)"), nullptr, QFileDialog::DontUseNativeDialog);
    if (!file.isEmpty())
        SaveTo(ToPath(file));
}

void CLogWindow::SaveTo(const std::filesystem::path& file)
{
    try
    {
        fModel.Save(file);
    }
    catch (const std::exception& e)
    {
        Alert(u"[STOP][Save Log]The log could not be saved to ^0 (^1).[OK]",
              {FromQString(FromPath(file)), FromQString(QString::fromUtf8(e.what()))}, false);
    }
}
