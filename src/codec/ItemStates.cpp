#include "codec/ItemStates.h"

#include "codec/CodecSupport.h"
#include "foundation/Assert.h"

#include <string>

using namespace NSKinvarCodec;

namespace
{
TText16 Decimal(i64 value)
{
    const std::string digits = std::to_string(value);
    return TText16(digits.begin(), digits.end());
}

TItemState MakeState(const TItemInfo& item, const TText16& valueText, bool enabled)
{
    TItemState state{};
    state.fEnabled = enabled ? 1 : 0;
    const TText16 name = GetRecordText(item.fName);
    SetRecordText(state.fName, name);
    SetRecordText(state.fShortName, name);
    SetRecordText(state.fShortestName, name);
    SetRecordText(state.fValueText, valueText);
    SetRecordText(state.fNameAndValue, name + u' ' + valueText);
    SetRecordText(state.fShortNameAndValue, GetRecordText(state.fShortName) + u' ' + valueText);
    SetRecordText(state.fShortestNameAndValue, GetRecordText(state.fShortestName) + u' ' + valueText);
    return state;
}
} // namespace

TItemState MakeValueState(const TItemInfo& item, i64 value, bool enabled, u32 stateIndex)
{
    BF_ASSERT(item.fOutputKind != kOutputNone);
    TItemState state = MakeState(item, Decimal(value), enabled);
    state.fValue = value;
    state.fStateIndex = stateIndex;
    return state;
}

TItemState MakeTextState(const TItemInfo& item, const TText16& text, bool enabled)
{
    BF_ASSERT(item.fOutputKind == kOutputText);
    return MakeState(item, text, enabled);
}
