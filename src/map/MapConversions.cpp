#include "map/MapConversions.h"

#include "codec/CodecSupport.h"
#include "foundation/Assert.h"

#include <optional>

namespace NSKinvar
{
namespace
{
using namespace NSKinvarCodec;

using TCommand = std::optional<TKinvarableCommand>;

TCommand Command(u32 code, i64 value = 0) { return TKinvarableCommand{code, value, 0, 0}; }

i64 Range(const TItemInfo& item) { return item.fMax - item.fMin; }

bool IsAboveMid(i64 value, const TItemInfo& item) { return value > item.fMin + Range(item) / 2; }

// Rounds to nearest for a positive item range. An item whose range is empty
// can only stand at its minimum, which maps to the target's.
i64 ScaleToTarget(i64 value, const TItemInfo& item, const TTargetDescription& target)
{
    const i64 range = Range(item);
    if (range == 0)
        return target.fMin;
    return ((value - item.fMin) * (target.fMax - target.fMin) + range / 2) / range + target.fMin;
}

i64 Scaled(i64 value, i64 scale) { return scale != 0 ? value * scale : value; }

// A key or button: fires only on its press.
TCommand OnPress(i64 value, u32 code, i64 commandValue = 0)
{
    return value == 1 ? Command(code, commandValue) : std::nullopt;
}

TCommand FromButtonOrKey(const TItemEvent& event, const TTargetDescription& target)
{
    const i64 value = event.fInput.fValue1;
    const bool keyboard = event.fItem.fInputKind == kInputKeyboard;
    switch (target.fKind)
    {
    case kTargetTrigger:
    case kTargetContinuous:
        return OnPress(value, kCommandTrigger);
    case kTargetToggle:
        return OnPress(value, kCommandToggle);
    case kTargetSwitch:
        if (value == 1)
            return keyboard ? Command(kCommandSetValue, 1) : Command(kCommandToggle);
        if (value == 0)
            return Command(kCommandSetValue, 0);
        BF_ASSERT(false);
        return std::nullopt;
    case kTargetIncremental:
        return OnPress(value, kCommandStep, 1);
    case kTargetNotes:
        if (!keyboard)
            return std::nullopt;
        return TKinvarableCommand{kCommandNote, value, event.fInput.fValue2, event.fInput.fValue3};
    default:
        return std::nullopt;
    }
}

TCommand FromValue(const TItemEvent& event, const TTargetDescription& target)
{
    const i64 value = event.fInput.fValue1;
    const TItemInfo& item = event.fItem;
    const bool above = IsAboveMid(value, item);
    switch (target.fKind)
    {
    case kTargetTrigger:
        return value == item.fMax ? Command(kCommandTrigger) : std::nullopt;
    case kTargetToggle:
        return Command(kCommandSetValue, above ? target.fMax : target.fMin);
    case kTargetSwitch:
        return Command(kCommandSetValue, above ? 1 : 0);
    case kTargetContinuous:
        return Command(kCommandSetValue, ScaleToTarget(value, item, target));
    default:
        return std::nullopt;
    }
}

TCommand FromDelta(const TItemEvent& event, const TTargetDescription& target)
{
    const i64 value = event.fInput.fValue1;
    switch (target.fKind)
    {
    case kTargetTrigger:
        return value > 0 ? Command(kCommandTrigger) : std::nullopt;
    case kTargetToggle:
    case kTargetSwitch:
    {
        if (value == 0)
        {
            BF_ASSERT(false);
            return std::nullopt;
        }
        const bool up = value > 0;
        if (target.fKind == kTargetToggle)
            return Command(kCommandSetValue, up ? target.fMax : target.fMin);
        return Command(kCommandSetValue, up ? 1 : 0);
    }
    case kTargetContinuous:
    case kTargetIncremental:
        return Command(kCommandStep, Scaled(value, event.fScale));
    default:
        return std::nullopt;
    }
}

template <std::size_t N> void SetText(char16 (&field)[N], const TText16& text) { SetRecordText(field, text); }
} // namespace

bool IsKinvarableCommandValid(const TKinvarableCommand& command)
{
    if (command.fCode < kCommandTrigger || command.fCode > kCommandNote)
        return false;
    if (command.fCode != kCommandNote)
        return true;
    return command.fValue >= 0 && command.fValue <= 1 && command.fNote >= 0 && command.fNote <= 127 &&
           command.fVelocity >= 0 && command.fVelocity <= 127;
}

bool MakeKinvarableCommand(const TItemEvent& event, const TTargetDescription& target, TKinvarableCommand& command)
{
    if (target.fKind < kTargetTrigger || target.fKind > kTargetNone)
    {
        BF_ASSERT(false);
        return false;
    }
    if (!IsItemInputValid(event.fInput, event.fItem))
        return false;
    TItemEvent clamped = event;
    ClampItemInput(clamped.fInput, clamped.fItem);
    TCommand result;
    switch (clamped.fItem.fInputKind)
    {
    case kInputButton:
    case kInputKeyboard:
        result = FromButtonOrKey(clamped, target);
        break;
    case kInputValue:
        result = FromValue(clamped, target);
        break;
    case kInputDelta:
        result = FromDelta(clamped, target);
        break;
    default:
        break;
    }
    if (!result)
        return false;
    BF_ASSERT(IsKinvarableCommandValid(*result));
    command = *result;
    return true;
}

TItemState MakeItemState(const TItemInfo& item, u32 mode, const TTargetState& state,
                         const TTargetDescription& target)
{
    TItemState result{};
    if (!state.fValid)
        return result;
    result.fEnabled = 1;
    result.fStateIndex = mode;
    SetText(result.fName, target.fName);
    SetText(result.fValueText, state.fValueText);
    SetText(result.fShortName, target.fShortName);
    SetText(result.fShortestName, target.fShortestName);
    SetText(result.fNameAndValue, state.fNameAndValue);
    SetText(result.fShortNameAndValue, state.fShortNameAndValue);
    SetText(result.fShortestNameAndValue, state.fShortestNameAndValue);
    const i64 targetRange = target.fMax - target.fMin;
    if (target.fKind == kInputValue && targetRange != 0)
        result.fValue = (state.fValue - target.fMin) * Range(item) / targetRange + item.fMin;
    IsItemStateValid(result, item);
    return result;
}
} // namespace NSKinvar
