#include "map/MapReader.h"

#include "MapTestSupport.h"

#include <gtest/gtest.h>

using namespace NSMapTesting;
using NSKinvar::TMapKey;

namespace
{
const std::string kTop = "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n";
const std::string kScope = "Scope\tHost\tMixer\n"; // line 6 behind the header

std::string Body(const std::string& lines) { return Header() + lines; }
// Lines behind the header and the scope, from line 7 on.
std::string S(const std::string& lines) { return Header() + kScope + lines; }

TEST(MapFile, EveryMessageIsReportedWithItsLineNumber)
{
    struct TCase
    {
        const char* fName;
        std::string fFile;
        std::string fErrors; // behind "Map File Errors:\n"
    };
    const TCase cases[] = {
        {"EmptyFile", "", "Line  1: Missing: Thistlemarrow Kinvar Mapping File.\n"},
        {"OnlyComments", "// nothing\n\n// here\n", "Line  1: Missing: Thistlemarrow Kinvar Mapping File.\n"},
        {"WrongFormatVersion", "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.1\n",
         "Line  2: Missing: File Format Version.\n"},
        {"VersionOfTwoParts", "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.\n",
         "Line  2: Missing: File Format Version.\n"},
        {"MissingModelAtTheEnd", kTop + "Control Surface Manufacturer\tAcme\n", "Line  3: Missing: Control Surface Model.\n"},
        {"EmptyManufacturer", kTop + "Control Surface Manufacturer\t \nControl Surface Model\tBox\n",
         "Line  3: Missing: Control Surface Manufacturer.\n"},
        {"BadMapVersion", kTop + "Control Surface Manufacturer\tAcme\nControl Surface Model\tBox\nMap Version\t1..0\n",
         "Line  5: Missing: Map Version.\n"},
        {"OtherSurface",
         "// a comment first\n" + kTop + "Control Surface Manufacturer\tAcme\nControl Surface Model\tCrate\nMap Version\t1.0.0\n",
         "Line  4: Wrong Control Surface Manufacturer or Model.\n"},
        {"MapBeforeScope", Body("Map\tFader 1\t\tVolume\n"), "Line  6: No Scope defined.\n"},
        {"GroupBeforeScope", Body("Define Group\tShift\tOn\n"), "Line  6: No Scope defined.\n"},
        {"ScopeWithoutModel", Body("Scope\tHost\t\tExtra\n"), "Line  6: Scope missing Kinvarable Manufacturer or Model.\n"},
        {"ScopeTwiceInAnyCase", S("Scope\tHOST\tmixer\n"), "Line  7: Scope already defined.\n"},
        {"GroupAfterMapLine", S("Map\tFader 1\t\tVolume\nDefine Group\tShift\tOn\n"), "Line  8: Define Group misplaced.\n"},
        {"GroupWithoutName", S("Define Group\t\tOn\n"), "Line  7: Bad group definition.\n"},
        {"GroupTwice", S("Define Group\tShift\tOn\nDefine Group\tShift\tUp\n"), "Line  8: Duplicate group definition.\n"},
        {"ElevenShortcutVariations",
         S("Define Group\tKeyboard Shortcut Variations\tv1\tv2\tv3\tv4\tv5\tv6\tv7\tv8\tv9\tv10\tv11\n"),
         "Line  7: Too many keyboard shortcut variations.\n"},
        {"GroupWithoutValues", S("Define Group\tShift\t\t\n"), "Line  7: Empty group value.\n"},
        {"ValueInTwoGroups", S("Define Group\tShift\tOn\nDefine Group\tMode\ton\n"), "Line  8: Duplicate group value.\n"},
        {"MapWithoutItem", S("Map\t\tx\tVolume\n"), "Line  7: Map entry missing control surface item name.\n"},
        {"UnknownItem", S("Map\tFader 9\t\tVolume\n"), "Line  7: Map entry with unknown control surface item.\n"},
        {"ItemTwice", S("Map\tFader 1\t\tVolume\nMap\tfader 1\t\tPan\n"),
         "Line  8: Map entry: control surface item already mapped in this scope.\n"},
        {"KeyWithConstant", S("Map\tKeys\tC3\t5\n"),
         "Line  7: Map entry: keyboard key cannot be mapped to constant or group assignment.\n"},
        {"KinvarableTwice", S("Map\tFader 1\t\tVolume\nMap\tEncoder\t\tVolume\n"),
         "Line  8: Map entry: kinvarable item already mapped in this scope.\n"},
        {"TooFewColumnsForTheKey", S("Map\tFader 1\n"), "Line  7: Map entry missing key column.\n"},
        {"UnreadableKey", S("Map\tKeys\tX3\tPiano\n"), "Line  7: Map entry missing key column.\n"},
        {"NoteOnAButton", S("Map\tButton A\tC3\t5\n"),
         "Line  7: Map entry with note number for non-keyboard control surface item.\n"},
        {"MissingTarget", S("Map\tFader 1\t\t\t\n"), "Line  7: Map entry missing kinvarable item name.\n"},
        {"BadScale", S("Map\tEncoder\t\tJog\tfast\n"), "Line  7: Map entry with bad scale value.\n"},
        {"UnknownMode", S("Map\tButton A\t\tPlay\t\tFlash\n"), "Line  7: Map entry with unknown mode.\n"},
        {"UnknownGroupValue", S("Define Group\tShift\tOn\tOff\nMap\tFader 1\t\tVolume\t\t\tSideways\n"),
         "Line  8: Map entry with unknown group value.\n"},
        {"TextConstantWithoutClosingQuote", S("Map\tDisplay\t\t\"Hi\"x\n"), "Line  7: Map entry with bad text constant.\n"},
        {"AssignmentToUnknownGroup", S("Map\tButton A\t\tShift=On\n"),
         "Line  7: Map entry with unknown group or value in assignment.\n"},
        {"AssignmentWithEmptyValue", S("Define Group\tShift\tOn\nMap\tButton A\t\tShift=\n"),
         "Line  8: Map entry with unknown group or value in assignment.\n"},
        {"AssignmentGroupNameCaseCounts", S("Define Group\tShift\tOn\nMap\tButton A\t\tshift=On\n"),
         "Line  8: Map entry with unknown group or value in assignment.\n"},
        {"UndefinedCommand", S("Scop\tA\tB\n"), "Line  7: Undefined command.\n"},
        // The line of a fault that the scope's check finds is the last one that remains.
        {"NoteAboveTheKeyboard", S("Map\tKeys\tG#8\tPiano\n// last\n"), "Line  7: Bad mapping.\n"},
        {"ValueTwiceInOneGroupLine", S("Define Group\tShift\tOn\ton\n"), "Line  7: Bad mapping.\n"},
        {"ItemNotASCII", S("Map\tF\xC3\xA4""der\t\tVolume\n"), "Line  7: Control Surface Item not 7 bit ASCII.\n"},
        {"GroupNotASCII", S("Define Group\tGr\xC3\xBCppe\tOn\n"), "Line  7: Group name not 7 bit ASCII.\n"},
        {"VariationNotASCII", S("Define Group\tShift\t\xC3\x84n\n"), "Line  7: Variation name not 7 bit ASCII.\n"},
        {"KinvarableNotASCII", S("Map\tFader 1\t\tVol\xC3\xBCme\n"), "Line  7: Kinvarable item name not 7 bit ASCII.\n"},
        // Bad map lines are collected in file order; a fatal fault ends the list.
        {"CollectedInOrder", S("Map\tNope\t\tA\nMap\tFader 1\t\tVolume\nBogus\nMap\tKeys\tC3\t7\n"),
         "Line  7: Map entry with unknown control surface item.\nLine  9: Undefined command.\n"
         "Line  10: Map entry: keyboard key cannot be mapped to constant or group assignment.\n"},
        {"FatalEndsTheList", S("Map\tNope\t\tA\nMap\tNope\t\tB\nScope\tHost\tMixer\nMap\tNope\t\tC\n"),
         "Line  7: Map entry with unknown control surface item.\n"
         "Line  8: Map entry with unknown control surface item.\nLine  9: Scope already defined.\n"}};
    for (const TCase& c : cases)
    {
        const TReadResult result = ReadMapText(c.fFile);
        EXPECT_TRUE(result.fThrew) << c.fName;
        EXPECT_EQ(result.fErrorText, "Map File Errors:\n" + c.fErrors) << c.fName;
    }
}

TEST(MapFile, AGoodFileFillsTheMap)
{
    EXPECT_EQ(ReadMapText(Header()).fMap->GetScopeCount(), 0u) << "the header alone is a good file";
    const TReadResult result = ReadMapText(
        "// maps of the Box\r\n" + Header() + "\n" + kScope +
        "\tstray text behind an empty first column is passed over\n"
        "Define Group\tShift\tShift Off\tShift On\n"
        "Define Group\tKeyboard Shortcut Variations\tv1\t\tv2\tv3\tv4\tv5\tv6\tv7\tv8\tv9\t\tv10\n"
        "Map\tFader 1\t\tVolume\nMap\tFader 1\t\tPan\t\t\tShift On\n"
        "Map\tkeys\t\tPiano\nMap\tKeys\tC3\tMetronome\nMap\tKeys\t61\tCount In\n"
        "Map\tEncoder\t\tJog\t-4\nMap\tButton A\t\tShift=Shift On\t\tblink\n"
        "Map\tDisplay\t\t\"Hello\tworld\"\n"
        "Scope\tHost\tTransport\nMAP\tButton A\t\t42\n");
    ASSERT_FALSE(result.fThrew) << result.fErrorText;
    EXPECT_EQ(result.fErrorText, "");
    ASSERT_EQ(result.fMap->GetScopeCount(), 2u);
    const NSKinvar::VMapScope* mixer = result.fMap->FindScope({u"host", u"MIXER"});
    ASSERT_NE(mixer, nullptr);
    EXPECT_EQ(mixer->GetGroupCount(), 2u);
    EXPECT_EQ(mixer->GetGroupValueCount(1), 10u);

    const auto& items = mixer->GetItemMap();
    for (const i64 note : {-1, 60, 61})
        EXPECT_EQ(items.count(TMapKey{2, note}), 1u) << note;
    const auto encoder = items.find(TMapKey{3, -1});
    ASSERT_NE(encoder, items.end());
    EXPECT_EQ(encoder->second.GetScale(), -4);
    const auto button = items.find(TMapKey{1, -1});
    ASSERT_NE(button, items.end());
    EXPECT_EQ(button->second.GetAssignment(), (NSKinvar::TGroupValue{0, 1}));
    EXPECT_EQ(button->second.GetMode(), 1u);
    const auto display = items.find(TMapKey{4, -1});
    ASSERT_NE(display, items.end());
    EXPECT_EQ(display->second.GetText(), u"Hello\tworld");
    EXPECT_EQ(mixer->FindMapEntry(TMapKey{0, -1}, {1, 0}).GetKinvarableName(), u"Pan");
}

// Group values that are no plain names (here with control characters, which
// the text comparison passes over) were once looked up by a walk of every
// value, so two groups of 100,000 of them took time by the square of that.
TEST(MapFile, ManyGroupValuesWithControlCharactersAreFoundAsTheComparisonFindsThem)
{
    std::string first = "Define Group\tFirst";
    std::string second = "Define Group\tSecond";
    for (int i = 0; i < 100'000; ++i)
    {
        first += "\t\x01" "a" + std::to_string(i);
        second += "\t\x02" "b" + std::to_string(i);
    }
    const TReadResult result = ReadMapText(S(first + "\n" + second + "\nMap\tFader 1\t\tVolume\t\t\t\x01" "a99999\tB5\n"));
    ASSERT_FALSE(result.fThrew) << result.fErrorText.substr(0, 300);
    const NSKinvar::VMapScope* mixer = result.fMap->FindScope({u"Host", u"Mixer"});
    ASSERT_NE(mixer, nullptr);
    const NSKinvar::VMapEntry entry = mixer->FindMapEntry(TMapKey{0, -1}, {99'999, 5});
    EXPECT_EQ(entry.GetKinvarableName(), u"Volume");
    EXPECT_EQ(entry.GetVariation(), (NSKinvar::TVariation{99'999, 5}));
}

// The text comparison passes over control characters, so "Fader" followed by
// U+0001 names the first item, not the second that is spelt so.
TEST(MapFile, AnItemNameFindsTheFirstEqualItemInListOrder)
{
    using NSKinvarCodec::kInputValue, NSKinvarCodec::kOutputValue;
    const auto items = std::make_shared<const NSKinvar::TItemList>(NSKinvar::TItemList{
        MakeItem(u"Fader", kInputValue, kOutputValue, 0, 127, 0),
        MakeItem(u"Fader\u0001", kInputValue, kOutputValue, 0, 127, 0)});
    const TReadResult result = ReadMapText(S("Map\tFader\x01\t\tVolume\n"), items);
    ASSERT_FALSE(result.fThrew) << result.fErrorText;
    const auto& mapped = result.fMap->FindScope({u"Host", u"Mixer"})->GetItemMap();
    EXPECT_EQ(mapped.count(TMapKey{0, -1}), 1u);
    EXPECT_EQ(mapped.count(TMapKey{1, -1}), 0u);
}

TEST(MapKeys, ReadAsNumbersOrNoteNames)
{
    const std::pair<std::u16string, std::optional<i64>> cases[] = {
        {u"", -1}, {u"0", 0}, {u"127", 127}, {u"128", std::nullopt}, {u"99999999999999999999999", std::nullopt},
        {u"C-2", 0}, {u"C3", 60}, {u"c3", 60}, {u"G8", 127}, {u"G#8", 128}, {u"A8", 129}, {u"Cb-2", 255},
        {u"H2", 59}, {u"Bb2", 58}, {u"F#-1", 18}, {u"C9", std::nullopt}, {u"C-3", std::nullopt},
        {u"C", std::nullopt}, {u"X3", std::nullopt}, {u"-1", std::nullopt}};
    for (const auto& [column, key] : cases)
        EXPECT_EQ(NSKinvar::ReadMapKey(column), key) << std::string(column.begin(), column.end());
}
} // namespace
