#include "map/MapScope.h"

#include "foundation/Assert.h"
#include "foundation/TextCompare.h"

#include <algorithm>

namespace NSKinvar
{
namespace
{
constexpr std::array<u32, 6> kFilterSeeds = {42, 0x5601F281, 0x12345678, 0x6C67, 0x2C359, 0x3F83C71};

bool IsSevenBit(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char16 c) { return c < 0x80; });
}

// Replaces a shared target by a private deep copy before it changes.
template <class T> void MakeUnique(std::shared_ptr<T>& target, const char* warning)
{
    if (target.use_count() == 1)
        return;
    if (warning != nullptr)
        BF_TRACE("%s", warning);
    target = std::make_shared<T>(*target);
}

// 1, plus 1 for each group the entry leaves open and 1000 for each it names
// rightly; 0 as soon as one group is named wrongly.
u64 ScoreEntry(const TVariation& entry, const TVariation& current)
{
    if (entry.size() != current.size())
        return 0;
    u64 score = 1;
    for (std::size_t group = 0; group < entry.size(); ++group)
    {
        if (entry[group] == kAnyGroupValue)
            score += 1;
        else if (entry[group] == current[group])
            score += 1000;
        else
            return 0;
    }
    return score;
}
} // namespace

VMapScope::VMapScope(std::shared_ptr<const TItemList> items)
    : fGroupNames(std::make_shared<std::vector<TText16>>()),
      fGroupValueNames(std::make_shared<std::vector<std::vector<TText16>>>()),
      fItemMap(std::make_shared<TItemMap>()), fItems(std::move(items)),
      fKinvarableFilter(std::make_shared<CKinvarableFilter>())
{
    BF_ASSERT(fItems != nullptr);
}

u32 VMapScope::GetGroupCount() const { return static_cast<u32>(fGroupNames->size()); }

const TText16& VMapScope::GetGroupName(u32 group) const
{
    BF_ASSERT(group < fGroupNames->size());
    return fGroupNames->at(group);
}

u32 VMapScope::GetGroupValueCount(u32 group) const
{
    BF_ASSERT(group < fGroupValueNames->size());
    return static_cast<u32>(fGroupValueNames->at(group).size());
}

const TText16& VMapScope::GetGroupValueName(u32 group, u32 value) const
{
    BF_ASSERT(group < fGroupValueNames->size() && value < fGroupValueNames->at(group).size());
    return fGroupValueNames->at(group).at(value);
}

u32 VMapScope::FindGroup(std::u16string_view name) const
{
    // Byte for byte on purpose: group names are stricter than value names.
    const auto found = std::find(fGroupNames->begin(), fGroupNames->end(), name);
    return found == fGroupNames->end() ? kAnyGroupValue : static_cast<u32>(found - fGroupNames->begin());
}

u32 VMapScope::FindGroupValue(u32 group, std::u16string_view name) const
{
    BF_ASSERT(!name.empty() && IsSevenBit(name));
    BF_ASSERT(group < fGroupValueNames->size());
    const auto& values = fGroupValueNames->at(group);
    for (std::size_t value = 0; value < values.size(); ++value)
        if (NSTextPackage::EqualTexts(values[value], name))
            return static_cast<u32>(value);
    return kAnyGroupValue;
}

TGroupValue VMapScope::FindGroupValue(std::u16string_view name) const
{
    for (u32 group = 0; group < GetGroupCount(); ++group)
    {
        const u32 value = FindGroupValue(group, name);
        if (value != kAnyGroupValue)
            return {group, value};
    }
    return kNoGroupValue;
}

void VMapScope::AddGroup(const TText16& name, const std::vector<TText16>& valueNames)
{
    BF_ASSERT(!name.empty() && !valueNames.empty());
    BF_ASSERT(FindGroup(name) == kAnyGroupValue);
    MakeUnique(fGroupNames, "VMapScope::AddGroup() - Copy On Write in action: fGroupNames (performance warning)");
    MakeUnique(fGroupValueNames,
               "VMapScope::AddGroup() - Copy On Write in action: fGroupValueNames (performance warning)");
    fGroupNames->push_back(name);
    fGroupValueNames->push_back(valueNames);
}

