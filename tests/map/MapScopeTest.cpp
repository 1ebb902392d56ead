#include "map/MapScope.h"

#include "MapTestSupport.h"

#include "foundation/Assert.h"
#include "foundation/TextCompare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

using namespace NSKinvar;

namespace
{
std::vector<std::string> gTraces;
void RecordTrace(const char*, i32, const char* text) { gTraces.emplace_back(text); }

struct CTraceScope
{
    TTraceHook fOld = GetTraceHook();
    CTraceScope() { gTraces.clear(); SetTraceHook(&RecordTrace); }
    ~CTraceScope() { SetTraceHook(fOld); }
};

VMapScope ScopeWithGroups()
{
    VMapScope scope(NSMapTesting::MakeItems());
    scope.AddGroup(u"Shift", {u"Off", u"On"});
    scope.AddGroup(u"Page", {u"One", u"Two", u"Three"});
    return scope;
}

TEST(MapScope, FindsEntriesByScoreAndGroupsByName)
{
    VMapScope scope = ScopeWithGroups();
    const TMapKey fader{0, kNoNote};
    scope.AddMapEntry(fader, VMapEntry({kAnyGroupValue, kAnyGroupValue}, u"Volume", 0, 0));
    scope.AddMapEntry(fader, VMapEntry({1, kAnyGroupValue}, u"Pan", 0, 0));
    scope.AddMapEntry(fader, VMapEntry({kAnyGroupValue, 2}, u"Send", 0, 0));

    EXPECT_EQ(scope.FindMapEntry(fader, {1, 0}).GetKinvarableName(), u"Pan");   // 1002 beats 3
    EXPECT_EQ(scope.FindMapEntry(fader, {0, 0}).GetKinvarableName(), u"Volume");
    EXPECT_EQ(scope.FindMapEntry(fader, {1, 2}).GetKinvarableName(), u"Pan");   // 1002 twice: the first
    EXPECT_TRUE(scope.FindMapEntry(TMapKey{3, kNoNote}, {0, 0}).IsEmpty());
    // Group names are exact, value names caseless.
    EXPECT_EQ(scope.FindGroup(u"Shift"), 0u);
    EXPECT_EQ(scope.FindGroup(u"shift"), kAnyGroupValue);
    EXPECT_EQ(scope.FindGroupValue(1, u"tWO"), 1u);
    EXPECT_EQ(scope.FindGroupValue(u"three"), (TGroupValue{1, 2}));
    EXPECT_EQ(scope.FindGroupValue(u"Four"), kNoGroupValue);

    // Without groups every entry scores one and only one fits a key.
    VMapScope plain(NSMapTesting::MakeItems());
    const TMapKey key{1, kNoNote};
    plain.AddMapEntry(key, VMapEntry({}, i64{5}, 0));
    EXPECT_EQ(plain.FindMapEntry(key, {}).GetValue(), 5);
    EXPECT_TRUE(plain.IsItemMapped(key, {}));
    EXPECT_FALSE(plain.IsItemMapped(TMapKey{1, 60}, {}));
}

// The filter keeps a few bits as a list and many as a set of bits. Whichever
// it holds, it answers as the filter of every hash added so far: a probe is
// mapped when all its hashes are in and the walk finds its name caselessly.
TEST(MapScope, KinvarableFilterAnswersAlikeAsAListAndAsASetOfBits)
{
    VMapScope scope = ScopeWithGroups();
    std::set<u32> bits;
    std::vector<std::pair<TText16, TVariation>> added;
    const TVariation variations[] = {{kAnyGroupValue, kAnyGroupValue}, {0, kAnyGroupValue}, {1, 2}};
    const auto expected = [&](const TText16& name, const TVariation& variation) {
        const auto hashes = VMapScope::KinvarableHashes(name, variation);
        const bool inFilter = std::all_of(hashes.begin(), hashes.end(), [&](u32 bit) { return bits.count(bit) != 0; });
        return inFilter && std::any_of(added.begin(), added.end(), [&](const auto& entry) {
                   return entry.second == variation && NSTextPackage::EqualTexts(entry.first, name);
               });
    };
    for (i64 note = 0; note < 128; ++note)
    {
        for (const TVariation& variation : variations)
        {
            const TText16 name = u"Name " + TText16(1, char16(u'A' + note % 26)) + TText16(note / 26 + 1, u'x');
            scope.AddMapEntry(TMapKey{2, note}, VMapEntry(variation, name, 0, 0));
            for (const u32 bit : VMapScope::KinvarableHashes(name, variation))
                bits.insert(bit);
            added.emplace_back(name, variation);
        }
        // Every eighth note: each entry so far, in its own and another case,
        // and names never added.
        if (note % 8 != 7)
            continue;
        for (const auto& [name, variation] : added)
        {
            EXPECT_TRUE(scope.IsKinvarableMapped(name, variation));
            const TText16 upper = NSTextPackage::UpperCaseText(name);
            EXPECT_EQ(scope.IsKinvarableMapped(upper, variation), expected(upper, variation));
        }
        for (const TText16 name : {u"Volume", u"Name Q", u"Name Zxxxxxx"})
            EXPECT_EQ(scope.IsKinvarableMapped(name, variations[1]), expected(name, variations[1]));
    }
    EXPECT_GT(bits.size(), VMapScope::CKinvarableFilter::kSparseBits);
}

std::size_t AllocatedBytes()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}

