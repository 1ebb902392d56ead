#pragma once
// The widgets of a hardware panel that Qt has no ready form of, and what
// screen readers and automation tools see of the panel's numbers:
//
//   - CUpDownButton: a pair of arrows, up over down, that steps by one per
//     click, arrow key or wheel notch;
//   - CPanelSlider: the vertical slider of 0 to 127;
//   - CValueLabel: a static text that shows a number (the statistics line).
//
// Each reports a number through IAccessibleValue: the accessibility tree
// (AT-SPI) reads an item's value and range there, not the widget's own
// position, and an automation tool that sets the value moves the control as
// a user would. The user interface thread.

#include "foundation/Types.h"

#include <QLabel>
#include <QSlider>
#include <QWidget>

#include <functional>

class IAccessibleValue
{
public:
    virtual double GetAccessibleValue() const = 0;
    virtual double GetAccessibleMinimum() const = 0;
    virtual double GetAccessibleMaximum() const = 0;
    virtual void SetAccessibleValue(double value) = 0;

protected:
    ~IAccessibleValue() = default;
};

// Where a panel control gets the number that it reports, and what setting
// one does.
struct TValueSource
{
    std::function<i64()> fValue;
    i64 fMinimum = 0;
    i64 fMaximum = 0;
    std::function<void(i64)> fSet;
};

// Installs the accessibility of the classes below; once is enough.
void InstallPanelAccessibility();
// Tells the accessibility tree that widget's number changed.
void NotifyAccessibleValue(QWidget& widget);

class CUpDownButton final : public QWidget, public IAccessibleValue
{
    Q_OBJECT

public:
    CUpDownButton(TValueSource source, QWidget* parent);
    QSize sizeHint() const override;

    double GetAccessibleValue() const override;
    double GetAccessibleMinimum() const override;
    double GetAccessibleMaximum() const override;
    void SetAccessibleValue(double value) override;

signals:
    // +1 up, -1 down.
    void Stepped(int amount);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    TValueSource fSource;
};

class CPanelSlider final : public QSlider, public IAccessibleValue
{
    Q_OBJECT

public:
    CPanelSlider(TValueSource source, QWidget* parent);

    double GetAccessibleValue() const override;
    double GetAccessibleMinimum() const override;
    double GetAccessibleMaximum() const override;
    void SetAccessibleValue(double value) override;

protected:
    // Writes its own name to the debug channel and does nothing else.
    void focusInEvent(QFocusEvent* event) override;

private:
    TValueSource fSource;
};

// Reads its number from its text; it cannot be set.
class CValueLabel final : public QLabel, public IAccessibleValue
{
    Q_OBJECT

public:
    using QLabel::QLabel;

    double GetAccessibleValue() const override;
    double GetAccessibleMinimum() const override { return 0; }
    double GetAccessibleMaximum() const override;
    void SetAccessibleValue(double) override {}
};
