#include "gui/HardwarePanel.h"

#include "foundation/Alert.h"
#include "foundation/Assert.h"
#include "foundation/Failures.h"
#include "host/Vistal.h"
#include "gui/GuiText.h"
#include "gui/PanelWidgets.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QPainter>
#include <QScrollArea>
#include <QSignalBlocker>

#include <algorithm>
#include <cmath>

using namespace NSHardwarePanel;
using NSKinvarCodec::TItemInfo;

namespace
{
// Where controls wait until the layout gives them a place.
constexpr int kOffScreen = -1000;
constexpr int kTextFieldWidth = 100;
constexpr int kPopupWidth = 70;
constexpr int kInitialWidth = 660;
constexpr int kMinimumHeight = 200;
constexpr int kMaximumStartHeight = 720;
constexpr qint64 kGlowMs = 900;
constexpr int kFadeStepMs = 33;
constexpr int kRefreshMs = 16;
constexpr int kGlowAlpha = 170;

int Pixels(double coordinate)
{
    return static_cast<int>(std::lround(coordinate));
}

// What the slider's own action stands for: the code and amount of the panel's
// slider actions. A drag, a click into the groove and the end keys move to a
// position, the arrow keys step by one and the page keys by a tenth.
std::pair<u32, i32> PanelSliderAction(int action, int sliderPosition)
{
    switch (action)
    {
    case QAbstractSlider::SliderSingleStepAdd:
        return {kSliderStepUp, 1};
    case QAbstractSlider::SliderSingleStepSub:
        return {kSliderStepDown, 1};
    case QAbstractSlider::SliderPageStepAdd:
        return {kSliderPageUp, 1};
    case QAbstractSlider::SliderPageStepSub:
        return {kSliderPageDown, 1};
    default:
        return {kSliderMoveTo, sliderPosition};
    }
}

// Where an item glows: its cell with a margin.
QRectF GlowRect(const TPanelCell& cell)
{
    return QRectF(cell.fX - 3, cell.fY - 3, cell.fWidth + 4, cell.fRowHeight + 4);
}
} // namespace

// The panel's background: the controls stand on it, and it paints the glow of
// the controls that the hardware moved behind them.
class CHardwarePanel::CCanvas final : public QWidget
{
public:
    explicit CCanvas(CHardwarePanel& panel) : fPanel(panel) { setAutoFillBackground(true); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        for (const auto& [item, timer] : fPanel.fGlowing)
        {
            const TPanelCell cell = fPanel.CellOf(item);
            QColor glow = palette().color(QPalette::Highlight);
            glow.setAlpha(static_cast<int>(kGlowAlpha * (1.0 - std::min<double>(timer.elapsed(), kGlowMs) / kGlowMs)));
            painter.setBrush(glow);
            painter.drawRoundedRect(GlowRect(cell), 4, 4);
        }
    }

private:
    CHardwarePanel& fPanel;
};

CHardwarePanel::CHardwarePanel(std::unique_ptr<CPanelSurface> surface, QWidget* parent)
    : QMainWindow(parent), fSurface(std::move(surface)), fModel(*fSurface)
{
    InstallPanelAccessibility();
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(ToQString(fModel.GetTitle()));
    setAccessibleName(windowTitle());
    fScroll = new QScrollArea(this);
    fScroll->setFrameShape(QFrame::NoFrame);
    fScroll->setAccessibleName(QStringLiteral("Controls"));
    fCanvas = new CCanvas(*this);
    fScroll->setWidget(fCanvas);
    fScroll->viewport()->installEventFilter(this);
    // The scroll area fills the window; inside it the layout is ours.
    setCentralWidget(fScroll);

    MakeStatisticsLine();
    for (u32 item = 0; item < fModel.GetItems().size(); ++item)
        MakeItemControls(item);

    fRefreshTimer.setSingleShot(true);
    fRefreshTimer.setInterval(kRefreshMs);
    connect(&fRefreshTimer, &QTimer::timeout, this, [this] { GuardWindowCallback([this] { ShowMoved(); }); });
    fFadeTimer.setInterval(kFadeStepMs);
    connect(&fFadeTimer, &QTimer::timeout, this, [this] { GuardWindowCallback([this] { Fade(); }); });
    fModel.SetView(this);
    fSurface->Listen(&fModel);

    const TPanelFlow flow = FlowItems(fModel.GetItems(), {0, 0, kInitialWidth, 0});
    double bottom = 0;
    for (const TPanelCell& cell : flow.fItems)
        bottom = std::max(bottom, cell.fY + cell.fRowHeight);
    resize(kInitialWidth, std::clamp(Pixels(bottom) + 10, kMinimumHeight, kMaximumStartHeight));
}

