#include "gui/MIDITestWindow.h"

#include "foundation/Alert.h"
#include "gui/GuiText.h"
#include "gui/QtFlowLayout.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QStandardPaths>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>

namespace
{
const QSize kInitialSize(250, 250);
constexpr int kBorder = 5;
constexpr int kTitleWidth = 70;
constexpr int kPopupLeft = 75;
// The popup leaves room for the title on its left and the status on its right.
constexpr int kPopupNarrower = 150;
constexpr int kStatusWidth = 70;
constexpr int kRowStep = 30;
constexpr int kRowHeight = 24;
// Between the send field, the check boxes and the buttons.
constexpr int kGroupGap = 12;
const QString kViewPrefix = QStringLiteral("CMIDITestWindowBehavior::");

template <class Widget> Widget* Named(Widget* widget, const char* view, const QString& accessible)
{
    widget->setObjectName(kViewPrefix + QLatin1String(view));
    widget->setAccessibleName(accessible);
    return widget;
}

QPushButton* MakeButton(const QString& text, QWidget* parent, std::function<void()> action)
{
    auto* button = new QPushButton(text, parent);
    button->setAccessibleName(text);
    QObject::connect(button, &QPushButton::clicked, parent,
                     [action = std::move(action)] { GuardWindowCallback(action); });
    return button;
}
QCheckBox* MakeCheckBox(const QString& text, const QString& tip, bool checked, QWidget* parent,
                       std::function<void(bool)> action)
{
    auto* box = new QCheckBox(text, parent);
    box->setAccessibleName(text);
    box->setToolTip(tip);
    box->setChecked(checked);
    QObject::connect(box, &QCheckBox::toggled, parent, [action = std::move(action)](bool on)
                     { GuardWindowCallback([&] { action(on); }); });
    return box;
}
} // namespace

// A popup of ports that lists them anew each time it opens, keeping the row
// that shows if it is still there.
class CPortPopup final : public QComboBox
{
public:
    CPortPopup(QWidget* parent, std::function<std::vector<TText16>()> listRows)
        : QComboBox(parent), fListRows(std::move(listRows))
    {
        Refill();
    }

    void showPopup() override
    {
        GuardWindowCallback([this] { Refill(); });
        QComboBox::showPopup();
    }

private:
    void Refill()
    {
        const QString shown = currentText();
        QSignalBlocker quiet(this);
        clear();
        for (const TText16& row : fListRows())
            addItem(ToQString(row));
        setCurrentIndex(std::max(0, findText(shown)));
    }

    std::function<std::vector<TText16>()> fListRows;
};

CMIDITestWindow::CMIDITestWindow(QWidget* parent) : QDialog(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("MIDITestWindow"));
    setWindowTitle(QStringLiteral("MIDI Test"));
    setAccessibleName(windowTitle());
    fInRow = MakePortRow(QStringLiteral("In"), true);
    fOutRow = MakePortRow(QStringLiteral("Out"), false);
    fLowerPart = MakeLowerPart();
    resize(kInitialSize);
}

CMIDITestWindow::~CMIDITestWindow() = default;

CMIDITestWindow::TPortRow CMIDITestWindow::MakePortRow(const QString& name, bool input)
{
    const QByteArray view = "fMIDI" + name.toLatin1();
    const QString title = name + QStringLiteral("-port");
    TPortRow row;
    row.fTitle = Named(new QLabel(title, this), view + "Title", title);
    row.fPopup = Named(new CPortPopup(this, [this, input]
                                      { return input ? fModel.GetInRows() : fModel.GetOutRows(); }),
                       view + "Popup", title);
    row.fTitle->setBuddy(row.fPopup);
    // Its text is what a screen reader should say, so it keeps it as its name.
    row.fStatus = new QLabel(this);
    row.fStatus->setObjectName(kViewPrefix + QLatin1String(view + "StatusText"));
    row.fStatus->setAccessibleDescription(title + QStringLiteral(" status"));
    connect(row.fPopup, &QComboBox::activated, this,
            [this, input, status = row.fStatus](int index)
            {
                GuardWindowCallback(
                    [&]
                    {
                        const auto chosen = static_cast<std::size_t>(std::max(0, index));
                        input ? fModel.ChooseInRow(chosen) : fModel.ChooseOutRow(chosen);
                        status->setText(ToQString(input ? fModel.GetInStatus()
                                                        : fModel.GetOutStatus()));
                    });
            });
    return row;
}

