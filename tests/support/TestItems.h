#pragma once
// An item description as a codec would give it, for tests of what the host
// makes of items. Programs that include this link the codec layer.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"

#include <string_view>

namespace NSTesting
{
inline NSKinvarCodec::TItemInfo MakeItem(std::u16string_view name, u32 input, u32 output, i64 min, i64 max,
                                         u32 states = 0)
{
    NSKinvarCodec::TItemInfo item{};
    SetRecordText(item.fName, name);
    item.fInputKind = input;
    item.fOutputKind = output;
    item.fMin = min;
    item.fMax = max;
    item.fStateCount = states;
    return item;
}
} // namespace NSTesting
