// The flow layout's cases, on items that note where they were put.

#include "gui/FlowLayout.h"

#include "foundation/Failures.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

using namespace NSDunmarkUtils;

namespace
{
// Width, height, left and right margins, and 1 for a pad.
using TItem = std::array<i32, 5>;
using TLeftTop = std::array<i32, 2>;

class CRecordingItem final : public NSDunmark::ILayoutable
{
public:
    explicit CRecordingItem(const TItem& item) : fItem(item) {}
    u32 ILayoutable_SetBounds(i32 left, i32 top, i32 right, i32 bottom) override
    {
        EXPECT_EQ((TLeftTop{fItem[0], fItem[1]}), (TLeftTop{right - left, bottom - top}));
        fPlaced.push_back({left, top});
        return kVistalOK;
    }
    u32 ILayoutable_GetLayoutInfo(NSDunmark::TLayoutInfo* info) override
    {
        *info = {fItem[0], fItem[1], fItem[2], 9, fItem[3], 9, fItem[1] / 2, u32(fItem[4])};
        return kVistalOK;
    }
    TItem fItem;
    std::vector<TLeftTop> fPlaced;
};

constexpr i32 kHidden = kHiddenPosition;

// Each row centres on the middle of the height left below the rows above it.
const struct TCase
{
    const char* fName;
    float fWidth;
    float fHeight;
    bool fNoMargins;
    std::vector<TItem> fItems;
    u32 fRows;
    std::vector<TLeftTop> fPlaced;
    std::vector<u32> fRowOfItem;
} kCases[] = {
    // clang-format off
    {"an empty list is one row", 100, 50, false, {}, 1, {}, {}},
    {"a pad first is hidden and nothing shifts", 100, 50, false,
     {{20, 10, 0, 0, 1}, {30, 10, 5, 0, 0}}, 1, {{kHidden, kHidden}, {5, 20}}, {0, 0}},
    {"an item wider than the view stands alone, wrapped without spacing", 100, 100, false,
     {{40, 10, 0, 0, 0}, {150, 20, 5, 0, 0}, {30, 10, 0, 0, 0}}, 3, {{0, 45}, {0, 45}, {0, 60}}, {0, 1, 2}},
    {"neighbours stand apart by the larger margin", 100, 20, false,
     {{10, 10, 0, 8, 0}, {10, 10, 3, 0, 0}}, 1, {{0, 5}, {18, 5}}, {0, 0}},
    {"no margins", 100, 20, true,
     {{10, 10, 5, 5, 0}, {10, 10, 5, 0, 0}}, 1, {{0, 5}, {10, 5}}, {0, 0}},
    {"a pad that a wrap puts at a row's start vanishes", 100, 40, false,
     {{60, 10, 0, 10, 0}, {30, 10, 0, 0, 0}, {20, 10, 0, 0, 1}, {10, 10, 7, 0, 0}}, 2,
     {{0, 15}, {70, 15}, {kHidden, kHidden}, {7, 20}}, {0, 0, 1, 1}},
    {"baselines of a row meet on one line", 100, 40, false,
     {{10, 10, 0, 0, 0}, {10, 30, 0, 0, 0}}, 1, {{0, 15}, {10, 5}}, {0, 0}},
    // clang-format on
};
} // namespace

TEST(FlowLayoutTest, PlacesWrapsAndHidesByTheRules)
{
    for (const TCase& test : kCases)
    {
        std::vector<std::unique_ptr<CRecordingItem>> items;
        std::vector<NSDunmark::ILayoutable*> layoutables;
        for (const TItem& item : test.fItems)
            layoutables.push_back(items.emplace_back(std::make_unique<CRecordingItem>(item)).get());
        std::vector<u32> rowOfItem;
        EXPECT_EQ(test.fRows, LayoutFlow({0, 0, test.fWidth, test.fHeight}, layoutables,
                                         test.fNoMargins, &rowOfItem))
            << test.fName;
        EXPECT_EQ(test.fRowOfItem, rowOfItem) << test.fName;
        for (std::size_t i = 0; i < items.size(); ++i)
            EXPECT_EQ(std::vector<TLeftTop>{test.fPlaced[i]}, items[i]->fPlaced)
                << test.fName << ", item " << i;
    }
}
