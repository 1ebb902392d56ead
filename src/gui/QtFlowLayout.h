#pragma once
// The flow layout (gui/FlowLayout.h) as a Qt layout: the flow places each
// widget at its size hint, wraps the rows and hides the pads; the rows stack
// from the top, each as tall as its tallest item, and every item centres on
// its row's middle line (a flow run on a rectangle as tall as one row). A
// widget that wraps its text takes the height that its width needs.
//
// Use it where a window's layout is ours to choose:
//     auto* row = new CQtFlowLayout(widget);
//     row->AddWidget(picture);
//     row->AddPad(24);
//     row->AddWidget(text, 12, 12);

#include <QLayout>

#include <vector>

class CQtFlowLayout final : public QLayout
{
public:
    static constexpr int kDefaultMargin = 6;

    explicit CQtFlowLayout(QWidget* parent = nullptr);
    ~CQtFlowLayout() override;

    // A widget that wants that much room on its left and right.
    void AddWidget(QWidget* widget, int marginLeft = kDefaultMargin,
                   int marginRight = kDefaultMargin);
    // A spacer that vanishes where it would start a row.
    void AddPad(int width, int height = 0);

    void addItem(QLayoutItem* item) override;
    int count() const override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    struct TEntry
    {
        QLayoutItem* fItem;
        int fMarginLeft;
        int fMarginRight;
        bool fPad;
    };

    // The items' rectangles within rect (contents margins taken off), and
    // the height of the rows.
    std::vector<QRect> Arrange(const QRect& rect, int* height) const;

    std::vector<TEntry> fEntries;
};
