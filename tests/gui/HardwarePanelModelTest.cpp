// What a hardware panel does with clicks and with input, on a surface that
// records the states that the panel sets.

#include "gui/HardwarePanelModel.h"

#include "TestItems.h"

#include <gtest/gtest.h>

using namespace NSKinvarCodec;
using NSTesting::MakeItem;

namespace
{
enum EItem : u32
{
    kPad,
    kLamp,
    kFader,
    kEndless,
    kKnob,
    kDisplay,
    kKeys,
    kMode,
};

class CRecordingSurface final : public IPanelSurface
{
public:
    TControlSurfaceInfo GetInfo() const override { return fInfo; }
    u32 GetItemCount() const override { return static_cast<u32>(fItems.size()); }
    TItemInfo GetItemInfo(u32 item) const override { return fItems.at(item); }
    TText16 GetItemStateName(u32, u32 stateIndex) const override { return u"State " + TText16(1, static_cast<char16>(u'A' + stateIndex)); }
    TItemState GetItemState(u32 item) const override { return fStates.at(item); }
    void SetItemState(u32 item, const TItemState& state) override
    {
        fStates.at(item) = state;
        fSetItems.push_back(item);
    }
    std::pair<u32, u32> GetOutputTraffic(u32 outPort, i64 milliseconds) const override
    {
        EXPECT_EQ(1000, milliseconds);
        ++fTrafficCalls;
        return fTraffic.at(outPort);
    }

    TControlSurfaceInfo fInfo{};
    TItemInfoList fItems = {
        MakeItem(u"Pad", kInputButton, kOutputValue, 0, 1),  MakeItem(u"Lamp", kInputNone, kOutputValue, 0, 1),
        MakeItem(u"Fader", kInputValue, kOutputValue, 0, 127), MakeItem(u"Endless", kInputDelta, kOutputNone, -63, 63),
        MakeItem(u"Knob", kInputDelta, kOutputValue, 0, 10), MakeItem(u"Display", kInputNone, kOutputText, 0, 0),
        MakeItem(u"Keys", kInputKeyboard, kOutputNone, 0, 127), MakeItem(u"Mode", kInputNone, kOutputValue, 0, 2, 3),
    };
    std::vector<TItemState> fStates = std::vector<TItemState>(fItems.size());
    std::vector<u32> fSetItems;
    std::vector<std::pair<u32, u32>> fTraffic = {{30, 300}, {29, 12}};
    mutable int fTrafficCalls = 0;
};

TItemInput Input(u32 item, i64 value1, i64 value2 = 0, i64 value3 = 0)
{
    return TItemInput{0, item, value1, value2, value3};
}

class HardwarePanelModelTest : public testing::Test
{
protected:
    void Feed(const TItemInput& input) { fModel.IInputListener_OnInput(&input); }
    CRecordingSurface fSurface;
    CHardwarePanelModel fModel{fSurface};
};
} // namespace

TEST_F(HardwarePanelModelTest, InputFromTheSurfaceMovesTheControls)
{
    EXPECT_EQ(u"Brassfold, Tests", [] {
        CRecordingSurface named;
        SetRecordText(named.fInfo.fManufacturer, u"Brassfold");
        SetRecordText(named.fInfo.fModel, u"Tests");
        return CHardwarePanelModel(named).GetTitle();
    }());
    // Presses toggle, releases change nothing; the state goes out again.
    Feed(Input(kPad, 1));
    Feed(Input(kPad, 0));
    EXPECT_EQ(1, fModel.GetValue(kPad));
    Feed(Input(kPad, 1));
    EXPECT_EQ(0, fModel.GetValue(kPad));
    EXPECT_EQ((std::vector<u32>{kPad, kPad}), fSurface.fSetItems);

    // A value at the starting position leaves the slider where the user put it.
    fModel.SliderAction(kFader, kSliderMoveTo, 100);
    Feed(Input(kFader, 63));
    EXPECT_EQ(100, fModel.GetSliderPosition(kFader));
    Feed(Input(kFader, 127));
    EXPECT_EQ(127, fModel.GetSliderPosition(kFader));
    EXPECT_EQ(127, fSurface.fStates[kFader].fValue);

    // Without output a rotary counts without bound and makes no state.
    for (int i = 0; i < 3; ++i)
        Feed(Input(kEndless, 50));
    EXPECT_EQ(150, fModel.GetValue(kEndless));
    Feed(Input(kKnob, 50));
    EXPECT_EQ(10, fModel.GetValue(kKnob));

    Feed(Input(kKeys, 1, 60, 100));
    EXPECT_EQ(u"Note 60 On , Vel 100", fModel.GetKeyboardLine());
    EXPECT_EQ(u"Note 61 Off , Vel 0", MakeKeyboardLine(Input(kKeys, 0, 61, 0)));
    EXPECT_EQ(0, fModel.GetValue(kKeys));
    EXPECT_FALSE(fModel.WasTouched(kKeys));
    EXPECT_TRUE(fModel.WasTouched(kEndless));
    EXPECT_EQ((std::vector<u32>{kPad, kPad, kFader, kFader, kFader, kKnob}), fSurface.fSetItems);
}

