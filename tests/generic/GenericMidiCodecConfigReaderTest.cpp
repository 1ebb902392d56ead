#include "generic/GenericMidiCodecConfigReader.h"

#include "AssertionRecorder.h"
#include "codec/KinvarCodec.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

using namespace NSGenericMidiCodec;

namespace
{
using TRows = std::vector<std::u16string>;

const TRows kHeader = {
    u"Universal MIDI Codec Control Surface Definition File",
    u"File Format Version\t1.0.0",
    u"Control Surface Manufacturer\tAcme",
    u"Control Surface Model\tFader 1",
    u"Codec Version\t1.2.3",
};
const TRows kTables = {
    u"Item Header\tName\tType\tMin\tMax",
    u"Item\tFader\tvalue\t0\t127",
    u"Map Header\tPattern\tName\tValue1\tValue2\tValue3",
    u"Map\tB0 07 xx\tFader\tx\t\t\t",
};

std::u16string Join(const TRows& rows)
{
    std::u16string text;
    for (const auto& row : rows)
        text.append(row).append(u"\n");
    return text;
}

// The header, the given middle rows, then the given tables.
std::u16string File(const TRows& middle, const TRows& tables = kTables)
{
    TRows rows = kHeader;
    rows.insert(rows.end(), middle.begin(), middle.end());
    rows.insert(rows.end(), tables.begin(), tables.end());
    return Join(rows);
}

std::u16string WithHeader(std::size_t index, std::u16string row)
{
    TRows rows = kHeader;
    rows[index] = std::move(row);
    rows.insert(rows.end(), kTables.begin(), kTables.end());
    return Join(rows);
}

std::u16string Hex(std::size_t count, std::u16string_view first = u"F0", std::u16string_view last = u"F7")
{
    std::u16string text(first);
    for (std::size_t i = 2; i < count; ++i)
        text.append(u" 01");
    return text.append(u" ").append(last);
}

CGenericMidiCodecConfig ReadOk(std::u16string_view text)
{
    CGenericMidiCodecConfigReader reader;
    try
    {
        return reader.Read(text, u"test.midicodec");
    }
    catch (const std::exception&)
    {
        ADD_FAILURE() << "refused: " << NSTextPackage::UTF8FromText16(reader.GetFault().fDetail);
        throw;
    }
}

TEST(DefinitionReader, ReadsTheWholeSmallFile)
{
    const CGenericMidiCodecConfig config = ReadOk(Join({
        u"Universal MIDI Codec Control Surface Definition File",
        u"File Format Version\t1.0.0",
        u"Control Surface Manufacturer\tAcme",
        u"Control Surface Model\tFader 1",
        u"Codec Version\t1.0.0",
        u"MIDI Input Ports\t1",
        u"Identity Request\tF0 7E 7F 06 01 F7",
        u"Identity Response\tF0 7E ?? 06 02",
        u"Setup\tF0 00 01 02 F7",
        u"// the single fader",
        u"Item Header\tName\tType\tMin\tMax",
        u"Item\tFader\tvalue\t0\t127",
        u"Item\tPlay\tbutton\t0\t1",
        u"Map Header\tPattern\tName\tValue1\tValue2\tValue3",
        u"Map\tB0 07 xx\tFader\tx\t\t\t",
        u"Map\t90 10 xx\tPlay\tx/127\t\t\t",
    }));
    EXPECT_EQ(config.fManufacturer, u"Acme");
    EXPECT_EQ(config.fModel, u"Fader 1");
    EXPECT_EQ(config.fInPortCount, 1u);
    EXPECT_EQ(config.fIdentityRequest, (TMIDIBytes{0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7}));
    EXPECT_EQ(config.fIdentityResponse, "F0 7E ?? 06 02");
    EXPECT_EQ(config.fSetupMessages, (std::vector<TMIDIBytes>{{0xF0, 0x00, 0x01, 0x02, 0xF7}}));
    EXPECT_FALSE(config.fHasKeyboard);
    ASSERT_EQ(config.fItems.size(), 2u);
    EXPECT_EQ(config.fItems[1].fName, u"Play");
    EXPECT_EQ(config.fItems[1].fInputKind, NSKinvarCodec::kInputButton);
    ASSERT_EQ(config.fItems[1].fRules.size(), 1u);
    i64 v1 = 0, v2 = 0, v3 = 0;
    const u8 press[] = {0x90, 0x10, 0x7F};
    EXPECT_TRUE(config.fItems[1].fRules[0].Match(press, 3, v1, v2, v3));
    EXPECT_EQ(v1, 1);
}

TEST(DefinitionReader, ComparesKeyWordsWithoutCaseButKeepsValues)
{
    const CGenericMidiCodecConfig config = ReadOk(Join({
        u"universal midi codec control surface definition file",
        u"file format version\t1.0.0",
        u"CONTROL SURFACE MANUFACTURER\taCmE",
        u"Control Surface Model\tx",
        u"Codec Version\t3.2.1",
        u"item header\tNAME\ttype\tmin\tmax",
        u"ITEM\tKeys\tKEYBOARD\t0\t127",
        u"map header\tpattern\tname\tvalue1\tvalue2\tvalue3",
        u"map\t9? xx yy\tkeys\t1\tx\ty\t",
    }));
    EXPECT_EQ(config.fManufacturer, u"aCmE");
    EXPECT_EQ(config.fCodecVersion, (std::array<u32, 3>{3, 2, 1}));
    EXPECT_TRUE(config.fHasKeyboard);
    EXPECT_EQ(config.fItems[0].fRules.size(), 1u) << "the map row found its item without regard to case";
}

TEST(DefinitionReader, JoinsTextRowsAndKeepsOptionalRowsOptional)
{
    const CGenericMidiCodecConfig config = ReadOk(File({
        u"MIDI Input Ports\t16",
        u"Identity Response\tF0 7E",
        u"Setup Info Text\tFirst\t\tpart",
        u"Setup Info Text\t\tSecond",
        u"Setup User Action Text\t\"Press\tShift\"",
        u"Setup\tF0 F7",
        u"Setup\tB0 7F 00",
        u"Setup\t" + Hex(1024),
    }));
    EXPECT_EQ(config.fInPortCount, 16u) << "the reader lets 16 pass";
    EXPECT_TRUE(config.fIdentityRequest.empty()) << "a response without a request is accepted";
    EXPECT_EQ(config.fSetupInfoText, u"First\t\tpart\rSecond");
    EXPECT_EQ(config.fSetupWarningText, u"");
    EXPECT_EQ(config.fSetupUserActionText, u"Press\tShift");
    ASSERT_EQ(config.fSetupMessages.size(), 3u);
    EXPECT_EQ(config.fSetupMessages[2].size(), 1024u);
}

TEST(DefinitionReader, NarrowsItemBoundsTo32Bits)
{
    const CGenericMidiCodecConfig config = ReadOk(File({}, {
        u"Item Header\tName\tType\tMin\tMax",
        u"Item\tWide\tvalue\t5000000000\t+ 999999999abc",
        u"Item\tNegative\tdelta\t-2147483648\t-1",
        u"Map Header\tPattern\tName\tValue1\tValue2\tValue3",
    }));
    ASSERT_EQ(config.fItems.size(), 2u);
    EXPECT_EQ(config.fItems[0].fMin, 705032704);
    EXPECT_EQ(config.fItems[0].fMax, 999999999);
    EXPECT_EQ(config.fItems[1].fMin, -2147483648LL);
}

TEST(DefinitionReader, IgnoresEverythingBehindTheLastMapRow)
{
    TRows tables = kTables;
    tables.insert(tables.end(), {u"Item\tLate\tnonsense", u"Map\t12 3\tNobody\t\t\t", u"garbage"});
    const CGenericMidiCodecConfig config = ReadOk(File({}, tables));
    EXPECT_EQ(config.fItems.size(), 1u);
}

TEST(DefinitionReader, AcceptsTablesWithoutItemsOrRules)
{
    const CGenericMidiCodecConfig config = ReadOk(File({}, {
        u"Item Header\tName\tType\tMin\tMax",
        u"Map Header\tPattern\tName\tValue1\tValue2\tValue3",
    }));
    EXPECT_TRUE(config.fItems.empty());
}

struct TFaultCase
{
    const char* fName;
    std::u16string fText;
    std::u16string fDetail;
    std::size_t fAssertions = 0;
};

class DefinitionFaults : public testing::TestWithParam<TFaultCase>
{
};

TEST_P(DefinitionFaults, GiveTheScanDetailWithTheRightLine)
{
    const TFaultCase& c = GetParam();
    CGenericMidiCodecConfigReader reader;
    NSTesting::CExpectAssertions expect;
    try
    {
        reader.Read(c.fText, u"f.midicodec");
        ADD_FAILURE() << "accepted";
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), "syntax error");
    }
    EXPECT_EQ(NSTextPackage::UTF8FromText16(reader.GetFault().fDetail), NSTextPackage::UTF8FromText16(c.fDetail));
    EXPECT_EQ(expect.Count(), c.fAssertions);
}

