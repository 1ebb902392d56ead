#include "map/MapConversions.h"

#include "codec/CodecSupport.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <optional>
#include <tuple>

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

TKinvarableCommand Cmd(u32 code, i64 value = 0, i64 note = 0, i64 velocity = 0) { return {code, value, note, velocity}; }

TEST(KinvarableCommands, FollowTheTableOfItemAndTargetKinds)
{
    struct TCase
    {
        const char* fName;
        u32 fItemKind;
        i64 fValue;
        u32 fTargetKind;
        std::optional<TKinvarableCommand> fCommand;
        i64 fScale = 0;
    };
    const TCase cases[] = {
        {"ButtonTriggers", kInputButton, 1, kTargetTrigger, Cmd(kCommandTrigger)},
        {"ButtonReleaseTriggersNothing", kInputButton, 0, kTargetTrigger, std::nullopt},
        {"ValueTriggersAtItsMaximum", kInputValue, 127, kTargetTrigger, Cmd(kCommandTrigger)},
        {"ValueBelowMaximumDoesNot", kInputValue, 126, kTargetTrigger, std::nullopt},
        {"DeltaUpTriggers", kInputDelta, 2, kTargetTrigger, Cmd(kCommandTrigger)},
        {"ButtonToggles", kInputButton, 1, kTargetToggle, Cmd(kCommandToggle)},
        {"ValueAboveMidSetsTheTop", kInputValue, 64, kTargetToggle, Cmd(kCommandSetValue, 10)},
        {"ValueAtMidSetsTheBottom", kInputValue, 63, kTargetToggle, Cmd(kCommandSetValue, -10)},
        {"DeltaDownSetsTheBottom", kInputDelta, -1, kTargetToggle, Cmd(kCommandSetValue, -10)},
        {"ButtonPressSwitches", kInputButton, 1, kTargetSwitch, Cmd(kCommandToggle)},
        {"ButtonReleaseSwitchesOff", kInputButton, 0, kTargetSwitch, Cmd(kCommandSetValue, 0)},
        {"KeySwitchesOn", kInputKeyboard, 1, kTargetSwitch, Cmd(kCommandSetValue, 1)},
        {"DeltaSwitches", kInputDelta, 3, kTargetSwitch, Cmd(kCommandSetValue, 1)},
        {"ValueScalesRoundingToNearest", kInputValue, 100, kTargetContinuous, Cmd(kCommandSetValue, 6)}, // (100*20+63)/127-10
        {"DeltaStepsByItsScale", kInputDelta, -3, kTargetContinuous, Cmd(kCommandStep, -12), 4},
        {"DeltaStepsUnscaledWithScaleZero", kInputDelta, 5, kTargetIncremental, Cmd(kCommandStep, 5)},
        {"ButtonStepsByOne", kInputButton, 1, kTargetIncremental, Cmd(kCommandStep, 1)},
        {"ValueCannotStep", kInputValue, 5, kTargetIncremental, std::nullopt},
        {"KeyPlaysANote", kInputKeyboard, 1, kTargetNotes, Cmd(kCommandNote, 1, 60, 100)},
        {"ButtonPlaysNoNote", kInputButton, 1, kTargetNotes, std::nullopt},
        {"NothingDrivesTheNoneKind", kInputKeyboard, 1, kTargetNone, std::nullopt}};
    for (const TCase& c : cases)
    {
        TItemEvent event;
        event.fItem = c.fItemKind == kInputValue ? Item(kInputValue, 0, 127)
                      : c.fItemKind == kInputDelta ? Item(kInputDelta, -64, 63)
                                                   : Item(c.fItemKind, 0, 1);
        event.fInput.fValue1 = c.fValue;
        event.fInput.fValue2 = 60;
        event.fInput.fValue3 = 100;
        event.fScale = c.fScale;
        TKinvarableCommand command{};
        const bool made = MakeKinvarableCommand(event, TTargetDescription{c.fTargetKind, -10, 10, u"", u"", u""}, command);
        EXPECT_EQ(made, c.fCommand.has_value()) << c.fName;
        if (made && c.fCommand)
        {
            EXPECT_EQ(std::tie(command.fCode, command.fValue, command.fNote, command.fVelocity),
                      std::tie(c.fCommand->fCode, c.fCommand->fValue, c.fCommand->fNote, c.fCommand->fVelocity))
                << c.fName;
        }
    }
}

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