CHardwarePanel::~CHardwarePanel()
{
    // The controls go first: a text field that loses the focus on its way
    // out still reports to the model.
    fModel.SetView(nullptr);
    fScroll->viewport()->removeEventFilter(this);
    delete fScroll;
}

template <class Widget> Widget* CHardwarePanel::Add(EPanelView view, u32 item, Widget* widget)
{
    widget->setObjectName(QLatin1String(ViewName(view).data(), static_cast<qsizetype>(ViewName(view).size())));
    if (auto* label = qobject_cast<QLabel*>(widget))
        ApplyTextStyle(*label, TextStyleOf(view));
    widget->resize(widget->sizeHint());
    widget->move(kOffScreen, 0);
    fViews[{view, item}] = widget;
    return widget;
}

QWidget* CHardwarePanel::GetView(EPanelView view, u32 item) const
{
    const auto found = fViews.find({view, item});
    return found != fViews.end() ? found->second : nullptr;
}

void CHardwarePanel::MakeStatisticsLine()
{
    for (const TPanelControl& control : NSHardwarePanel::MakeStatisticsLine())
    {
        const QString caption = ToQString(control.fCaption);
        QWidget* widget = nullptr;
        if (control.fView == EPanelView::kDisableBox)
        {
            auto* box = Add(control.fView, kNoItem, new QCheckBox(caption, fCanvas));
            box->setAccessibleName(caption);
            connect(box, &QCheckBox::clicked, this,
                    [this](bool ticked) { GuardWindowCallback([&] { fModel.ClickDisableAll(ticked); }); });
            widget = box;
        }
        else if (control.fView == EPanelView::kTrafficText || control.fView == EPanelView::kFramesText)
        {
            widget = Add(control.fView, kNoItem, new CValueLabel(caption, fCanvas));
            widget->setAccessibleName(control.fView == EPanelView::kTrafficText ? QStringLiteral("MIDI bytes/s")
                                                                                 : QStringLiteral("Frames/s"));
        }
        else
            widget = Add(control.fView, kNoItem, new QLabel(caption, fCanvas));
        Place(*widget, control.fPlace);
    }
}

void CHardwarePanel::MakeItemControls(u32 item)
{
    const TItemInfo& info = fModel.GetItems()[item];
    const QString name = ToQString(GetRecordText(info.fName));
    QWidget* control = nullptr;
    switch (ClassifyItem(info))
    {
    case EItemClass::kCheckBox: {
        auto* box = Add(EPanelView::kCheckBox, item, new QCheckBox(fCanvas));
        connect(box, &QCheckBox::clicked, this,
                [this, item] { GuardWindowCallback([&] { fModel.ClickCheckBox(item); }); });
        Add(EPanelView::kCheckBoxName, item, new QLabel(name, fCanvas));
        control = box;
        break;
    }
    case EItemClass::kSlider:
        MakeSlider(item);
        control = GetView(EPanelView::kSlider, item);
        break;
    case EItemClass::kRotary:
        MakeRotary(item);
        control = GetView(EPanelView::kRotaryButton, item);
        break;
    case EItemClass::kText: {
        Add(EPanelView::kTextName, item, new QLabel(name, fCanvas));
        auto* field = Add(EPanelView::kTextField, item, new QLineEdit(fCanvas));
        field->resize(kTextFieldWidth, field->sizeHint().height());
        connect(field, &QLineEdit::editingFinished, this, [this, item, field] {
            GuardWindowCallback([&] { fModel.EndTextEditing(item, FromQString(field->text())); });
        });
        control = field;
        break;
    }
    case EItemClass::kKeyboard:
        MakeKeyboard(item);
        control = GetView(EPanelView::kKeyboardLine);
        break;
    case EItemClass::kNone:
        break;
    }
    if (control != nullptr && control->accessibleName().isEmpty())
    {
        control->setAccessibleName(name);
        control->setToolTip(DisplayText(DescribeItem(info, fModel.GetStateNames(item))));
    }
    if (info.fStateCount > 0)
        MakeStatePopup(item);
    ShowItem(item);
}

