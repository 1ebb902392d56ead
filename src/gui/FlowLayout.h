#pragma once
// The flow layout: items left to right, wrapping to the next row when a row
// is full. Spacers ("pads") vanish where they would start a row, neighbours
// stand apart by the larger of their two margins (never the sum), and all
// items of a row centre on one line through their baselines: the middle of
// the height that is left below the rows above.
//
// A plain model over ILayoutable items, tested without widgets; CQtFlowLayout
// (gui/QtFlowLayout.h) puts Qt widgets into it. It serves wherever a window's
// layout is ours to choose: the rows of the main window, and the rows of the
// MIDI test window below its port rows. Main thread.

#include "foundation/Types.h"

#include <vector>

namespace NSDunmark
{
// What an item wants; all zero but what is set.
struct TLayoutInfo
{
    i32 fWidth;
    i32 fHeight;
    i32 fMarginLeft;
    i32 fMarginTop; // not read by the flow layout
    i32 fMarginRight;
    i32 fMarginBottom; // not read by the flow layout
    i32 fBaseline;     // from the item's top to its centre line
    u32 fIsPad;        // 1 for a spacer that vanishes at a row's start
};

// Operations return status words of the GUI edge (12000 is success), which
// the widgets share: they are Qt's.
class ILayoutable
{
public:
    virtual u32 ILayoutable_SetBounds(i32 left, i32 top, i32 right, i32 bottom) = 0;
    virtual u32 ILayoutable_GetLayoutInfo(TLayoutInfo* info) = 0;
    virtual ~ILayoutable() = default;
};
} // namespace NSDunmark

namespace NSDunmarkUtils
{
struct TLayoutRect
{
    float fLeft;
    float fTop;
    float fRight;
    float fBottom;
};

// Where a hidden item goes: its rectangle lies off screen, at this left and top.
inline constexpr i32 kHiddenPosition = -10000;

// An item that reports a fixed info and ignores where it is put.
class CStaticLayoutable : public NSDunmark::ILayoutable
{
public:
    explicit CStaticLayoutable(const NSDunmark::TLayoutInfo& info) : fInfo(info) {}
    u32 ILayoutable_SetBounds(i32 left, i32 top, i32 right, i32 bottom) override;
    u32 ILayoutable_GetLayoutInfo(NSDunmark::TLayoutInfo* info) override;

private:
    NSDunmark::TLayoutInfo fInfo;
};

// A spacer of that size, centred on its middle line.
class CPadLayoutable : public CStaticLayoutable
{
public:
    CPadLayoutable(i32 width, i32 height);
    // Asserts that the rectangle is not upside down.
    u32 ILayoutable_SetBounds(i32 left, i32 top, i32 right, i32 bottom) override;
};

// Lays items out in rect, in order, and returns the number of rows. The
// rectangle's size is truncated to whole pixels and must not be negative,
// nor an item's size (assertions). noMargins clears every item's margins.
// rowOfItem, when given, receives each item's row, counted from 0 (a hidden
// item's too). What an item's operations report is thrown (ThrowVistalResult).
u32 LayoutFlow(const TLayoutRect& rect, const std::vector<NSDunmark::ILayoutable*>& items,
               bool noMargins, std::vector<u32>* rowOfItem = nullptr);
} // namespace NSDunmarkUtils
