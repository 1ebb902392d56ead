#include "map/MapConversions.h"

#include "codec/CodecSupport.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <optional>

using namespace NSKinvar;
using namespace NSKinvarCodec;

namespace
{
TItemInfo Item(u32 kind, i64 min, i64 max)
{
    TItemInfo item{};
    item.fInputKind = kind;
    item.fOutputKind = kOutputValue;
    item.fMin = min;
    item.fMax = max;
    return item;
}

struct TCommandCase
{
    const char* fName;
    u32 fItemKind;
    i64 fValue;
    u32 fTargetKind;
    std::optional<TKinvarableCommand> fCommand;
    i64 fScale = 0;
};

std::ostream& operator<<(std::ostream& out, const TCommandCase& c) { return out << c.fName; }

class KinvarableCommands : public testing::TestWithParam<TCommandCase>
{
};

TEST_P(KinvarableCommands, FollowTheTableOfItemAndTargetKinds)
{
    const TCommandCase& c = GetParam();
    TItemEvent event;
    event.fItem = c.fItemKind == kInputValue ? Item(kInputValue, 0, 127) : Item(c.fItemKind, 0, 1);
    if (c.fItemKind == kInputDelta)
        event.fItem = Item(kInputDelta, -64, 63);
    event.fInput.fValue1 = c.fValue;
    event.fInput.fValue2 = 60;
    event.fInput.fValue3 = 100;
    event.fScale = c.fScale;
    const TTargetDescription target{c.fTargetKind, -10, 10, u"", u"", u""};
    TKinvarableCommand command{};
    const bool made = MakeKinvarableCommand(event, target, command);
    ASSERT_EQ(made, c.fCommand.has_value());
    if (!made)
        return;
    EXPECT_EQ(command.fCode, c.fCommand->fCode);
    EXPECT_EQ(command.fValue, c.fCommand->fValue);
    EXPECT_EQ(command.fNote, c.fCommand->fNote);
    EXPECT_EQ(command.fVelocity, c.fCommand->fVelocity);
}

TKinvarableCommand Cmd(u32 code, i64 value = 0, i64 note = 0, i64 velocity = 0)
{
    return {code, value, note, velocity};
}

INSTANTIATE_TEST_SUITE_P(
    Table, KinvarableCommands,
    testing::Values(
        TCommandCase{"ButtonTriggers", kInputButton, 1, kTargetTrigger, Cmd(kCommandTrigger)},
        TCommandCase{"ButtonReleaseTriggersNothing", kInputButton, 0, kTargetTrigger, std::nullopt},
        TCommandCase{"ValueTriggersAtItsMaximum", kInputValue, 127, kTargetTrigger, Cmd(kCommandTrigger)},
        TCommandCase{"ValueBelowMaximumDoesNot", kInputValue, 126, kTargetTrigger, std::nullopt},
        TCommandCase{"DeltaUpTriggers", kInputDelta, 2, kTargetTrigger, Cmd(kCommandTrigger)},
        TCommandCase{"ButtonToggles", kInputButton, 1, kTargetToggle, Cmd(kCommandToggle)},
        TCommandCase{"ValueAboveMidSetsTheTop", kInputValue, 64, kTargetToggle, Cmd(kCommandSetValue, 10)},
        TCommandCase{"ValueAtMidSetsTheBottom", kInputValue, 63, kTargetToggle, Cmd(kCommandSetValue, -10)},
        TCommandCase{"DeltaDownSetsTheBottom", kInputDelta, -1, kTargetToggle, Cmd(kCommandSetValue, -10)},
        TCommandCase{"ButtonPressSwitches", kInputButton, 1, kTargetSwitch, Cmd(kCommandToggle)},
        TCommandCase{"ButtonReleaseSwitchesOff", kInputButton, 0, kTargetSwitch, Cmd(kCommandSetValue, 0)},
        TCommandCase{"KeySwitchesOn", kInputKeyboard, 1, kTargetSwitch, Cmd(kCommandSetValue, 1)},
        TCommandCase{"DeltaSwitches", kInputDelta, 3, kTargetSwitch, Cmd(kCommandSetValue, 1)},
        TCommandCase{"ValueScalesRoundingToNearest", kInputValue, 100, kTargetContinuous,
                     Cmd(kCommandSetValue, 6)}, // (100 * 20 + 63) / 127 - 10
        TCommandCase{"DeltaStepsByItsScale", kInputDelta, -3, kTargetContinuous, Cmd(kCommandStep, -12), 4},
        TCommandCase{"DeltaStepsUnscaledWithScaleZero", kInputDelta, 5, kTargetIncremental, Cmd(kCommandStep, 5)},
        TCommandCase{"ButtonStepsByOne", kInputButton, 1, kTargetIncremental, Cmd(kCommandStep, 1)},
        TCommandCase{"ValueCannotStep", kInputValue, 5, kTargetIncremental, std::nullopt},
        TCommandCase{"KeyPlaysANote", kInputKeyboard, 1, kTargetNotes, Cmd(kCommandNote, 1, 60, 100)},
        TCommandCase{"ButtonPlaysNoNote", kInputButton, 1, kTargetNotes, std::nullopt},
        TCommandCase{"NothingDrivesTheNoneKind", kInputKeyboard, 1, kTargetNone, std::nullopt}),
    [](const testing::TestParamInfo<TCommandCase>& info) { return std::string(info.param.fName); });

TEST(KinvarableCommands, NonsenseIsAnAssertionAndNoCommand)
{
    NSTesting::CExpectAssertions expect;
    TItemEvent event;
    event.fItem = Item(kInputButton, 0, 1);
    event.fInput.fValue1 = 1;
    TKinvarableCommand command{};
    EXPECT_FALSE(MakeKinvarableCommand(event, TTargetDescription{31, 0, 1, u"", u"", u""}, command));
    event.fInput.fValue1 = 2; // outside the button's range
    EXPECT_FALSE(MakeKinvarableCommand(event, TTargetDescription{kTargetTrigger, 0, 1, u"", u"", u""}, command));
    event.fItem = Item(kInputDelta, -8, 8);
    event.fInput.fValue1 = 0; // a delta of 0 is no input at all
    EXPECT_FALSE(MakeKinvarableCommand(event, TTargetDescription{kTargetToggle, 0, 1, u"", u"", u""}, command));
    EXPECT_GE(expect.Count(), 3u);
}

TEST(ItemStates, CarryTheTargetsStateAndScaleOnlyForValueTargets)
{
    const TItemInfo item = Item(kInputValue, 0, 127);
    const TTargetState state{true, 50, u"50 %", u"Volume 50 %", u"Vol 50", u"V50"};
    const TTargetDescription target{kInputValue, 0, 100, u"Volume", u"Vol", u"V"};
    const TItemState shown = MakeItemState(item, 0, state, target);
    EXPECT_EQ(shown.fEnabled, 1u);
    EXPECT_EQ(shown.fValue, 63); // 50 * 127 / 100, truncated
    EXPECT_EQ(GetRecordText(shown.fName), u"Volume");
    EXPECT_EQ(GetRecordText(shown.fShortestNameAndValue), u"V50");

    const TTargetDescription toggle{kTargetToggle, 0, 1, u"Mute", u"Mute", u"M"};
    EXPECT_EQ(MakeItemState(item, 0, state, toggle).fValue, 0);

    const TItemState invalid = MakeItemState(item, 0, TTargetState{}, target);
    EXPECT_EQ(invalid.fEnabled, 0u);
    EXPECT_EQ(GetRecordText(invalid.fName), u"");
}
} // namespace
