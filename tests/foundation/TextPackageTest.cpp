#include "foundation/TextPackage.h"

#include "foundation/Exceptions.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

using namespace NSTextPackage;
using NSTesting::CExpectAssertions;

namespace
{
TEST(TextValidity, FollowsSurrogateRules)
{
    const std::pair<TText16, bool> cases[] = {
        {u"", true}, {u"plain", true}, {TText16{0xD800, 0xDC00}, true}, {TText16{0xDBFF, 0xDFFF}, true},
        {TText16{0xDC00}, false},               // lone low
        {TText16{u'a', 0xD800}, false},         // high at the end
        {TText16{0xD800, u'a'}, false},         // high before a non-low
        {TText16{0xD800, 0xD800, 0xDC00}, false}, // two highs
        {TText16{0xDC00, 0xD800}, false}};      // reversed pair
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(IsValidText(cases[i].first), cases[i].second) << "case " << i;
}

TEST(TextConversion, SurrogatePairsRoundTripThroughCodePoints)
{
    EXPECT_EQ(Text16FromText32({0x10000}), (TText16{0xD800, 0xDC00}));
    EXPECT_EQ(Text16FromText32({0x10FFFF}), (TText16{0xDBFF, 0xDFFF}));
    EXPECT_EQ(Text32FromText16(TText16{0xD834, 0xDD1E}), (TText32{0x1D11E}));
    const TText16 mixed = u"a\u00E9\u20AC" + TText16{0xD83C, 0xDFB9};
    EXPECT_EQ(Text16FromText32(Text32FromText16(mixed)), mixed);
}

TEST(TextConversion, LoneSurrogatesFailWithAnAssertion)
{
    CExpectAssertions expect;
    EXPECT_THROW(Text32FromText16(TText16{0xDC00}), XIllegalTextFormat);
    EXPECT_THROW(Text32FromText16(TText16{u'x', 0xD800}), XIllegalTextFormat);
    EXPECT_THROW(UTF8FromText16(TText16{0xDFFF}), XIllegalTextFormat);
    EXPECT_GE(expect.Count(), 3u);
}

TEST(TextConversion, UTF8EncodesUpTo0x3FFFFFAndNoFurther)
{
    EXPECT_EQ(UTF8FromText32({0x41, 0xE9, 0x20AC, 0x1F3B9}), "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xB9");
    // The four-byte form is stretched past the Unicode range: the lead byte
    // takes six bits of the top, so it spills into the lead-byte markers.
    EXPECT_EQ(UTF8FromText32({0x10FFFF}), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(UTF8FromText32({0x3FFFFF}), "\xFF\xBF\xBF\xBF");
    CExpectAssertions expect;
    EXPECT_THROW(UTF8FromText32({0x400000}), XIllegalTextFormat);
    EXPECT_EQ(expect.Count(), 1u);
}

TEST(TextConversion, UTF8DecodingOfLongFormsAndBadLeads)
{
    EXPECT_EQ(Text32FromUTF8("\xF8\x88\x80\x80\x80"), (TText32{0x200000}));           // five bytes
    EXPECT_EQ(Text32FromUTF8("\xFC\x84\x80\x80\x80\x80"), (TText32{0x4000000}));      // six bytes
    // 0xFE takes its first continuation byte whole and moves on by six, so the
    // seventh byte is read again as the next lead.
    EXPECT_EQ(Text32FromUTF8("\xFE\x01\x80\x80\x80\x80\x41"), (TText32{0x40000001, 0x41}));
    EXPECT_EQ(Text32FromUTF8(std::string_view("ab\0cd", 5)), (TText32{u'a', u'b'}));
    CExpectAssertions expect;
    EXPECT_THROW(Text32FromUTF8("\x80"), XIllegalTextFormat);
    EXPECT_THROW(Text32FromUTF8("a\xFF"), XIllegalTextFormat);
    EXPECT_EQ(expect.Count(), 2u);
}

TEST(TextConversion, TextFromOutsideReplacesMalformedBytesAndKeepsTheRest)
{
    EXPECT_EQ(Text16FromUTF8("Caf\xC3\xA9"), u"Caf\u00E9");
    EXPECT_EQ(Text16FromUTF8("Caf\xE9 ok"), u"Caf\uFFFD ok");          // a Latin-1 byte
    EXPECT_EQ(Text16FromUTF8("\xED\xA0\x80x", u'?'), u"???x");          // an encoded surrogate
    EXPECT_EQ(Text16FromUTF8("\xC0\x80"), u"\uFFFD\uFFFD");             // overlong
    EXPECT_EQ(Text16FromUTF8("\xF0\x9F\x8E"), u"\uFFFD\uFFFD\uFFFD");   // cut short
    EXPECT_EQ(Text16FromUTF8("\xF0\x9F\x8E\xB9"), (TText16{0xD83C, 0xDFB9}));
    EXPECT_EQ(UTF8FromText16(Text16FromUTF8("Fader \xE2\x82\xAC")), "Fader \xE2\x82\xAC");
}

// Every character beyond 7 bits once cost a pass over the rest of the text,
// so that a 10 MB file of accented names never finished decoding.
TEST(TextConversion, TextFromOutsideOfTenMegabytesBeyondSevenBitsDecodesWhole)
{
    const std::string_view piece = "\xC3\xA9\xF0\x9F\x8E\xB9" "a\xFF"; // e acute, a pair, a, a bad byte
    const TText16 decodedPiece = {0x00E9, 0xD83C, 0xDFB9, u'a', 0xFFFD};
    constexpr std::size_t kPieces = 10'000'000 / 8;
    std::string bytes;
    bytes.reserve(kPieces * piece.size());
    for (std::size_t i = 0; i < kPieces; ++i)
        bytes += piece;
    const TText16 text = Text16FromUTF8(bytes);
    ASSERT_EQ(text.size(), kPieces * decodedPiece.size());
    for (const std::size_t at : {std::size_t(0), kPieces / 2, kPieces - 1})
        EXPECT_EQ(text.substr(at * decodedPiece.size(), decodedPiece.size()), decodedPiece) << "piece " << at;
}

TEST(TextConversion, ASCIIReplacementRules)
{
    EXPECT_EQ(Text16FromASCII("a\xC3z", u'?'), u"a?z");
    EXPECT_EQ(ASCIIFromText16(u"a\u00E9z", '_'), "a_z");
    CExpectAssertions expect;
    EXPECT_THROW(Text16FromASCII("\xC3", 0), XIllegalTextFormat);
    EXPECT_EQ(expect.Count(), 1u);
}

TEST(TextFromBytes, AcceptsUTF8WithOrWithoutMarkAndRefusesTheOthers)
{
    const std::string marked = "\xEF\xBB\xBF" "1 {x}";
    CRawByteReader markedReader(marked.data(), marked.size());
    bool found = false;
    EXPECT_EQ(Text16FromBytes(markedReader, 0, marked.size(), u'?', &found), u"1 {x}");
    EXPECT_TRUE(found);

    const std::string plain = "na\xC3\xAFve";
    CRawByteReader plainReader(plain.data(), plain.size());
    EXPECT_EQ(Text16FromBytes(plainReader, 0, plain.size(), u'?', &found), u"na\u00EFve");
    EXPECT_FALSE(found);

    const std::string utf16 = "\xFF\xFE" "a\0";
    CRawByteReader utf16Reader(utf16.data(), utf16.size());
    EXPECT_THROW(Text16FromBytes(utf16Reader, 0, utf16.size(), u'?'), XIllegalTextFormat);
}

TEST(TextCopy, IsLimitedAndAlwaysTerminated)
{
    char16 destination[4] = {9, 9, 9, 9};
    CopyText16(u"abcdef", destination, 3);
    EXPECT_EQ(TText16(destination), u"abc");
    EXPECT_EQ(Text16Length(destination), 3u);
    CopyText16(u"", destination, 3);
    EXPECT_EQ(Text16Length(destination), 0u);
    EXPECT_EQ(FormatDouble(2.0 / 3.0, 2), "0.67");
}

TEST(Substitution, FillsPlaceholdersAndCountsThem)
{
    const struct
    {
        TText16 fFormat;
        std::vector<TText16> fParameters;
        TText16 fResult;
        bool fAsserts;
    } cases[] = {
        {u"Line  ^0: ^1", {u"12", u"Undefined command."}, u"Line  12: Undefined command.", false},
        {u"x^1y", {u"only"}, u"xy", true},         // past the list, and one unused
        {u"100%^", {}, u"100%^", false},           // a ^ without digit stays
        {u"^a^", {}, u"^a^", false},
        {u"^0^0", {u"ab"}, u"abab", false},        // used twice counts twice
        {u"^0^0", {u"a", u"b"}, u"aa", false},     // counted, not matched: no report
        {u"^10", {u"0", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"ten"}, u"ten", true}, // the eleventh, not ^1 then 0
        {u"^99999999999999999999", {u"p"}, u"", true}, // no wrap into the list
        {u"[^0]", {u"[x]"}, u"[[x]]", false}};
    for (const auto& c : cases)
    {
        CExpectAssertions expect;
        EXPECT_EQ(SubstituteParameters(c.fFormat, 0, c.fParameters), c.fResult) << UTF8FromText16(c.fFormat);
        EXPECT_EQ(expect.Count() > 0, c.fAsserts) << UTF8FromText16(c.fFormat);
    }
}
} // namespace