// Each scope once took a set of 174763 bits (21 KB) as soon as it was made,
// so that a mapping file of 100,000 small scopes took more than 2 GB.
TEST(MapScope, SmallScopesCostMemoryByTheirLinesNotByTheWholeFilter)
{
    const auto items = NSMapTesting::MakeItems();
    constexpr std::size_t kScopes = 2000;
    std::vector<VMapScope> scopes;
    scopes.reserve(kScopes);
    const std::size_t before = AllocatedBytes();
    for (std::size_t i = 0; i < kScopes; ++i)
    {
        VMapScope& scope = scopes.emplace_back(items);
        scope.AddMapEntry(TMapKey{0, kNoNote}, VMapEntry({}, u"Volume", 0, 0));
        scope.AddMapEntry(TMapKey{1, kNoNote}, VMapEntry({}, u"Play", 0, 0));
    }
    const std::size_t perScope = (AllocatedBytes() - before) / kScopes;
    EXPECT_LT(perScope, 2048u);
    EXPECT_TRUE(scopes.back().IsKinvarableMapped(u"Play", {}));
}

TEST(MapScope, CopiesShareUntilWrittenAndWarnOncePerSharedList)
{
    VMapScope original = ScopeWithGroups();
    original.AddMapEntry(TMapKey{0, kNoNote}, VMapEntry({0, 0}, u"Volume", 0, 0));
    VMapScope copy = original;

    CTraceScope traces;
    copy.AddGroup(u"Bank", {u"A", u"B"});
    copy.AddMapEntry(TMapKey{3, kNoNote}, VMapEntry({0, 0, 0}, u"Jog", 0, 0));
    copy.AddMapEntry(TMapKey{1, kNoNote}, VMapEntry({0, 0, 0}, u"Play", 0, 0));

    EXPECT_EQ(original.GetGroupCount(), 2u);
    EXPECT_EQ(original.GetItemMap().size(), 1u);
    EXPECT_FALSE(original.IsKinvarableMapped(u"Jog", {0, 0}));
    EXPECT_EQ(copy.GetGroupCount(), 3u);
    EXPECT_EQ(copy.GetItemMap().size(), 3u);
    EXPECT_EQ(gTraces, (std::vector<std::string>{
                           "VMapScope::AddGroup() - Copy On Write in action: fGroupNames (performance warning)",
                           "VMapScope::AddGroup() - Copy On Write in action: fGroupValueNames (performance warning)",
                           "VMapScope::AddMapEntry() - Copy On Write in action: fItemMap (performance warning)"}));
}

} // namespace