const TRows kItemHeader = {u"Item Header\tName\tType\tMin\tMax"};
const TRows kMapHeader = {u"Map Header\tPattern\tName\tValue1\tValue2\tValue3"};

TRows Rows(std::initializer_list<TRows> parts)
{
    TRows rows;
    for (const auto& part : parts)
        rows.insert(rows.end(), part.begin(), part.end());
    return rows;
}

INSTANTIATE_TEST_SUITE_P(
    Files, DefinitionFaults,
    testing::Values(
        TFaultCase{"NoRowsAtAll", u"", u"Error:Empty Config File f.midicodec(1)"},
        TFaultCase{"OnlyCommentAndBlankRows", u"// nothing\n\n\t\t\n", u"Error:Empty Config File f.midicodec(1)"},
        TFaultCase{"WrongFirstRow", WithHeader(0, u"Universal MIDI Codec"),
                   u"Line  1: Missing: Universal MIDI Codec Control Surface Definition File.\n"},
        TFaultCase{"FormatVersion101", WithHeader(1, u"File Format Version\t1.0.1"),
                   u"Line  2: Missing: File Format Version.\n"},
        TFaultCase{"FormatVersion200", WithHeader(1, u"File Format Version\t2.0.0"),
                   u"Line  2: Missing: File Format Version.\n"},
        TFaultCase{"EmptyManufacturer", WithHeader(2, u"Control Surface Manufacturer\t\tAcme"),
                   u"Line  3: Missing: Control Surface Manufacturer.\n"},
        TFaultCase{"ModelRowMissing", WithHeader(3, u"Codec Version\t1.0.0"), u"Line  4: Missing: Control Surface Model.\n"},
        TFaultCase{"CodecVersionOfTwoParts", WithHeader(4, u"Codec Version\t1.0"), u"Line  5: Missing: Codec Version.\n"},
        TFaultCase{"HeaderLineCountsComments", u"// a comment\n\n" + WithHeader(4, u"Codec Version\t1.x.0"),
                   u"Line  7: Missing: Codec Version.\n"},
        TFaultCase{"TwoPortRows", File({u"MIDI Input Ports\t1", u"MIDI Input Ports\t2"}),
                   u"Error:Too many \"MIDI Input Ports\" definitions f.midicodec(7)"},
        TFaultCase{"PortsNoNumber", File({u"MIDI Input Ports\tmany"}), u"Error:Bad MIDI Input Ports Number f.midicodec(6)"},
        TFaultCase{"PortsZero", File({u"MIDI Input Ports\t0"}), u"Error:Too few MIDI Input Ports f.midicodec(6)"},
        TFaultCase{"Ports17", File({u"MIDI Input Ports\t17"}), u"Error:Too few MIDI Input Ports f.midicodec(6)"},
        TFaultCase{"TwoRequests", File({u"Identity Request\tF0 F7", u"Identity Request\tF0 F7"}),
                   u"Error:Too many Identity Request messages f.midicodec(7)"},
        TFaultCase{"TwoResponses",
                   File({u"Identity Request\tF0 F7", u"Identity Response\tF0", u"Identity Response\tF0"}),
                   u"Error:Too many Identity Response messages f.midicodec(8)"},
        TFaultCase{"RequestWithoutResponse", File({u"Identity Request\tF0 7E 7F 06 01 F7"}),
                   u"Error:Missing Identity Response message f.midicodec(7)"},
        TFaultCase{"SetupStartInside", File({u"Setup\t90 F0 F7"}),
                   u"Error:Setup: Sysex Start (F0) must be the at start of the line. f.midicodec(6)"},
        TFaultCase{"SetupEndInside", File({u"Setup\tF7 90"}),
                   u"Error:Setup: Sysex End (F7) must be at the end of the line. f.midicodec(6)"},
        TFaultCase{"SetupTooBig", File({u"Setup\tB0 00 00", u"Setup\t" + Hex(1025)}),
                   u"Error:Too big Setup message f.midicodec(7)"},
        TFaultCase{"SetupBadHexDigit", File({u"Setup\t9G 00"}), u"", 1},
        TFaultCase{"RequestOddDigits", File({u"Identity Request\tF 0 7", u"Identity Response\tF0"}), u"", 1},
        TFaultCase{"SetupTabIsNoBlank", File({u"Setup\tB0\t00"}), u"", 1},
        TFaultCase{"NoItemHeader", File({}, Rows({{u"Item\tFader\tvalue\t0\t1"}, kMapHeader})),
                   u"Error:Expected 'Item Header' f.midicodec(6)"},
        TFaultCase{"ShortItemHeader", File({}, {u"Item Header\tName\tType\tMin"}),
                   u"Error:Unexpected End Of Line f.midicodec(6)"},
        TFaultCase{"WrongItemTitle", File({}, {u"Item Header\tName\tKind\tMin\tMax"}),
                   u"Error:Expected 'Type' f.midicodec(6)"},
        TFaultCase{"ShortItemRow", File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t"}})),
                   u"Error:Unexpected End Of Line f.midicodec(7)"},
        TFaultCase{"UnknownItemType", File({}, Rows({kItemHeader, {u"Item\tFader\tslider\t0\t1"}})),
                   u"Error:Unknown item type f.midicodec(7)"},
        TFaultCase{"DuplicateNameInOtherCase",
                   File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t1", u"Item\tFADER\tvalue\t0\t1"}})),
                   u"Error:Duplicate item name f.midicodec(8)"},
        TFaultCase{"BadMin", File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\tlow\t1"}})), u"", 1},
        TFaultCase{"NoMapHeaderAtEnd", File({}, kItemHeader), u"Error:Expected 'Map Header' f.midicodec(8)"},
        TFaultCase{"WrongMapTitle",
                   File({}, Rows({kItemHeader, {u"Map Header\tPattern\tName\tValue1\tValue 2\tValue3"}})),
                   u"Error:Expected 'Value2' f.midicodec(7)"},
        TFaultCase{"MapRowOneTabShort",
                   File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t1"}, kMapHeader, {u"Map\tB0 07 xx\tFader\tx\t\t"}})),
                   u"Error:Unexpected End Of Line f.midicodec(9)"},
        TFaultCase{"UnknownItemName",
                   File({}, Rows({kItemHeader, kMapHeader, {u"Map\tB0 07 xx\tFader\tx\t\t\t"}})),
                   u"Error:Unknown item name f.midicodec(8)"},
        TFaultCase{"PatternError",
                   File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t1"}, kMapHeader, {u"Map\t<<\tFader\tx\t\t\t"}})),
                   u"Error:Map error: Nested <:s f.midicodec(9)"},
        TFaultCase{"ExpressionWithoutOperand",
                   File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t1"}, kMapHeader, {u"Map\tB0 xx\tFader\t\t1+\t\t"}})),
                   u"Error: f.midicodec(9)", 1},
        TFaultCase{"ExpressionOfAMillionParentheses",
                   File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t1"}, kMapHeader,
                                  {u"Map\tB0 xx\tFader\t" + TText16(1'000'000, u'(') + u"x\t\t\t"}})),
                   u"Error:Expression too long f.midicodec(9)"},
        // A quoted line end: the rows behind it count table rows, not line ends.
        TFaultCase{"RowsBehindAQuotedLineEnd",
                   File({u"Setup Info Text\t\"two\nlines\""}, {u"Item Header\tName\tType\tMin\tMax\tExtra", u"Item\tx"}),
                   u"Error:Unexpected End Of Line f.midicodec(8)"}),
    [](const auto& info) { return std::string(info.param.fName); });

TEST(DefinitionReader, MinAboveMaxIsReportedButAccepted)
{
    NSTesting::CExpectAssertions expect;
    const CGenericMidiCodecConfig config = ReadOk(File({}, Rows({kItemHeader, {u"Item\tUpside\tvalue\t10\t0"}, kMapHeader})));
    EXPECT_EQ(expect.Count(), 1u);
    EXPECT_EQ(config.fItems.size(), 1u);
}

TEST(DefinitionReader, AnEmptyPatternCellIsReportedButAccepted)
{
    NSTesting::CExpectAssertions expect;
    const CGenericMidiCodecConfig config =
        ReadOk(File({}, Rows({kItemHeader, {u"Item\tAny\tbutton\t0\t1"}, kMapHeader, {u"Map\t\tAny\t1\t\t\t"}})));
    EXPECT_EQ(expect.Count(), 1u);
    EXPECT_EQ(config.fItems[0].fRules.size(), 1u);
}
} // namespace