// Only the first keyboard item makes the pair of texts.
void CHardwarePanel::MakeKeyboard(u32)
{
    if (GetView(EPanelView::kKeyboardLine) != nullptr)
        return;
    Add(EPanelView::kKeyboardTitle, kNoItem, new QLabel(QStringLiteral("Keyboard"), fCanvas));
    Add(EPanelView::kKeyboardLine, kNoItem, new QLabel(fCanvas));
}

TValueSource CHardwarePanel::ValueOf(u32 item)
{
    const TItemInfo& info = fModel.GetItems()[item];
    TValueSource source;
    source.fValue = [this, item] { return fModel.GetValue(item); };
    source.fMinimum = info.fMin;
    source.fMaximum = info.fMax;
    return source;
}

void CHardwarePanel::MakeSlider(u32 item)
{
    TValueSource source = ValueOf(item);
    source.fSet = [this, item](i64 value) {
        fModel.SliderAction(item, kSliderMoveTo, SliderPosition(fModel.GetItems()[item], value));
    };
    auto* slider = Add(EPanelView::kSlider, item, new CPanelSlider(std::move(source), fCanvas));
    slider->setRange(0, kSliderMaximum);
    slider->setPageStep(std::max(kSliderMaximum / 10, 1));
    connect(slider, &QAbstractSlider::actionTriggered, this, [this, item, slider](int action) {
        GuardWindowCallback([&] {
            const auto [code, amount] = PanelSliderAction(action, slider->sliderPosition());
            fModel.SliderAction(item, code, amount);
        });
    });
    Add(EPanelView::kSliderName, item, new QLabel(ToQString(GetRecordText(fModel.GetItems()[item].fName)), fCanvas));
}

void CHardwarePanel::MakeRotary(u32 item)
{
    TValueSource source = ValueOf(item);
    source.fSet = [this, item](i64 value) { fModel.StepUpDown(item, value - fModel.GetValue(item)); };
    auto* button = Add(EPanelView::kRotaryButton, item, new CUpDownButton(std::move(source), fCanvas));
    connect(button, &CUpDownButton::Stepped, this,
            [this, item](int amount) { GuardWindowCallback([&] { fModel.StepUpDown(item, amount); }); });
    Add(EPanelView::kRotaryNumber, item, new QLabel(fCanvas));
    Add(EPanelView::kRotaryName, item, new QLabel(ToQString(GetRecordText(fModel.GetItems()[item].fName)), fCanvas));
}

void CHardwarePanel::MakeStatePopup(u32 item)
{
    auto* popup = Add(EPanelView::kStatePopup, item, new QComboBox(fCanvas));
    for (const TText16& state : fModel.GetStateNames(item))
        popup->addItem(ToQString(state));
    popup->resize(kPopupWidth, popup->sizeHint().height());
    popup->setAccessibleName(ToQString(GetRecordText(fModel.GetItems()[item].fName) + u" state"));
    connect(popup, &QComboBox::activated, this, [this, item](int row) {
        GuardWindowCallback([&] { fModel.ChoosePopupRow(item, static_cast<u32>(std::max(row, 0))); });
    });
}

void CHardwarePanel::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && HasVistal())
        GuardWindowCallback([] { ThrowVistalResult(GetVistal().IVistal_UpdateCommands()); });
}

bool CHardwarePanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == fScroll->viewport() && event->type() == QEvent::Resize)
        GuardWindowCallback([this] { LayOut(); });
    return QMainWindow::eventFilter(watched, event);
}

void CHardwarePanel::LayOut()
{
    const QSize viewport = fScroll->viewport()->size();
    const TPanelRect client{0, 0, static_cast<double>(viewport.width()), static_cast<double>(viewport.height())};
    fFlow = FlowItems(fModel.GetItems(), client);
    int bottom = viewport.height();
    for (const TPanelControl& control : LayOutPanel(fModel.GetItems(), client))
    {
        QWidget* widget = GetView(control.fView, control.fItem);
        BF_ASSERT(widget != nullptr);
        if (widget == nullptr)
            continue;
        Place(*widget, control.fPlace);
        bottom = std::max(bottom, widget->geometry().bottom() + 5);
    }
    fCanvas->resize(viewport.width(), bottom);
}