void VMapScope::AddMapEntry(const TMapKey& key, VMapEntry entry)
{
    const TKinvarableHashes hashes =
        entry.IsKinvarable() ? KinvarableHashes(entry.GetKinvarableName(), entry.GetVariation()) : TKinvarableHashes{};
    AddMapEntry(key, std::move(entry), hashes);
}

void VMapScope::AddMapEntry(const TMapKey& key, VMapEntry entry, const TKinvarableHashes& hashes)
{
    BF_ASSERT(key.fItemIndex < fItems->size());
    MakeUnique(fItemMap, "VMapScope::AddMapEntry() - Copy On Write in action: fItemMap (performance warning)");
    // One walk down the tree serves the test and the insertion behind the
    // last entry of the key, which keeps the order of insertion.
    const auto [first, last] = fItemMap->equal_range(key);
    BF_ASSERT(std::none_of(first, last, [&](const auto& pair) { return pair.second.GetVariation() == entry.GetVariation(); }));
    const bool kinvarable = entry.IsKinvarable();
    fItemMap->emplace_hint(last, key, std::move(entry));
    if (!kinvarable)
        return;
    MakeUnique(fKinvarableFilter, nullptr);
    for (const u32 bit : hashes)
        fKinvarableFilter->Set(bit);
}

VMapEntry VMapScope::FindMapEntry(const TMapKey& key, const TVariation& currentValues) const
{
    BF_ASSERT(currentValues.size() == GetGroupCount());
    for (u32 group = 0; group < currentValues.size() && group < GetGroupCount(); ++group)
        BF_ASSERT(currentValues[group] < GetGroupValueCount(group));
    const VMapEntry* best = nullptr;
    u64 bestScore = 0;
    const auto [first, last] = fItemMap->equal_range(key);
    for (auto it = first; it != last; ++it)
    {
        const u64 score = ScoreEntry(it->second.GetVariation(), currentValues);
        if (score > bestScore)
        {
            bestScore = score;
            best = &it->second;
        }
    }
    return best != nullptr ? *best : VMapEntry();
}

bool VMapScope::IsVariationInRange(const TVariation& variation, bool anyAllowed) const
{
    if (variation.size() != GetGroupCount())
        return false;
    for (u32 group = 0; group < variation.size(); ++group)
    {
        const bool any = anyAllowed && variation[group] == kAnyGroupValue;
        if (!any && variation[group] >= GetGroupValueCount(group))
            return false;
    }
    return true;
}

bool VMapScope::IsItemMapped(const TMapKey& key, const TVariation& variation) const
{
    BF_ASSERT(IsVariationInRange(variation, true));
    const auto [first, last] = fItemMap->equal_range(key);
    return std::any_of(first, last, [&](const auto& pair) { return pair.second.GetVariation() == variation; });
}

VMapScope::TKinvarableHashes
VMapScope::KinvarableHashes(std::u16string_view name, const TVariation& variation)
{
    // The six hashes advance side by side in one pass over the name; written
    // out, since this runs twice for every Kinvarable line of a map. Hash i
    // adds c * (i + 1000000), that is c * 1000000 plus i times c.
    u32 h0 = kFilterSeeds[0], h1 = kFilterSeeds[1], h2 = kFilterSeeds[2];
    u32 h3 = kFilterSeeds[3], h4 = kFilterSeeds[4], h5 = kFilterSeeds[5];
    for (const char16 unit : name)
    {
        const u32 c = unit;
        const u32 base = c * 1000000u;
        h0 = h0 * 33 + base;
        h1 = h1 * 33 + base + c;
        h2 = h2 * 33 + base + 2 * c;
        h3 = h3 * 33 + base + 3 * c;
        h4 = h4 * 33 + base + 4 * c;
        h5 = h5 * 33 + base + 5 * c;
    }
    for (const u32 v : variation)
    {
        const u32 shifted = v << 4;
        h0 ^= (v * 0) ^ shifted;
        h1 ^= (v * 1) ^ shifted;
        h2 ^= (v * 2) ^ shifted;
        h3 ^= (v * 3) ^ shifted;
        h4 ^= (v * 4) ^ shifted;
        h5 ^= (v * 5) ^ shifted;
    }
    const u32 bits = kFilterBits;
    return {h0 % bits, h1 % bits, h2 % bits, h3 % bits, h4 % bits, h5 % bits};
}

