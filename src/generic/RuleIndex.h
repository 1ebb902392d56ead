#pragma once
// The dispatch order of a surface's rules, with a prefilter that keeps input
// handling fast.
//
// A message goes to the first rule that matches, trying items in item order
// and each item's rules in file order. Most messages can only match rules whose
// first byte (and, in a crowded bucket, second byte) fits, so the index keeps,
// for each value of the first byte, the positions of the rules that could
// match it, in dispatch order; a crowded bucket is split once more on the
// second byte. Every candidate is still matched in full, so the index changes
// which rules are looked at, never which one wins.

#include "generic/GenericMidiCodecConfig.h"

#include "foundation/Types.h"

#include <array>
#include <memory>
#include <vector>

namespace NSGenericMidiCodec
{
struct TRuleMatch
{
    u32 fItemIndex = 0;
    i64 fValue1 = 0;
    i64 fValue2 = 0;
    i64 fValue3 = 0;
};

class CRuleIndex
{
public:
    // The items must outlive the index, unmoved: it points at their rules.
    explicit CRuleIndex(const std::vector<CGenericMidiItem>& items);

    // The first match in dispatch order. Any thread, MIDI threads included;
    // allocates nothing.
    bool FindMatch(const u8* data, u32 size, TRuleMatch& match) const noexcept;

private:
    struct TEntry
    {
        const CMapRule* fRule;
        u32 fItemIndex;
    };

    using TPositions = std::vector<u32>;

    struct TBucket
    {
        TPositions fPositions;
        // For a crowded bucket: the positions that also fit each second byte.
        std::unique_ptr<std::array<TPositions, 256>> fBySecondByte;
    };

    void AddToBuckets(u32 position);
    void SplitCrowdedBuckets();
    bool SplitPaysOff(const TPositions& positions) const;
    bool Fits(u32 position, u32 byteIndex, u8 value) const;
    bool Try(const TPositions& positions, const u8* data, u32 size, TRuleMatch& match) const noexcept;

    std::vector<TEntry> fEntries;
    // Rules of no bytes at all match every message, the empty one too.
    TPositions fEmptyRules;
    std::array<TBucket, 256> fByFirstByte;
};
} // namespace NSGenericMidiCodec
