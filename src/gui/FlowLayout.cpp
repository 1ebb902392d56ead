#include "gui/FlowLayout.h"

#include "foundation/Assert.h"
#include "foundation/Failures.h"

#include <algorithm>

using NSDunmark::ILayoutable;
using NSDunmark::TLayoutInfo;

namespace NSDunmarkUtils
{
namespace
{
// Where the next item goes, and what is left below the rows so far.
struct TFlow
{
    i32 fLeft;
    i32 fRight;
    i32 fX;
    i32 fY;
    i32 fHeight;
    u32 fRows = 1;
    i32 fRowHeight = 0;

    void Wrap()
    {
        fX = fLeft;
        ++fRows;
        fY += fRowHeight;
        fHeight -= fRowHeight;
        fRowHeight = 0;
    }
};

TLayoutInfo ReadInfo(ILayoutable& item, bool noMargins)
{
    TLayoutInfo info{};
    ThrowVistalResult(item.ILayoutable_GetLayoutInfo(&info));
    BF_ASSERT(info.fWidth >= 0 && info.fHeight >= 0);
    if (noMargins)
        info.fMarginLeft = info.fMarginTop = info.fMarginRight = info.fMarginBottom = 0;
    return info;
}

void Hide(ILayoutable& item, const TLayoutInfo& info)
{
    ThrowVistalResult(item.ILayoutable_SetBounds(kHiddenPosition, kHiddenPosition,
                                                 kHiddenPosition + info.fWidth,
                                                 kHiddenPosition + info.fHeight));
}

// Every item of a row centres on the middle of the height that is left.
void Place(ILayoutable& item, TFlow& flow, i32 spacing, const TLayoutInfo& info)
{
    const i32 left = flow.fX + spacing;
    const i32 top = flow.fHeight / 2 + flow.fY - info.fBaseline;
    ThrowVistalResult(
        item.ILayoutable_SetBounds(left, top, left + info.fWidth, top + info.fHeight));
    flow.fX = left + info.fWidth;
    flow.fRowHeight = std::max(flow.fRowHeight, info.fHeight);
}
} // namespace

u32 CStaticLayoutable::ILayoutable_SetBounds(i32, i32, i32, i32)
{
    return kVistalOK;
}

u32 CStaticLayoutable::ILayoutable_GetLayoutInfo(TLayoutInfo* info)
{
    *info = fInfo;
    return kVistalOK;
}

CPadLayoutable::CPadLayoutable(i32 width, i32 height)
    : CStaticLayoutable(TLayoutInfo{width, height, 0, 0, 0, 0, height / 2, 1})
{
}

u32 CPadLayoutable::ILayoutable_SetBounds(i32 left, i32 top, i32 right, i32 bottom)
{
    BF_ASSERT(left <= right && top <= bottom);
    return kVistalOK;
}

u32 LayoutFlow(const TLayoutRect& rect, const std::vector<ILayoutable*>& items, bool noMargins,
               std::vector<u32>* rowOfItem)
{
    const i32 width = static_cast<i32>(rect.fRight - rect.fLeft);
    const i32 height = static_cast<i32>(rect.fBottom - rect.fTop);
    BF_ASSERT(width >= 0 && height >= 0);
    const i32 left = static_cast<i32>(rect.fLeft);
    TFlow flow{left, left + width, left, static_cast<i32>(rect.fTop), height};
    if (rowOfItem != nullptr)
        rowOfItem->clear();
    TLayoutInfo previous{};
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        ILayoutable& item = *items[i];
        const TLayoutInfo info = ReadInfo(item, noMargins);
        i32 spacing = i == 0 ? info.fMarginLeft : std::max(previous.fMarginRight, info.fMarginLeft);
        bool hide = i == 0 && info.fIsPad != 0;
        if (i != 0 && flow.fX + spacing + info.fWidth > flow.fRight)
        {
            flow.Wrap();
            spacing = 0;
            hide = info.fIsPad != 0;
        }
        const u32 row = flow.fRows - 1;
        if (hide)
            Hide(item, info);
        else
        {
            Place(item, flow, spacing, info);
            if (i != 0 && flow.fX > flow.fRight)
                flow.Wrap();
        }
        if (rowOfItem != nullptr)
            rowOfItem->push_back(row);
        previous = info;
    }
    return flow.fRows;
}
} // namespace NSDunmarkUtils
