#include "generic/GenericMidiCodecConfigReader.h"

#include "AssertionRecorder.h"
#include "codec/KinvarCodec.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NSGenericMidiCodec;

namespace
{
using TRows = std::vector<std::u16string>;

const TRows kHeader = {u"Universal MIDI Codec Control Surface Definition File", u"File Format Version\t1.0.0",
                       u"Control Surface Manufacturer\tAcme", u"Control Surface Model\tFader 1", u"Codec Version\t1.2.3"};
const TRows kItemHeader = {u"Item Header\tName\tType\tMin\tMax"};
const TRows kMapHeader = {u"Map Header\tPattern\tName\tValue1\tValue2\tValue3"};
const TRows kTables = {kItemHeader[0], u"Item\tFader\tvalue\t0\t127", kMapHeader[0], u"Map\tB0 07 xx\tFader\tx\t\t\t"};

TRows Rows(std::initializer_list<TRows> parts)
{
    TRows rows;
    for (const auto& part : parts)
        rows.insert(rows.end(), part.begin(), part.end());
    return rows;
}

std::u16string Join(const TRows& rows)
{
    std::u16string text;
    for (const auto& row : rows)
        text.append(row).append(u"\n");
    return text;
}

// The header, the given middle rows, then the given tables.
std::u16string File(const TRows& middle, const TRows& tables = kTables) { return Join(Rows({kHeader, middle, tables})); }

std::u16string WithHeader(std::size_t index, std::u16string row)
{
    TRows header = kHeader;
    header[index] = std::move(row);
    return Join(Rows({header, kTables}));
}

// A sysex of count bytes.
std::u16string Hex(std::size_t count)
{
    std::u16string text(u"F0");
    for (std::size_t i = 2; i < count; ++i)
        text.append(u" 01");
    return text.append(u" F7");
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

// Key words are compared without case. An upside-down item and an empty pattern cell are reported but accepted.
TEST(DefinitionReader, JoinsTextRowsAndKeepsOptionalRowsOptional)
{
    NSTesting::CExpectAssertions expect;
    const CGenericMidiCodecConfig config = ReadOk(
        File({u"midi input PORTS\t16", u"Identity Response\tF0 7E", u"Setup Info Text\tFirst\t\tpart",
              u"Setup Info Text\t\tSecond", u"Setup User Action Text\t\"Press\tShift\"", u"Setup\tF0 F7",
              u"Setup\tB0 7F 00", u"Setup\t" + Hex(1024)},
             Rows({kItemHeader, {u"Item\tUpside\tvalue\t10\t0", u"Item\tAny\tbutton\t0\t1"}, kMapHeader,
                   {u"Map\t\tAny\t1\t\t\t"}})));
    EXPECT_EQ(expect.Count(), 2u);
    EXPECT_EQ(config.fItems.at(1).fRules.size(), 1u);
    EXPECT_EQ(config.fInPortCount, 16u) << "the reader lets 16 pass";
    EXPECT_TRUE(config.fIdentityRequest.empty()) << "a response without a request is accepted";
    EXPECT_EQ(config.fSetupInfoText, u"First\t\tpart\rSecond");
    EXPECT_EQ(config.fSetupWarningText, u"");
    EXPECT_EQ(config.fSetupUserActionText, u"Press\tShift");
    ASSERT_EQ(config.fSetupMessages.size(), 3u);
    EXPECT_EQ(config.fSetupMessages[2].size(), 1024u);
}

TEST(DefinitionReader, FaultsGiveTheScanDetailWithTheRightLine)
{
    struct TCase
    {
        const char* fName;
        std::u16string fText;
        std::u16string fDetail;
        std::size_t fAssertions = 0;
    };
    const TRows kFader = {u"Item\tFader\tvalue\t0\t1"};
    const TCase cases[] = {
        {"NoRowsAtAll", u"", u"Error:Empty Config File f.midicodec(1)"},
        {"OnlyCommentAndBlankRows", u"// nothing\n\n\t\t\n", u"Error:Empty Config File f.midicodec(1)"},
        {"WrongFirstRow", WithHeader(0, u"Universal MIDI Codec"),
         u"Line  1: Missing: Universal MIDI Codec Control Surface Definition File.\n"},
        {"FormatVersion101", WithHeader(1, u"File Format Version\t1.0.1"), u"Line  2: Missing: File Format Version.\n"},
        {"EmptyManufacturer", WithHeader(2, u"Control Surface Manufacturer\t\tAcme"),
         u"Line  3: Missing: Control Surface Manufacturer.\n"},
        {"ModelRowMissing", WithHeader(3, u"Codec Version\t1.0.0"), u"Line  4: Missing: Control Surface Model.\n"},
        {"CodecVersionOfTwoParts", WithHeader(4, u"Codec Version\t1.0"), u"Line  5: Missing: Codec Version.\n"},
        {"HeaderLineCountsComments", u"// a comment\n\n" + WithHeader(4, u"Codec Version\t1.x.0"),
         u"Line  7: Missing: Codec Version.\n"},
        {"TwoPortRows", File({u"MIDI Input Ports\t1", u"MIDI Input Ports\t2"}),
         u"Error:Too many \"MIDI Input Ports\" definitions f.midicodec(7)"},
        {"PortsNoNumber", File({u"MIDI Input Ports\tmany"}), u"Error:Bad MIDI Input Ports Number f.midicodec(6)"},
        {"PortsZero", File({u"MIDI Input Ports\t0"}), u"Error:Too few MIDI Input Ports f.midicodec(6)"},
        {"TwoRequests", File({u"Identity Request\tF0 F7", u"Identity Request\tF0 F7"}),
         u"Error:Too many Identity Request messages f.midicodec(7)"},
        {"TwoResponses", File({u"Identity Request\tF0 F7", u"Identity Response\tF0", u"Identity Response\tF0"}),
         u"Error:Too many Identity Response messages f.midicodec(8)"},
        {"RequestWithoutResponse", File({u"Identity Request\tF0 7E 7F 06 01 F7"}),
         u"Error:Missing Identity Response message f.midicodec(7)"},
        {"SetupStartInside", File({u"Setup\t90 F0 F7"}),
         u"Error:Setup: Sysex Start (F0) must be the at start of the line. f.midicodec(6)"},
        {"SetupEndInside", File({u"Setup\tF7 90"}),
         u"Error:Setup: Sysex End (F7) must be at the end of the line. f.midicodec(6)"},
        {"SetupTooBig", File({u"Setup\tB0 00 00", u"Setup\t" + Hex(1025)}),
         u"Error:Too big Setup message f.midicodec(7)"},
        {"SetupBadHexDigit", File({u"Setup\t9G 00"}), u"", 1},
        {"RequestOddDigits", File({u"Identity Request\tF 0 7", u"Identity Response\tF0"}), u"", 1},
        {"SetupTabIsNoBlank", File({u"Setup\tB0\t00"}), u"", 1},
        {"NoItemHeader", File({}, Rows({kFader, kMapHeader})), u"Error:Expected 'Item Header' f.midicodec(6)"},
        {"ShortItemHeader", File({}, {u"Item Header\tName\tType\tMin"}),
         u"Error:Unexpected End Of Line f.midicodec(6)"},
        {"WrongItemTitle", File({}, {u"Item Header\tName\tKind\tMin\tMax"}), u"Error:Expected 'Type' f.midicodec(6)"},
        {"ShortItemRow", File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t"}})),
         u"Error:Unexpected End Of Line f.midicodec(7)"},
        {"UnknownItemType", File({}, Rows({kItemHeader, {u"Item\tFader\tslider\t0\t1"}})),
         u"Error:Unknown item type f.midicodec(7)"},
        {"DuplicateNameInOtherCase",
         File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\t0\t1", u"Item\tFADER\tvalue\t0\t1"}})),
         u"Error:Duplicate item name f.midicodec(8)"},
        {"BadMin", File({}, Rows({kItemHeader, {u"Item\tFader\tvalue\tlow\t1"}})), u"", 1},
        {"NoMapHeaderAtEnd", File({}, kItemHeader), u"Error:Expected 'Map Header' f.midicodec(8)"},
        {"WrongMapTitle", File({}, Rows({kItemHeader, {u"Map Header\tPattern\tName\tValue1\tValue 2\tValue3"}})),
         u"Error:Expected 'Value2' f.midicodec(7)"},
        {"MapRowOneTabShort", File({}, Rows({kItemHeader, kFader, kMapHeader, {u"Map\tB0 07 xx\tFader\tx\t\t"}})),
         u"Error:Unexpected End Of Line f.midicodec(9)"},
        {"UnknownItemName", File({}, Rows({kItemHeader, kMapHeader, {u"Map\tB0 07 xx\tFader\tx\t\t\t"}})),
         u"Error:Unknown item name f.midicodec(8)"},
        {"PatternError", File({}, Rows({kItemHeader, kFader, kMapHeader, {u"Map\t<<\tFader\tx\t\t\t"}})),
         u"Error:Map error: Nested <:s f.midicodec(9)"},
        {"ExpressionWithoutOperand",
         File({}, Rows({kItemHeader, kFader, kMapHeader, {u"Map\tB0 xx\tFader\t\t1+\t\t"}})),
         u"Error: f.midicodec(9)", 1},
        {"ExpressionOfAMillionParentheses", File({}, Rows({kItemHeader, kFader, kMapHeader,
                                  {u"Map\tB0 xx\tFader\t" + TText16(1'000'000, u'(') + u"x\t\t\t"}})),
         u"Error:Expression too long f.midicodec(9)"},
        // A quoted line end: the rows behind it count table rows, not line ends.
        {"RowsBehindAQuotedLineEnd",
         File({u"Setup Info Text\t\"two\nlines\""}, {u"Item Header\tName\tType\tMin\tMax\tExtra", u"Item\tx"}),
         u"Error:Unexpected End Of Line f.midicodec(8)"}};
    for (const TCase& c : cases)
    {
        SCOPED_TRACE(c.fName);
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
}

} // namespace
