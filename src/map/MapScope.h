#pragma once
// One scope of a mapping file: the groups and map lines for one Kinvarable
// device (manufacturer, model). A scope is five shared pointers, so copies are
// cheap and share everything; a mutator first takes a private copy of what it
// changes when that is shared (copy-on-write), with a performance warning on
// the debug channel. The map reader fills a scope while it holds it alone.
//
// Main thread while filled; a finished scope may be read from any thread.

#include "codec/KinvarCodec.h"
#include "map/MapEntry.h"

#include <array>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace NSKinvar
{
using TItemList = std::vector<NSKinvarCodec::TItemInfo>;

class VMapScope
{
public:
    // Bits of the filter of (Kinvarable name, variation).
    static constexpr std::size_t kFilterBits = 174763;

    // The filter's bits. A scope with few Kinvarable lines keeps those that
    // are set as a short sorted list and takes the whole set of bits (21 KB)
    // only once the list would pass kSparseBits: a file of many small scopes
    // then costs memory by its lines, not 21 KB a scope. Either form answers
    // the same.
    class CKinvarableFilter
    {
    public:
        static constexpr std::size_t kSparseBits = 1024;

        void Set(u32 bit);
        bool Test(u32 bit) const;

    private:
        static constexpr std::size_t kWordBits = 64;

        std::vector<u32> fSparse;   // sorted; empty once fWords is there
        std::vector<u64> fWords;    // kFilterBits bits, or empty
    };
    using TItemMap = std::multimap<TMapKey, VMapEntry>;

    explicit VMapScope(std::shared_ptr<const TItemList> items);

    u32 GetGroupCount() const;
    const TText16& GetGroupName(u32 group) const;
    u32 GetGroupValueCount(u32 group) const;
    const TText16& GetGroupValueName(u32 group, u32 value) const;

    // Exact comparison, case counts; kAnyGroupValue when there is none.
    u32 FindGroup(std::u16string_view name) const;
    // Caseless; kAnyGroupValue when there is none.
    u32 FindGroupValue(u32 group, std::u16string_view name) const;
    // The first group, in order, with a value of that name; kNoGroupValue otherwise.
    TGroupValue FindGroupValue(std::u16string_view name) const;

    // The filter positions of a Kinvarable name and variation.
    using TKinvarableHashes = std::array<u32, 6>;

    void AddGroup(const TText16& name, const std::vector<TText16>& valueNames);
    void AddMapEntry(const TMapKey& key, VMapEntry entry);
    // As above for a Kinvarable entry whose hashes the caller has already
    // made for IsKinvarableMapped: a reader then hashes each line once.
    void AddMapEntry(const TMapKey& key, VMapEntry entry, const TKinvarableHashes& hashes);

    // The best-scoring entry under key for the groups' current values, or the
    // empty entry.
    VMapEntry FindMapEntry(const TMapKey& key, const TVariation& currentValues) const;
    bool IsItemMapped(const TMapKey& key, const TVariation& variation) const;
    // The filter answers for names it has never seen; only a hit walks the map.
    bool IsKinvarableMapped(std::u16string_view name, const TVariation& variation) const;
    bool IsKinvarableMapped(std::u16string_view name, const TVariation& variation,
                            const TKinvarableHashes& hashes) const;

    // The deep test of a finished scope; a failure leaves a debug line and is false.
    bool Check() const;

    const TItemMap& GetItemMap() const { return *fItemMap; }
    const TItemList& GetItems() const { return *fItems; }

    static TKinvarableHashes KinvarableHashes(std::u16string_view name, const TVariation& variation);

private:
    bool IsVariationInRange(const TVariation& variation, bool anyAllowed) const;
    bool FilterContains(const TKinvarableHashes& hashes) const;
    bool CheckGroups() const;
    bool CheckEntry(const TMapKey& key, const VMapEntry& entry) const;

    std::shared_ptr<std::vector<TText16>> fGroupNames;
    std::shared_ptr<std::vector<std::vector<TText16>>> fGroupValueNames;
    std::shared_ptr<TItemMap> fItemMap;
    std::shared_ptr<const TItemList> fItems;
    std::shared_ptr<CKinvarableFilter> fKinvarableFilter;
};
} // namespace NSKinvar