// A size that the layout names wins, but never below what the widget needs to
// show itself (a check box of 10 pixels would lose its box).
void CHardwarePanel::Place(QWidget& widget, const TPlacement& place)
{
    const int width = place.fWidth ? Pixels(*place.fWidth) : widget.width();
    const int height = place.fHeight ? std::max(Pixels(*place.fHeight), widget.minimumSizeHint().height())
                                     : widget.height();
    widget.setGeometry(Pixels(place.fLeft), Pixels(place.fTop), width, height);
}

TPanelCell CHardwarePanel::CellOf(u32 item) const
{
    if (ClassifyItem(fModel.GetItems().at(item)) == EItemClass::kKeyboard && fFlow.fKeyboard)
        return *fFlow.fKeyboard;
    return item < fFlow.fItems.size() ? fFlow.fItems[item] : TPanelCell{};
}

void CHardwarePanel::ShowItem(u32 item)
{
    if (auto* box = qobject_cast<QCheckBox*>(GetView(EPanelView::kCheckBox, item)))
    {
        const QSignalBlocker block(box);
        box->setChecked(fModel.IsTicked(item));
    }
    if (auto* slider = qobject_cast<CPanelSlider*>(GetView(EPanelView::kSlider, item)))
    {
        const QSignalBlocker block(slider);
        slider->setValue(std::clamp(fModel.GetSliderPosition(item), 0, kSliderMaximum));
        NotifyAccessibleValue(*slider);
    }
    if (auto* number = qobject_cast<QLabel*>(GetView(EPanelView::kRotaryNumber, item)))
    {
        number->setText(QString::number(fModel.GetValue(item)));
        NotifyAccessibleValue(*GetView(EPanelView::kRotaryButton, item));
    }
    if (auto* field = qobject_cast<QLineEdit*>(GetView(EPanelView::kTextField, item)))
        if (field->text() != ToQString(fModel.GetText(item)))
            field->setText(ToQString(fModel.GetText(item)));
    if (ClassifyItem(fModel.GetItems()[item]) == EItemClass::kKeyboard)
    {
        auto* line = static_cast<QLabel*>(GetView(EPanelView::kKeyboardLine));
        line->setText(ToQString(fModel.GetKeyboardLine()));
        line->setAccessibleDescription(line->text());
    }
    if (auto* popup = qobject_cast<QComboBox*>(GetView(EPanelView::kStatePopup, item)))
    {
        const QSignalBlocker block(popup);
        popup->setCurrentIndex(static_cast<int>(fModel.GetStateIndex(item)));
    }
}

// What the user did shows at once. What the hardware did waits for the next
// refresh, some 60 a second, so that a flood of input costs a mark per item
// and the panel paints no more often than a screen shows.
void CHardwarePanel::IPanelView_ItemChanged(u32 item, bool byHardware)
{
    if (!byHardware)
    {
        ShowItem(item);
        return;
    }
    if (!fMoved.insert(item).second || fRefreshTimer.isActive())
        return;
    fRefreshTimer.start();
}

void CHardwarePanel::ShowMoved()
{
    for (const u32 item : std::exchange(fMoved, {}))
    {
        ShowItem(item);
        fGlowing[item].start();
        // Only the item's cell: a busy surface must not paint the whole panel.
        fCanvas->update(GlowRect(CellOf(item)).toAlignedRect());
    }
    if (!fFadeTimer.isActive())
        fFadeTimer.start();
}

void CHardwarePanel::IPanelView_WindowChanged()
{
    static_cast<QLabel*>(GetView(EPanelView::kTrafficText))->setText(ToQString(fModel.GetTrafficText()));
    static_cast<QLabel*>(GetView(EPanelView::kFramesText))->setText(ToQString(fModel.GetFramesText()));
    auto* box = static_cast<QCheckBox*>(GetView(EPanelView::kDisableBox));
    const QSignalBlocker block(box);
    box->setChecked(fModel.IsDisableTicked());
}

bool CHardwarePanel::IsHighlighted(u32 item) const
{
    return fGlowing.contains(item);
}

void CHardwarePanel::Fade()
{
    for (auto glow = fGlowing.begin(); glow != fGlowing.end();)
    {
        fCanvas->update(GlowRect(CellOf(glow->first)).toAlignedRect());
        glow = glow->second.elapsed() >= kGlowMs ? fGlowing.erase(glow) : std::next(glow);
    }
    if (fGlowing.empty())
        fFadeTimer.stop();
}

void CHardwarePanel::Idle(u32& counter)
{
    fModel.Idle(counter);
}
