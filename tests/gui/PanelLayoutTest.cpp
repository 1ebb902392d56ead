// Where the hardware panel puts each item, from the item list and the width.

#include "gui/PanelLayout.h"

#include "AssertionRecorder.h"
#include "TestItems.h"

#include <gtest/gtest.h>

#include <optional>

using namespace NSHardwarePanel;
using namespace NSKinvarCodec;
using NSTesting::MakeItem;

namespace
{
const TItemInfo kButton = MakeItem(u"Button", kInputButton, kOutputNone, 0, 1);
const TItemInfo kLampWithStates = MakeItem(u"Lamp", kInputNone, kOutputValue, 0, 1, 2);
const TItemInfo kFader = MakeItem(u"Fader", kInputValue, kOutputValue, 0, 127);
const TItemInfo kFaderWithStates = MakeItem(u"Fader", kInputValue, kOutputValue, 0, 127, 3);
const TItemInfo kText = MakeItem(u"Display", kInputNone, kOutputText, 0, 0);
const TItemInfo kKeys = MakeItem(u"Keys", kInputKeyboard, kOutputNone, 0, 127);

struct TCell
{
    double fX;
    double fY;
    bool operator==(const TCell&) const = default;
};

struct TCase
{
    const char* fName;
    TItemInfoList fItems;
    double fWidth;
    std::optional<TCell> fKeyboard;
    // Of the items that place controls, in order.
    std::vector<TCell> fCells;
};

std::ostream& operator<<(std::ostream& out, const TCell& cell)
{
    return out << "(" << cell.fX << ", " << cell.fY << ")";
}
} // namespace

TEST(PanelLayoutTest, ItemsFlowFromTheOriginAndWrapByTheRules)
{
    const TCase cases[] = {
        {"no keyboard: the first item at the origin", {kButton, kFader}, 400, {}, {{5, 45}, {68, 45}}},
        {"a keyboard in the middle goes first, and adds its 10 where it stands",
         {kButton, kKeys, kButton},
         600,
         TCell{5, 45},
         {{205, 45}, {278, 45}}},
        {"an item ending exactly at the limit stays on the row", {kButton, kButton}, 131, {}, {{5, 45}, {68, 45}}},
        {"one pixel less wraps it, with a gap of 10", {kButton, kButton}, 130, {}, {{5, 45}, {5, 95}}},
        {"narrower than an item: one a row, the first wrap too", {kText, kButton}, 100, {}, {{5, 55}, {5, 81}}},
        {"the keyboard's wrap adds no gap", {kKeys, kButton}, 100, TCell{5, 45}, {{5, 145}}},
        {"a slider with states reserves 119 + 16", {kFaderWithStates, kButton}, 120, {}, {{5, 45}, {5, 190}}},
        {"the wrap test ignores the popup's width, the cursor and the row do not",
         {kButton, kLampWithStates, kButton},
         131,
         {},
         {{5, 45}, {68, 45}, {5, 111}}},
    };
    for (const TCase& test : cases)
    {
        SCOPED_TRACE(test.fName);
        const TPanelFlow flow = FlowItems(test.fItems, {0, 0, test.fWidth, 300});
        std::vector<TCell> cells;
        for (const TPanelCell& cell : flow.fItems)
            if (cell.fPlaced)
                cells.push_back({cell.fX, cell.fY});
        EXPECT_EQ(test.fCells, cells);
        EXPECT_EQ(test.fKeyboard.has_value(), flow.fKeyboard.has_value());
        if (test.fKeyboard && flow.fKeyboard)
        {
            EXPECT_EQ(*test.fKeyboard, (TCell{flow.fKeyboard->fX, flow.fKeyboard->fY}));
        }
    }
}

