#include "gui/PanelWidgets.h"

#include "foundation/Alert.h"
#include "foundation/Debugger.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
const QSize kUpDownSize(12, 20);

// An interface of the accessibility tree over an IAccessibleValue widget.
class CValueAccessible final : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    CValueAccessible(QWidget* widget, QAccessible::Role role) : QAccessibleWidget(widget, role) {}

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text type) const override
    {
        if (type == QAccessible::Value)
            return QString::number(Value().GetAccessibleValue(), 'f', 0);
        return QAccessibleWidget::text(type);
    }
    QVariant currentValue() const override { return Value().GetAccessibleValue(); }
    void setCurrentValue(const QVariant& value) override
    {
        GuardWindowCallback([&] { Value().SetAccessibleValue(value.toDouble()); });
    }
    QVariant maximumValue() const override { return Value().GetAccessibleMaximum(); }
    QVariant minimumValue() const override { return Value().GetAccessibleMinimum(); }
    QVariant minimumStepSize() const override { return 1.0; }

private:
    IAccessibleValue& Value() const { return *dynamic_cast<IAccessibleValue*>(widget()); }
};

QAccessibleInterface* MakePanelAccessible(const QString& key, QObject* object)
{
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr || dynamic_cast<IAccessibleValue*>(widget) == nullptr)
        return nullptr;
    if (key == QLatin1String("CUpDownButton"))
        return new CValueAccessible(widget, QAccessible::SpinBox);
    if (key == QLatin1String("CPanelSlider"))
        return new CValueAccessible(widget, QAccessible::Slider);
    if (key == QLatin1String("CValueLabel"))
        return new CValueAccessible(widget, QAccessible::StaticText);
    return nullptr;
}

i64 ToValue(double value)
{
    if (!std::isfinite(value))
        return 0;
    return static_cast<i64>(std::clamp(std::round(value), -9.2e18, 9.2e18));
}
} // namespace

void InstallPanelAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(&MakePanelAccessible);
        return true;
    }();
    (void)installed;
}

void NotifyAccessibleValue(QWidget& widget)
{
    if (!QAccessible::isActive())
        return;
    if (auto* value = dynamic_cast<IAccessibleValue*>(&widget))
    {
        QAccessibleValueChangeEvent event(&widget, value->GetAccessibleValue());
        QAccessible::updateAccessibility(&event);
    }
}

// ---- CUpDownButton ----------------------------------------------------------------

CUpDownButton::CUpDownButton(TValueSource source, QWidget* parent) : QWidget(parent), fSource(std::move(source))
{
    setFocusPolicy(Qt::StrongFocus);
    resize(kUpDownSize);
}

QSize CUpDownButton::sizeHint() const { return kUpDownSize; }

void CUpDownButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const int half = height() / 2;
    const QRect halves[] = {QRect(0, 0, width(), half), QRect(0, half, width(), height() - half)};
    const QStyle::PrimitiveElement arrows[] = {QStyle::PE_IndicatorArrowUp, QStyle::PE_IndicatorArrowDown};
    for (int i = 0; i < 2; ++i)
    {
        QStyleOption option;
        option.initFrom(this);
        option.rect = halves[i];
        style()->drawPrimitive(QStyle::PE_PanelButtonTool, &option, &painter, this);
        style()->drawPrimitive(arrows[i], &option, &painter, this);
    }
    if (hasFocus())
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void CUpDownButton::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        emit Stepped(event->position().y() < height() / 2.0 ? 1 : -1);
}

void CUpDownButton::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Up)
        emit Stepped(1);
    else if (event->key() == Qt::Key_Down)
        emit Stepped(-1);
    else
        QWidget::keyPressEvent(event);
}

void CUpDownButton::wheelEvent(QWheelEvent* event)
{
    if (const int notches = event->angleDelta().y() / QWheelEvent::DefaultDeltasPerStep; notches != 0)
        emit Stepped(notches);
}

double CUpDownButton::GetAccessibleValue() const { return static_cast<double>(fSource.fValue()); }
double CUpDownButton::GetAccessibleMinimum() const { return static_cast<double>(fSource.fMinimum); }
double CUpDownButton::GetAccessibleMaximum() const { return static_cast<double>(fSource.fMaximum); }
void CUpDownButton::SetAccessibleValue(double value) { fSource.fSet(ToValue(value)); }

// ---- CPanelSlider -------------------------------------------------------------------

CPanelSlider::CPanelSlider(TValueSource source, QWidget* parent)
    : QSlider(Qt::Vertical, parent), fSource(std::move(source))
{
}

double CPanelSlider::GetAccessibleValue() const { return static_cast<double>(fSource.fValue()); }
double CPanelSlider::GetAccessibleMinimum() const { return static_cast<double>(fSource.fMinimum); }
double CPanelSlider::GetAccessibleMaximum() const { return static_cast<double>(fSource.fMaximum); }
void CPanelSlider::SetAccessibleValue(double value) { fSource.fSet(ToValue(value)); }

void CPanelSlider::focusInEvent(QFocusEvent* event)
{
    QSlider::focusInEvent(event);
    WriteLine("ISliderViewHandler_OnFocusReceived");
}

// ---- CValueLabel ---------------------------------------------------------------------

double CValueLabel::GetAccessibleValue() const { return text().toDouble(); }
double CValueLabel::GetAccessibleMaximum() const { return std::numeric_limits<u32>::max(); }
