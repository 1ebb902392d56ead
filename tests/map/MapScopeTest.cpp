#include "map/ControlSurfaceMap.h"
#include "map/MapScope.h"

#include "MapTestSupport.h"

#include "foundation/Assert.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace NSKinvar;

namespace
{
std::vector<std::string> gTraces;
void RecordTrace(const char*, i32, const char* text) { gTraces.emplace_back(text); }

class CTraceScope
{
public:
    CTraceScope() : fOld(GetTraceHook())
    {
        gTraces.clear();
        SetTraceHook(&RecordTrace);
    }
    ~CTraceScope() { SetTraceHook(fOld); }

private:
    TTraceHook fOld;
};

VMapScope ScopeWithGroups()
{
    VMapScope scope(NSMapTesting::MakeItems());
    scope.AddGroup(u"Shift", {u"Off", u"On"});
    scope.AddGroup(u"Page", {u"One", u"Two", u"Three"});
    return scope;
}

TEST(MapScope, FindMapEntryPrefersNamedValuesAndTheEarlierOfEqualScores)
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
}

TEST(MapScope, WithoutGroupsEveryEntryScoresOneAndOnlyOneFitsAKey)
{
    VMapScope scope(NSMapTesting::MakeItems());
    const TMapKey key{1, kNoNote};
    scope.AddMapEntry(key, VMapEntry({}, i64{5}, 0));
    EXPECT_EQ(scope.FindMapEntry(key, {}).GetValue(), 5);
    EXPECT_TRUE(scope.IsItemMapped(key, {}));
    EXPECT_FALSE(scope.IsItemMapped(TMapKey{1, 60}, {}));
}

TEST(MapScope, GroupNamesAreExactButValueNamesCaseless)
{
    const VMapScope scope = ScopeWithGroups();
    EXPECT_EQ(scope.FindGroup(u"Shift"), 0u);
    EXPECT_EQ(scope.FindGroup(u"shift"), kAnyGroupValue);
    EXPECT_EQ(scope.FindGroupValue(1, u"tWO"), 1u);
    EXPECT_EQ(scope.FindGroupValue(u"three"), (TGroupValue{1, 2}));
    EXPECT_EQ(scope.FindGroupValue(u"Four"), kNoGroupValue);
}

TEST(MapScope, KinvarableFilterAnswersNewNamesAndTheWalkComparesCaseless)
{
    VMapScope scope = ScopeWithGroups();
    scope.AddMapEntry(TMapKey{0, kNoNote}, VMapEntry({0, kAnyGroupValue}, u"Volume", 0, 0));
    EXPECT_TRUE(scope.IsKinvarableMapped(u"Volume", {0, kAnyGroupValue}));
    EXPECT_FALSE(scope.IsKinvarableMapped(u"Volume", {1, kAnyGroupValue}));
    EXPECT_FALSE(scope.IsKinvarableMapped(u"Pan", {0, kAnyGroupValue}));
    // The filter hashes the name as written, so another case is a new name
    // unless the hashes collide.
    EXPECT_FALSE(scope.IsKinvarableMapped(u"VOLUME", {0, kAnyGroupValue}));
}

TEST(MapScope, KinvarableHashesFollowTheirSeeds)
{
    // h = seed; h = h * 33 + c * (i + 1000000); then the variation; mod 174763.
    const auto hashes = VMapScope::KinvarableHashes(u"A", {});
    EXPECT_EQ(hashes[0], (42u * 33u + 65u * 1000000u) % 174763u);
    const auto withVariation = VMapScope::KinvarableHashes(u"", {3});
    EXPECT_EQ(withVariation[2], (0x12345678u ^ ((3u * 2u) ^ (3u << 4))) % 174763u);
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

TEST(MapScope, CheckRefusesNotesOutsideTheKeyboardModesPastTheStatesAndTwinValues)
{
    {
        VMapScope scope(NSMapTesting::MakeItems());
        scope.AddMapEntry(TMapKey{2, 128}, VMapEntry({}, u"Piano", 0, 0));
        EXPECT_FALSE(scope.Check());
    }
    {
        VMapScope scope(NSMapTesting::MakeItems());
        scope.AddMapEntry(TMapKey{1, kNoNote}, VMapEntry({}, u"Play", 0, 2)); // 2 states
        EXPECT_FALSE(scope.Check());
    }
    {
        VMapScope scope(NSMapTesting::MakeItems());
        scope.AddMapEntry(TMapKey{0, kNoNote}, VMapEntry({}, u"Volume", 0, 9)); // no states: any mode
        scope.AddMapEntry(TMapKey{2, 127}, VMapEntry({}, u"Top", 0, 0));
        EXPECT_TRUE(scope.Check());
        scope.AddGroup(u"G", {u"x", u"X"});
        EXPECT_FALSE(scope.Check());
    }
}

TEST(ControlSurfaceMap, FindsScopesWhateverTheirCase)
{
    VControlSurfaceMap map(u"Acme", u"Box", NSMapTesting::MakeItems());
    VMapScope scope(map.GetItems());
    map.AddScope({u"Host", u"Mixer"}, scope);
    EXPECT_NE(map.FindScope({u"HOST", u"mixer"}), nullptr);
    EXPECT_EQ(map.FindScope({u"Host", u"Mixer 2"}), nullptr);
    EXPECT_TRUE(map.Check());
}
} // namespace
