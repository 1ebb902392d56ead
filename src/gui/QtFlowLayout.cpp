#include "gui/QtFlowLayout.h"

#include "foundation/Failures.h"
#include "gui/FlowLayout.h"

#include <QWidget>

#include <algorithm>
#include <memory>

using NSDunmark::TLayoutInfo;

namespace
{
// Wide enough for any row of a window.
constexpr int kOneRowWidth = 1 << 20;

// One entry as the flow sees it; keeps where the flow put it.
class CLayoutItem final : public NSDunmark::ILayoutable
{
public:
    explicit CLayoutItem(const TLayoutInfo& info) : fInfo(info) {}
    u32 ILayoutable_SetBounds(i32 left, i32 top, i32 right, i32 bottom) override
    {
        fBounds = QRect(QPoint(left, top), QPoint(right - 1, bottom - 1));
        return kVistalOK;
    }
    u32 ILayoutable_GetLayoutInfo(TLayoutInfo* info) override
    {
        *info = fInfo;
        return kVistalOK;
    }
    TLayoutInfo fInfo;
    QRect fBounds;
};

QSize ItemSize(QLayoutItem& item)
{
    if (item.isEmpty() && item.spacerItem() == nullptr)
        return QSize(0, 0);
    QSize size = item.sizeHint().expandedTo(item.minimumSize());
    if (item.hasHeightForWidth())
        size.setHeight(item.heightForWidth(size.width()));
    return size;
}
} // namespace

CQtFlowLayout::CQtFlowLayout(QWidget* parent) : QLayout(parent) {}

CQtFlowLayout::~CQtFlowLayout()
{
    while (QLayoutItem* item = takeAt(0))
        delete item;
}

void CQtFlowLayout::AddWidget(QWidget* widget, int marginLeft, int marginRight)
{
    addChildWidget(widget);
    fEntries.push_back({new QWidgetItem(widget), marginLeft, marginRight, false});
    invalidate();
}

void CQtFlowLayout::AddPad(int width, int height)
{
    fEntries.push_back(
        {new QSpacerItem(width, height, QSizePolicy::Fixed, QSizePolicy::Fixed), 0, 0, true});
    invalidate();
}

void CQtFlowLayout::addItem(QLayoutItem* item)
{
    fEntries.push_back({item, kDefaultMargin, kDefaultMargin, false});
}

int CQtFlowLayout::count() const
{
    return static_cast<int>(fEntries.size());
}

QLayoutItem* CQtFlowLayout::itemAt(int index) const
{
    return index >= 0 && index < count() ? fEntries[static_cast<std::size_t>(index)].fItem
                                         : nullptr;
}

QLayoutItem* CQtFlowLayout::takeAt(int index)
{
    if (index < 0 || index >= count())
        return nullptr;
    QLayoutItem* item = fEntries[static_cast<std::size_t>(index)].fItem;
    fEntries.erase(fEntries.begin() + index);
    return item;
}

std::vector<QRect> CQtFlowLayout::Arrange(const QRect& rect, int* height) const
{
    const QRect area = rect.marginsRemoved(contentsMargins());
    std::vector<std::unique_ptr<CLayoutItem>> items;
    std::vector<NSDunmark::ILayoutable*> flow;
    for (const TEntry& entry : fEntries)
    {
        const QSize size = ItemSize(*entry.fItem);
        items.push_back(std::make_unique<CLayoutItem>(
            TLayoutInfo{size.width(), size.height(), entry.fMarginLeft, 0, entry.fMarginRight, 0,
                        size.height() / 2, entry.fPad ? 1u : 0u}));
        flow.push_back(items.back().get());
    }
    std::vector<u32> rowOfItem;
    const u32 rows = NSDunmarkUtils::LayoutFlow({float(area.left()), float(area.top()),
                                                 float(area.left() + std::max(area.width(), 0)),
                                                 float(area.top())},
                                                flow, false, &rowOfItem);
    // Each row as tall as its tallest shown item, stacked from the top.
    std::vector<int> rowTop(rows + 1, area.top());
    for (u32 row = 0; row < rows; ++row)
    {
        int tallest = 0;
        for (std::size_t i = 0; i < items.size(); ++i)
            if (rowOfItem[i] == row && items[i]->fBounds.left() != NSDunmarkUtils::kHiddenPosition)
                tallest = std::max(tallest, items[i]->fInfo.fHeight);
        rowTop[row + 1] = rowTop[row] + tallest;
    }
    std::vector<QRect> placed;
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        QRect bounds = items[i]->fBounds;
        if (bounds.left() != NSDunmarkUtils::kHiddenPosition)
        {
            const u32 row = rowOfItem[i];
            bounds.moveTop(rowTop[row] + (rowTop[row + 1] - rowTop[row]) / 2 -
                           items[i]->fInfo.fBaseline);
        }
        placed.push_back(bounds);
    }
    *height = rowTop[rows] - area.top() + contentsMargins().top() + contentsMargins().bottom();
    return placed;
}

int CQtFlowLayout::heightForWidth(int width) const
{
    int height = 0;
    Arrange(QRect(0, 0, width, 0), &height);
    return height;
}

QSize CQtFlowLayout::sizeHint() const
{
    int height = 0;
    int right = 0;
    for (const QRect& bounds : Arrange(QRect(0, 0, kOneRowWidth, 0), &height))
        right = std::max(right, bounds.right() + 1);
    return QSize(right + contentsMargins().right(), height);
}

// The widest item with its margins, the tallest item: the height that a
// width needs comes from heightForWidth.
QSize CQtFlowLayout::minimumSize() const
{
    QSize size;
    for (const TEntry& entry : fEntries)
    {
        const QSize item = ItemSize(*entry.fItem);
        size = size.expandedTo(
            QSize(item.width() + entry.fMarginLeft + entry.fMarginRight, item.height()));
    }
    const QMargins margins = contentsMargins();
    return size.grownBy(margins);
}

void CQtFlowLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    int height = 0;
    const std::vector<QRect> placed = Arrange(rect, &height);
    for (std::size_t i = 0; i < fEntries.size(); ++i)
        fEntries[i].fItem->setGeometry(placed[i]);
}