QWidget* CMIDITestWindow::MakeControls(QWidget* parent)
{
    auto* controls = new QWidget(parent);
    auto* flow = new CQtFlowLayout(controls);
    flow->setContentsMargins(0, 0, 0, 0);
    QPushButton* send = MakeButton(QStringLiteral("Send"), controls, [this] { fModel.Send(); });
    send->setDefault(true);
    flow->AddWidget(Named(send, "fSendButton", QStringLiteral("Send")), 0);
    auto* edit = Named(new QLineEdit(controls), "fSendEdit", QStringLiteral("MIDI message"));
    edit->setPlaceholderText(
        QStringLiteral("Type a MIDI message in HEX, separate each byte with spaces"));
    edit->setToolTip(edit->placeholderText());
    connect(edit, &QLineEdit::textChanged, this, [this](const QString& text)
            { GuardWindowCallback([&] { fModel.SetSendText(FromQString(text)); }); });
    flow->AddWidget(edit);
    flow->AddPad(kGroupGap);

    CReceivedMessages& received = fModel.GetReceived();
    flow->AddWidget(MakeCheckBox(QStringLiteral("Time stamps"),
                                 QStringLiteral("Milliseconds since the in-port opened"), false,
                                 controls,
                                 [this, &received](bool on)
                                 {
                                     received.SetShowTimeStamps(on);
                                     ShowReceived();
                                 }));
    flow->AddWidget(MakeCheckBox(QStringLiteral("Hide clock and active sensing"),
                                 QStringLiteral("Leaves out F8 and FE as they come in"),
                                 received.GetHideClock(), controls,
                                 [&received](bool on) { received.SetHideClock(on); }));
    flow->AddPad(kGroupGap);
    flow->AddWidget(MakeButton(QStringLiteral("Copy"), controls,
                               [&received] {
                                   QApplication::clipboard()->setText(
                                       QString::fromLatin1(received.GetShownLines()));
                               }));
    flow->AddWidget(MakeButton(QStringLiteral("Save..."), controls, [this] { Save(); }));
    return controls;
}

QWidget* CMIDITestWindow::MakeLowerPart()
{
    auto* part = new QWidget(this);
    auto* receivedTitle = Named(new QLabel(QStringLiteral("Received messages:"), part),
                                "fReceivedTitle", QStringLiteral("Received messages:"));
    fReceivedText = Named(new QPlainTextEdit(part), "fReceivedText",
                          QStringLiteral("Received messages"));
    fReceivedText->setReadOnly(true);
    fReceivedText->setLineWrapMode(QPlainTextEdit::NoWrap);
    fReceivedText->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    receivedTitle->setBuddy(fReceivedText);

    auto* column = new QVBoxLayout(part);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(MakeControls(part));
    column->addWidget(receivedTitle);
    column->addWidget(fReceivedText, 1);
    return part;
}

void CMIDITestWindow::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    const QRect work = rect().adjusted(kBorder, kBorder, -kBorder, -kBorder);
    PlacePortRow(fInRow, work, work.top());
    PlacePortRow(fOutRow, work, work.top() + kRowStep);
    const int lowerTop = work.top() + 2 * kRowStep;
    fLowerPart->setGeometry(work.left(), lowerTop, std::max(0, work.width()),
                            std::max(0, work.bottom() + 1 - lowerTop));
}

void CMIDITestWindow::PlacePortRow(const TPortRow& row, const QRect& work, int top)
{
    const int left = work.left();
    const int right = work.right() + 1;
    row.fTitle->setGeometry(left, top, kTitleWidth, kRowHeight);
    row.fPopup->setGeometry(left + kPopupLeft, top,
                            std::max(0, right - left - kPopupNarrower),
                            kRowHeight);
    row.fStatus->setGeometry(right - kStatusWidth, top, kStatusWidth, kRowHeight);
}

void CMIDITestWindow::closeEvent(QCloseEvent* event)
{
    fModel.ClosePorts();
    event->accept();
}

void CMIDITestWindow::Idle()
{
    if (fModel.Idle())
        ShowReceived();
}

void CMIDITestWindow::ShowReceived()
{
    fReceivedText->setPlainText(QString::fromLatin1(fModel.GetReceived().GetShownText()));
    QScrollBar* bar = fReceivedText->verticalScrollBar();
    bar->setValue(bar->maximum());
}

void CMIDITestWindow::Save()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString sysex = QStringLiteral("System exclusive (*.syx)");
    QString filter;
    QString file = QFileDialog::getSaveFileName(
        this, QStringLiteral("Save Received Messages"),
        folder + QStringLiteral("/Received MIDI.txt"), QStringLiteral("Text files (*.txt);;") + sysex,
        &filter, QFileDialog::DontUseNativeDialog);
    if (file.isEmpty())
        return;
    // The kind follows the name; a name without ".syx" under that filter gets it.
    if (filter == sysex && !file.endsWith(QStringLiteral(".syx")))
        file += QStringLiteral(".syx");
    SaveTo(ToPath(file));
}

void CMIDITestWindow::SaveTo(const std::filesystem::path& file)
{
    try
    {
        if (file.extension() == ".syx")
            fModel.GetReceived().SaveSysex(file);
        else
            fModel.GetReceived().SaveText(file);
    }
    catch (const std::exception& e)
    {
        Alert(u"[STOP][Save Received Messages]The messages could not be saved to ^0 (^1).[OK]",
              {FromQString(FromPath(file)), FromQString(QString::fromUtf8(e.what()))}, false);
    }
}