TEST_F(HardwarePanelModelTest, SliderActionsMoveByTheirCodes)
{
    struct TAction
    {
        u32 fCode;
        i32 fAmount;
        i32 fPosition;
        i64 fValue;
    };
    // From the starting position 63 of 0 to 127.
    const TAction actions[] = {
        {kSliderStepUp, 2, 65, 65},    {kSliderStepDown, 5, 60, 60}, {kSliderPageUp, 1, 72, 72},
        {kSliderPageDown, 2, 48, 48}, {kSliderMoveTo, 0, 0, 0},     {kSliderStepDown, 1, 0, 0},
        {kSliderMoveTo, 200, 127, 127}, {213, 9, 127, 127},
    };
    for (const TAction& action : actions)
    {
        SCOPED_TRACE(&action - actions);
        fModel.SliderAction(kFader, action.fCode, action.fAmount);
        EXPECT_EQ(action.fPosition, fModel.GetSliderPosition(kFader));
        EXPECT_EQ(action.fValue, fSurface.fStates[kFader].fValue);
    }
    // A view that is no slider's does nothing.
    fModel.SliderAction(kPad, kSliderMoveTo, 5);
    EXPECT_EQ(0, fModel.GetValue(kPad));
}

TEST_F(HardwarePanelModelTest, DisableAllResendsEveryStateWithTheFlag)
{
    fModel.ClickCheckBox(kLamp);
    fModel.EndTextEditing(kDisplay, u"Hello");
    fSurface.fSetItems.clear();
    fModel.ClickDisableAll(true);
    EXPECT_TRUE(fModel.IsDisableTicked());
    EXPECT_EQ((std::vector<u32>{kPad, kLamp, kFader, kKnob, kDisplay, kMode}), fSurface.fSetItems);
    fModel.ClickCheckBox(kLamp);
    EXPECT_EQ(0, fModel.GetValue(kLamp));
    EXPECT_EQ(0u, fSurface.fStates[kLamp].fEnabled);
    EXPECT_EQ(u"Hello", GetRecordText(fSurface.fStates[kDisplay].fValueText));
    EXPECT_EQ(0u, fSurface.fStates[kDisplay].fEnabled);

    fModel.ClickDisableAll(false);
    EXPECT_EQ(1u, fSurface.fStates[kFader].fEnabled);
    EXPECT_EQ(63, fSurface.fStates[kFader].fValue);

    fModel.ChoosePopupRow(kMode, 2);
    EXPECT_EQ(2u, fSurface.fStates[kMode].fStateIndex);
    EXPECT_EQ(u"State C", fModel.GetStateNames(kMode)[2]);
    fModel.StepUpDown(kKnob, -1);
    EXPECT_EQ(4, fSurface.fStates[kKnob].fValue);
}

TEST_F(HardwarePanelModelTest, StatisticsRunAtEveryTenthStepOfAllPanels)
{
    fSurface.fInfo.fOutPortCount = 2;
    CHardwarePanelModel twoPorts(fSurface);
    u32 counter = 0;
    for (int step = 0; step < 10; ++step)
    {
        twoPorts.Idle(counter);
        fModel.Idle(counter);
    }
    // Steps 0 and 10 both fall to the panel called first.
    EXPECT_EQ(20u, counter);
    EXPECT_EQ(4, fSurface.fTrafficCalls);
    EXPECT_EQ(u"312", twoPorts.GetTrafficText());
    EXPECT_EQ(u"30", twoPorts.GetFramesText());
    EXPECT_EQ(u"", fModel.GetTrafficText());
    fModel.UpdateStatistics();
    EXPECT_EQ(u"0", fModel.GetTrafficText());
    EXPECT_EQ(u"0", fModel.GetFramesText());
}