TEST(PanelLayoutTest, EachClassPlacesItsViewsWithTheirNamesAndCaptions)
{
    const TItemInfoList items = {kKeys, kButton, kFader, MakeItem(u"Knob", kInputDelta, kOutputValue, 0, 10),
                                 kText, kLampWithStates, kKeys};
    struct TExpected
    {
        std::string_view fName;
        u32 fItem;
        double fLeft, fTop;
        std::optional<double> fWidth, fHeight;
        TText16 fCaption;
    };
    const std::vector<TExpected> expected = {
        {"fKeyboardText", kNoItem, 5, 45, 194, 12, u"Keyboard"},
        {"fKeyboardView", kNoItem, 5, 61, 194, 74, u""},
        {"fCheckBoxViews", 1, 230, 45, 35, {}, u""},
        {"fCheckBoxTexts", 1, 215, 67, 50, 16, u"Button"},
        {"fSliderViews", 2, 293, 45, {}, 100, u""},
        {"fSliderTexts", 2, 278, 146, 50, 15, u"Fader"},
        {"fRotaryButtons", 3, 341, 45, {}, {}, u""},
        {"fRotaryTexts", 3, 353, 45, 38, 16, u"5"},
        {"fRotaryTexts", 3, 341, 69, 50, 16, u"Knob"},
        {"fTextTexts", 4, 404, 45, 60, 16, u"Display"},
        {"fTextViews", 4, 478, 45, {}, {}, u""},
        {"fCheckBoxViews", 5, 629, 45, 35, {}, u""},
        {"fCheckBoxTexts", 5, 614, 67, 50, 16, u"Lamp"},
        {"Modes", 5, 614, 85, {}, {}, u""},
    };
    const std::vector<TPanelControl> controls = LayOutPanel(items, {0, 0, 1000, 500});
    ASSERT_EQ(expected.size(), controls.size());
    for (std::size_t i = 0; i < controls.size(); ++i)
    {
        const TPanelControl& control = controls[i];
        SCOPED_TRACE(i);
        EXPECT_EQ(expected[i].fName, ViewName(control.fView));
        EXPECT_EQ(expected[i].fItem, control.fItem);
        EXPECT_EQ(expected[i].fLeft, control.fPlace.fLeft);
        EXPECT_EQ(expected[i].fTop, control.fPlace.fTop);
        EXPECT_EQ(expected[i].fWidth, control.fPlace.fWidth);
        EXPECT_EQ(expected[i].fHeight, control.fPlace.fHeight);
        EXPECT_EQ(expected[i].fCaption, control.fCaption);
    }

    const std::vector<TPanelControl> line = MakeStatisticsLine();
    std::vector<double> lefts;
    for (const TPanelControl& control : line)
        lefts.push_back(control.fPlace.fLeft);
    EXPECT_EQ((std::vector<double>{5, 105, 195, 250, 320}), lefts);
    EXPECT_EQ(u"MIDI bytes/s: ", line[1].fCaption);
}

TEST(PanelLayoutTest, StartingValuesAndItemsOfNoClass)
{
    struct TStart
    {
        TItemInfo fItem;
        EItemClass fClass;
        i64 fValue;
        i32 fPosition;
    };
    const TStart starts[] = {
        {MakeItem(u"Fader", kInputValue, kOutputNone, 0, 16383), EItemClass::kSlider, 8191, 63},
        {MakeItem(u"Meter", kInputNone, kOutputValue, -10, 10), EItemClass::kSlider, 0, 63},
        {MakeItem(u"Knob", kInputDelta, kOutputValue, 0, 10), EItemClass::kRotary, 5, 0},
        {MakeItem(u"Endless", kInputDelta, kOutputNone, -63, 63), EItemClass::kRotary, 0, 0},
        {MakeItem(u"Lamp", kInputNone, kOutputValue, 0, 1), EItemClass::kCheckBox, 0, 0},
        {MakeItem(u"Flat", kInputValue, kOutputValue, 5, 5), EItemClass::kSlider, 5, 0},
        {MakeItem(u"Dim", kInputNone, kOutputValue, 1, 2), EItemClass::kNone, 0, 0},
        {MakeItem(u"Mute", kInputNone, kOutputNone, 0, 1), EItemClass::kNone, 0, 0},
    };
    for (const TStart& start : starts)
    {
        SCOPED_TRACE(&start - starts);
        EXPECT_EQ(start.fClass, ClassifyItem(start.fItem));
        EXPECT_EQ(start.fValue, InitialValue(start.fItem));
        if (start.fClass == EItemClass::kSlider)
        {
            EXPECT_EQ(start.fPosition, SliderPosition(start.fItem, start.fValue));
        }
    }
    NSTesting::CExpectAssertions assertions;
    EXPECT_TRUE(LayOutPanel({starts[6].fItem, kButton}, {0, 0, 500, 500}).size() == 2);
    EXPECT_EQ(1u, assertions.Count());
    EXPECT_EQ(u"Lamp\nInput: none, output: value\nRange: 0 to 1\nStates: Off, On",
              DescribeItem(kLampWithStates, {u"Off", u"On"}));
}
