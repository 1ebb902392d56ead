#include "generic/RuleIndex.h"

#include <bit>

namespace NSGenericMidiCodec
{
namespace
{
// Below this many candidates a bucket is cheaper to walk than to split.
constexpr std::size_t kCrowdedBucket = 8;
// A split must cut the average walk to at most a quarter, or it only costs memory.
constexpr std::size_t kSplitGain = 4;
} // namespace

CRuleIndex::CRuleIndex(const std::vector<CGenericMidiItem>& items)
{
    for (u32 itemIndex = 0; itemIndex < items.size(); ++itemIndex)
    {
        for (const CMapRule& rule : items[itemIndex].fRules)
            fEntries.push_back({&rule, itemIndex});
    }
    for (u32 position = 0; position < fEntries.size(); ++position)
        AddToBuckets(position);
    SplitCrowdedBuckets();
}

// Whether a message byte of that value at that index lets the rule still match.
bool CRuleIndex::Fits(u32 position, u32 byteIndex, u8 value) const
{
    const CMapRule& rule = *fEntries[position].fRule;
    if (byteIndex >= rule.GetByteCount())
        return true;
    return (value & rule.GetMask()[byteIndex]) == rule.GetBits()[byteIndex];
}

void CRuleIndex::AddToBuckets(u32 position)
{
    if (fEntries[position].fRule->GetByteCount() == 0)
        fEmptyRules.push_back(position);
    for (u32 value = 0; value < 256; ++value)
    {
        if (Fits(position, 0, u8(value)))
            fByFirstByte[value].fPositions.push_back(position);
    }
}

void CRuleIndex::SplitCrowdedBuckets()
{
    for (TBucket& bucket : fByFirstByte)
    {
        if (bucket.fPositions.size() < kCrowdedBucket || !SplitPaysOff(bucket.fPositions))
            continue;
        bucket.fBySecondByte = std::make_unique<std::array<TPositions, 256>>();
        for (u32 value = 0; value < 256; ++value)
        {
            for (const u32 position : bucket.fPositions)
            {
                if (Fits(position, 1, u8(value)))
                    (*bucket.fBySecondByte)[value].push_back(position);
            }
        }
    }
}

// The lists of a split hold, in all, each rule once for each second byte that
// it lets through.
bool CRuleIndex::SplitPaysOff(const TPositions& positions) const
{
    std::size_t listed = 0;
    for (const u32 position : positions)
    {
        const CMapRule& rule = *fEntries[position].fRule;
        const int fixedBits = rule.GetByteCount() >= 2 ? std::popcount(rule.GetMask()[1]) : 0;
        listed += std::size_t(256) >> fixedBits;
    }
    return listed * kSplitGain <= positions.size() * 256;
}

bool CRuleIndex::Try(const TPositions& positions, const u8* data, u32 size, TRuleMatch& match) const noexcept
{
    for (const u32 position : positions)
    {
        const TEntry& entry = fEntries[position];
        if (entry.fRule->Match(data, size, match.fValue1, match.fValue2, match.fValue3))
        {
            match.fItemIndex = entry.fItemIndex;
            return true;
        }
    }
    return false;
}

bool CRuleIndex::FindMatch(const u8* data, u32 size, TRuleMatch& match) const noexcept
{
    if (size == 0)
        return Try(fEmptyRules, data, size, match);
    const TBucket& bucket = fByFirstByte[data[0]];
    if (size >= 2 && bucket.fBySecondByte)
        return Try((*bucket.fBySecondByte)[data[1]], data, size, match);
    return Try(bucket.fPositions, data, size, match);
}
} // namespace NSGenericMidiCodec
