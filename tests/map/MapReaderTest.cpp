#include "map/MapReader.h"

#include "MapTestSupport.h"

#include <gtest/gtest.h>

using namespace NSMapTesting;
using NSKinvar::kAnyGroupValue;
using NSKinvar::TMapKey;

namespace
{
const std::string kScope = "Scope\tHost\tMixer\n"; // line 6 behind the header

struct TMessageCase
{
    const char* fName;
    std::string fFile;
    std::string fErrors; // behind "Map File Errors:\n"
};

std::ostream& operator<<(std::ostream& out, const TMessageCase& c) { return out << c.fName; }

class MapFileMessages : public testing::TestWithParam<TMessageCase>
{
};

TEST_P(MapFileMessages, AreReportedWithTheirLineNumbers)
{
    const TReadResult result = ReadMapText(GetParam().fFile);
    EXPECT_TRUE(result.fThrew);
    EXPECT_EQ(result.fErrorText, "Map File Errors:\n" + GetParam().fErrors);
}

std::string Body(const std::string& lines) { return Header() + lines; }

INSTANTIATE_TEST_SUITE_P(
    EveryMessage, MapFileMessages,
    testing::Values(
        TMessageCase{"EmptyFile", "", "Line  1: Missing: Thistlemarrow Kinvar Mapping File.\n"},
        TMessageCase{"OnlyComments", "// nothing\n\n// here\n",
                     "Line  1: Missing: Thistlemarrow Kinvar Mapping File.\n"},
        TMessageCase{"WrongFormatVersion",
                     "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.1\n",
                     "Line  2: Missing: File Format Version.\n"},
        TMessageCase{"VersionOfTwoParts",
                     "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.\n",
                     "Line  2: Missing: File Format Version.\n"},
        TMessageCase{"MissingModelAtTheEnd",
                     "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n"
                     "Control Surface Manufacturer\tAcme\n",
                     "Line  3: Missing: Control Surface Model.\n"},
        TMessageCase{"EmptyManufacturer",
                     "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n"
                     "Control Surface Manufacturer\t \nControl Surface Model\tBox\n",
                     "Line  3: Missing: Control Surface Manufacturer.\n"},
        TMessageCase{"BadMapVersion",
                     "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n"
                     "Control Surface Manufacturer\tAcme\nControl Surface Model\tBox\nMap Version\t1..0\n",
                     "Line  5: Missing: Map Version.\n"},
        TMessageCase{"OtherSurface",
                     "// a comment first\nThistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n"
                     "Control Surface Manufacturer\tAcme\nControl Surface Model\tCrate\nMap Version\t1.0.0\n",
                     "Line  4: Wrong Control Surface Manufacturer or Model.\n"},
        TMessageCase{"MapBeforeScope", Body("Map\tFader 1\t\tVolume\n"), "Line  6: No Scope defined.\n"},
        TMessageCase{"GroupBeforeScope", Body("Define Group\tShift\tOn\n"), "Line  6: No Scope defined.\n"},
        TMessageCase{"ScopeWithoutModel", Body("Scope\tHost\t\tExtra\n"),
                     "Line  6: Scope missing Kinvarable Manufacturer or Model.\n"},
        TMessageCase{"ScopeTwiceInAnyCase", Body(kScope + "Scope\tHOST\tmixer\n"),
                     "Line  7: Scope already defined.\n"},
        TMessageCase{"GroupAfterMapLine",
                     Body(kScope + "Map\tFader 1\t\tVolume\nDefine Group\tShift\tOn\n"),
                     "Line  8: Define Group misplaced.\n"},
        TMessageCase{"GroupWithoutName", Body(kScope + "Define Group\t\tOn\n"), "Line  7: Bad group definition.\n"},
        TMessageCase{"GroupTwice", Body(kScope + "Define Group\tShift\tOn\nDefine Group\tShift\tUp\n"),
                     "Line  8: Duplicate group definition.\n"},
        TMessageCase{"ElevenShortcutVariations",
                     Body(kScope + "Define Group\tKeyboard Shortcut Variations\tv1\tv2\tv3\tv4\tv5\tv6\tv7\tv8"
                                   "\tv9\tv10\tv11\n"),
                     "Line  7: Too many keyboard shortcut variations.\n"},
        TMessageCase{"GroupWithoutValues", Body(kScope + "Define Group\tShift\t\t\n"),
                     "Line  7: Empty group value.\n"},
        TMessageCase{"ValueInTwoGroups", Body(kScope + "Define Group\tShift\tOn\nDefine Group\tMode\ton\n"),
                     "Line  8: Duplicate group value.\n"},
        TMessageCase{"MapWithoutItem", Body(kScope + "Map\t\tx\tVolume\n"),
                     "Line  7: Map entry missing control surface item name.\n"},
        TMessageCase{"UnknownItem", Body(kScope + "Map\tFader 9\t\tVolume\n"),
                     "Line  7: Map entry with unknown control surface item.\n"},
        TMessageCase{"ItemTwice", Body(kScope + "Map\tFader 1\t\tVolume\nMap\tfader 1\t\tPan\n"),
                     "Line  8: Map entry: control surface item already mapped in this scope.\n"},
        TMessageCase{"KeyWithConstant", Body(kScope + "Map\tKeys\tC3\t5\n"),
                     "Line  7: Map entry: keyboard key cannot be mapped to constant or group assignment.\n"},
        TMessageCase{"KinvarableTwice", Body(kScope + "Map\tFader 1\t\tVolume\nMap\tEncoder\t\tVolume\n"),
                     "Line  8: Map entry: kinvarable item already mapped in this scope.\n"},
        TMessageCase{"TooFewColumnsForTheKey", Body(kScope + "Map\tFader 1\n"),
                     "Line  7: Map entry missing key column.\n"},
        TMessageCase{"UnreadableKey", Body(kScope + "Map\tKeys\tX3\tPiano\n"),
                     "Line  7: Map entry missing key column.\n"},
        TMessageCase{"NoteOnAButton", Body(kScope + "Map\tButton A\tC3\t5\n"),
                     "Line  7: Map entry with note number for non-keyboard control surface item.\n"},
        TMessageCase{"MissingTarget", Body(kScope + "Map\tFader 1\t\t\t\n"),
                     "Line  7: Map entry missing kinvarable item name.\n"},
        TMessageCase{"BadScale", Body(kScope + "Map\tEncoder\t\tJog\tfast\n"),
                     "Line  7: Map entry with bad scale value.\n"},
        TMessageCase{"UnknownMode", Body(kScope + "Map\tButton A\t\tPlay\t\tFlash\n"),
                     "Line  7: Map entry with unknown mode.\n"},
        TMessageCase{"UnknownGroupValue",
                     Body(kScope + "Define Group\tShift\tOn\tOff\nMap\tFader 1\t\tVolume\t\t\tSideways\n"),
                     "Line  8: Map entry with unknown group value.\n"},
        TMessageCase{"TextConstantWithoutClosingQuote", Body(kScope + "Map\tDisplay\t\t\"Hi\"x\n"),
                     "Line  7: Map entry with bad text constant.\n"},
        TMessageCase{"AssignmentToUnknownGroup", Body(kScope + "Map\tButton A\t\tShift=On\n"),
                     "Line  7: Map entry with unknown group or value in assignment.\n"},
        TMessageCase{"AssignmentWithEmptyValue",
                     Body(kScope + "Define Group\tShift\tOn\nMap\tButton A\t\tShift=\n"),
                     "Line  8: Map entry with unknown group or value in assignment.\n"},
        TMessageCase{"AssignmentGroupNameCaseCounts",
                     Body(kScope + "Define Group\tShift\tOn\nMap\tButton A\t\tshift=On\n"),
                     "Line  8: Map entry with unknown group or value in assignment.\n"},
        TMessageCase{"UndefinedCommand", Body(kScope + "Scop\tA\tB\n"), "Line  7: Undefined command.\n"},
        TMessageCase{"NoteAboveTheKeyboard", Body(kScope + "Map\tKeys\tG#8\tPiano\n// last\n"),
                     "Line  7: Bad mapping.\n"}, // the last line that remains
        TMessageCase{"ValueTwiceInOneGroupLine", Body(kScope + "Define Group\tShift\tOn\ton\n"),
                     "Line  7: Bad mapping.\n"},
        TMessageCase{"ItemNotASCII", Body(kScope + "Map\tF\xC3\xA4""der\t\tVolume\n"),
                     "Line  7: Control Surface Item not 7 bit ASCII.\n"},
        TMessageCase{"GroupNotASCII", Body(kScope + "Define Group\tGr\xC3\xBCppe\tOn\n"),
                     "Line  7: Group name not 7 bit ASCII.\n"},
        TMessageCase{"VariationNotASCII", Body(kScope + "Define Group\tShift\t\xC3\x84n\n"),
                     "Line  7: Variation name not 7 bit ASCII.\n"},
        TMessageCase{"KinvarableNotASCII", Body(kScope + "Map\tFader 1\t\tVol\xC3\xBCme\n"),
                     "Line  7: Kinvarable item name not 7 bit ASCII.\n"}),
    [](const testing::TestParamInfo<TMessageCase>& info) { return std::string(info.param.fName); });

TEST(MapFile, CollectsBadMapLinesInFileOrderAndAFatalFaultEndsTheList)
{
    const TReadResult collected = ReadMapText(Body(kScope + "Map\tNope\t\tA\n"
                                                            "Map\tFader 1\t\tVolume\n"
                                                            "Bogus\n"
                                                            "Map\tKeys\tC3\t7\n"));
    EXPECT_TRUE(collected.fThrew);
    EXPECT_EQ(collected.fErrorText, "Map File Errors:\n"
                                    "Line  7: Map entry with unknown control surface item.\n"
                                    "Line  9: Undefined command.\n"
                                    "Line  10: Map entry: keyboard key cannot be mapped to constant or group "
                                    "assignment.\n");

    const TReadResult fatal = ReadMapText(Body(kScope + "Map\tNope\t\tA\nMap\tNope\t\tB\nScope\tHost\tMixer\n"
                                                        "Map\tNope\t\tC\n"));
    EXPECT_EQ(fatal.fErrorText, "Map File Errors:\n"
                                "Line  7: Map entry with unknown control surface item.\n"
                                "Line  8: Map entry with unknown control surface item.\n"
                                "Line  9: Scope already defined.\n");
}

TEST(MapFile, AGoodFileFillsTheMap)
{
    const TReadResult result = ReadMapText(
        "// maps of the Box\r\n" + Header() +
        "\n"
        "Scope\tHost\tMixer\n"
        "\tstray text behind an empty first column is passed over\n"
        "Define Group\tShift\tShift Off\tShift On\n"
        "Define Group\tKeyboard Shortcut Variations\tv1\t\tv2\tv3\tv4\tv5\tv6\tv7\tv8\tv9\t\tv10\n"
        "Map\tFader 1\t\tVolume\n"
        "Map\tFader 1\t\tPan\t\t\tShift On\n"
        "Map\tkeys\t\tPiano\n"
        "Map\tKeys\tC3\tMetronome\n"
        "Map\tKeys\t61\tCount In\n"
        "Map\tEncoder\t\tJog\t-4\n"
        "Map\tButton A\t\tShift=Shift On\t\tblink\n"
        "Map\tDisplay\t\t\"Hello\tworld\"\n"
        "Scope\tHost\tTransport\n"
        "MAP\tButton A\t\t42\n");
    ASSERT_FALSE(result.fThrew) << result.fErrorText;
    EXPECT_EQ(result.fErrorText, "");
    ASSERT_EQ(result.fMap->GetScopeCount(), 2u);
    const NSKinvar::VMapScope* mixer = result.fMap->FindScope({u"host", u"MIXER"});
    ASSERT_NE(mixer, nullptr);
    EXPECT_EQ(mixer->GetGroupCount(), 2u);
    EXPECT_EQ(mixer->GetGroupValueCount(1), 10u);

    const auto& items = mixer->GetItemMap();
    EXPECT_EQ(items.count(TMapKey{2, -1}), 1u);
    EXPECT_EQ(items.count(TMapKey{2, 60}), 1u);
    EXPECT_EQ(items.count(TMapKey{2, 61}), 1u);
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
    const auto pan = mixer->FindMapEntry(TMapKey{0, -1}, {1, 0});
    EXPECT_EQ(pan.GetKinvarableName(), u"Pan");
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
    const TReadResult result =
        ReadMapText(Body(kScope + first + "\n" + second + "\nMap\tFader 1\t\tVolume\t\t\t\x01" "a99999\tB5\n"));
    ASSERT_FALSE(result.fThrew) << result.fErrorText.substr(0, 300);
    const NSKinvar::VMapScope* mixer = result.fMap->FindScope({u"Host", u"Mixer"});
    ASSERT_NE(mixer, nullptr);
    const NSKinvar::VMapEntry entry = mixer->FindMapEntry(TMapKey{0, -1}, {99'999, 5});
    EXPECT_EQ(entry.GetKinvarableName(), u"Volume");
    EXPECT_EQ(entry.GetVariation(), (NSKinvar::TVariation{99'999, 5}));
}

TEST(MapFile, HeaderAloneIsAGoodFile)
{
    const TReadResult result = ReadMapText(Header());
    EXPECT_FALSE(result.fThrew);
    EXPECT_EQ(result.fMap->GetScopeCount(), 0u);
}

struct TKeyCase
{
    std::u16string fColumn;
    std::optional<i64> fKey;
};

class MapKeys : public testing::TestWithParam<TKeyCase>
{
};

TEST_P(MapKeys, ReadAsNumbersOrNoteNames) { EXPECT_EQ(NSKinvar::ReadMapKey(GetParam().fColumn), GetParam().fKey); }

INSTANTIATE_TEST_SUITE_P(
    Samples, MapKeys,
    testing::Values(TKeyCase{u"", -1}, TKeyCase{u"0", 0}, TKeyCase{u"127", 127}, TKeyCase{u"128", std::nullopt},
                    TKeyCase{u"99999999999999999999999", std::nullopt}, TKeyCase{u"C-2", 0},
                    TKeyCase{u"C3", 60}, TKeyCase{u"c3", 60}, TKeyCase{u"G8", 127}, TKeyCase{u"G#8", 128},
                    TKeyCase{u"A8", 129}, TKeyCase{u"Cb-2", 255}, TKeyCase{u"H2", 59}, TKeyCase{u"Bb2", 58},
                    TKeyCase{u"F#-1", 18}, TKeyCase{u"C9", std::nullopt}, TKeyCase{u"C-3", std::nullopt},
                    TKeyCase{u"C", std::nullopt}, TKeyCase{u"X3", std::nullopt}, TKeyCase{u"-1", std::nullopt}));
} // namespace