void VMapScope::CKinvarableFilter::Set(u32 bit)
{
    BF_ASSERT(bit < kFilterBits);
    if (!fWords.empty())
    {
        fWords[bit / kWordBits] |= u64{1} << (bit % kWordBits);
        return;
    }
    const auto at = std::lower_bound(fSparse.begin(), fSparse.end(), bit);
    if (at != fSparse.end() && *at == bit)
        return;
    fSparse.insert(at, bit);
    if (fSparse.size() <= kSparseBits)
        return;
    fWords.assign((kFilterBits + kWordBits - 1) / kWordBits, 0);
    for (const u32 set : fSparse)
        fWords[set / kWordBits] |= u64{1} << (set % kWordBits);
    fSparse = {};
}

bool VMapScope::CKinvarableFilter::Test(u32 bit) const
{
    if (!fWords.empty())
        return (fWords[bit / kWordBits] >> (bit % kWordBits)) & 1;
    return std::binary_search(fSparse.begin(), fSparse.end(), bit);
}

bool VMapScope::FilterContains(const TKinvarableHashes& hashes) const
{
    for (const u32 bit : hashes)
        if (!fKinvarableFilter->Test(bit))
            return false;
    return true;
}

bool VMapScope::IsKinvarableMapped(std::u16string_view name, const TVariation& variation) const
{
    return IsKinvarableMapped(name, variation, KinvarableHashes(name, variation));
}

bool VMapScope::IsKinvarableMapped(std::u16string_view name, const TVariation& variation,
                                   const TKinvarableHashes& hashes) const
{
    BF_ASSERT(IsVariationInRange(variation, true));
    if (!FilterContains(hashes))
        return false;
    // The filter hashes the name as written, the walk compares it caselessly:
    // names that differ only in case meet here only when their hashes collide.
    return std::any_of(fItemMap->begin(), fItemMap->end(), [&](const auto& pair) {
        const VMapEntry& entry = pair.second;
        return entry.IsKinvarable() && entry.GetVariation() == variation &&
               NSTextPackage::EqualTexts(entry.GetKinvarableName(), name);
    });
}

bool VMapScope::CheckGroups() const
{
    if (fGroupNames->size() != fGroupValueNames->size())
        return false;
    if (std::any_of(fGroupNames->begin(), fGroupNames->end(), [](const TText16& n) { return n.empty(); }))
        return false;
    std::vector<const TText16*> values;
    for (const auto& group : *fGroupValueNames)
        for (const auto& value : group)
        {
            if (value.empty())
                return false;
            values.push_back(&value);
        }
    // Value names are unique over the whole scope, whatever their case.
    std::sort(values.begin(), values.end(), [](const TText16* a, const TText16* b) {
        return NSTextPackage::CompareText(*a, *b) == NSTextPackage::kTextLess;
    });
    for (std::size_t i = 1; i < values.size(); ++i)
        if (NSTextPackage::EqualTexts(*values[i - 1], *values[i]))
            return false;
    return true;
}

bool VMapScope::CheckEntry(const TMapKey& key, const VMapEntry& entry) const
{
    if (key.fItemIndex >= fItems->size())
        return false;
    const NSKinvarCodec::TItemInfo& item = (*fItems)[key.fItemIndex];
    const bool keyboard = item.fInputKind == NSKinvarCodec::kInputKeyboard;
    if (keyboard && key.fNote != kNoNote && (key.fNote < 0 || key.fNote > 127))
        return false;
    if (!keyboard && key.fNote != kNoNote)
        return false;
    if (entry.IsEmpty() || !entry.HasValidKind())
        return false;
    return item.fStateCount == 0 || entry.GetMode() < item.fStateCount;
}

bool VMapScope::Check() const
{
    bool sound = CheckGroups();
    for (auto it = fItemMap->begin(); sound && it != fItemMap->end(); ++it)
        sound = CheckEntry(it->first, it->second);
    // A file can make a scope fail (a note name past 127, a value named twice
    // in one group line): that is the reader's fault to report, so the check
    // leaves a line on the debug channel rather than an assertion box.
    if (!sound)
        BF_TRACE("VMapScope::Check() failed");
    return sound;
}
} // namespace NSKinvar
