#include "codec/TableReader.h"

#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace
{
struct TTableCase
{
    const char* fName;
    std::u16string_view fText;
    TTableOptions fOptions;
    TMapLines fLines; // each kept line with its physical index
};

TEST(TableReader, SplitsFiltersAndCleansColumns)
{
    const TTableCase cases[] = {
        {"each line end counts once", u"a\tb\nc\td\re\tf\r\ng\th\n", {},
         {{0, {u"a", u"b"}}, {1, {u"c", u"d"}}, {2, {u"e", u"f"}}, {3, {u"g", u"h"}}}},
        {"a line end adds no empty column", u"Map\tp\tn\tx\t\t\n", {},
         {{0, {u"Map", u"p", u"n", u"x", u""}}}},
        {"a tab does", u"\tb\t\t\n", {}, {{0, {u"", u"b", u""}}}},
        {"last line without line end needs two columns", u"x\ty\nlonely", {}, {{0, {u"x", u"y"}}}},
        {"a tab alone makes no second column", u"x\ty\nlonely\t", {}, {{0, {u"x", u"y"}}}},
        {"last line kept", u"x\ty\nkept\there", {}, {{0, {u"x", u"y"}}, {1, {u"kept", u"here"}}}},
        {"quoted tabs and line ends count for nothing", u"a\t\"b\tc\nd\"\te\nf\tg\n", {},
         {{0, {u"a", u"\"b\tc\nd\"", u"e"}}, {1, {u"f", u"g"}}}},
        {"a quote opens anywhere", u"ab\"c\td\"e\tf\n", {}, {{0, {u"ab\"c\td\"e", u"f"}}}},
        {"a quote without partner takes the rest", u"a\tb\"c\nd\te\n", {},
         {{0, {u"a", u"b\"c\nd\te\n"}}}},
        {"blank and comment lines go, their numbers stay",
         u"\n\t\t\n// note\tx\n/\ty\nz\t// not a comment\n", {},
         {{3, {u"/", u"y"}}, {4, {u"z", u"// not a comment"}}}},
        {"trimming takes blanks only, after the filter", u"  a \t\"b \" \n   \t \n", kMapTableOptions,
         {{0, {u"a", u"\"b \""}}, {1, {u"", u""}}}},
        {"unquoting takes one enclosing pair", u"\"a\tb\"\t\"\"\t\"x\t\"\"\"\t \"c\" \n",
         kDefinitionTableOptions, {{0, {u"a\tb", u"", u"x\t\"\"", u" \"c\" "}}}},
    };
    for (const TTableCase& c : cases)
        EXPECT_EQ(ReadTable(c.fText, c.fOptions), c.fLines) << c.fName;
}

TEST(TableReader, TellsPhysicalLinesAndTheQuotedRunsThatHoldLineEnds)
{
    CTableLineSource source(u"// a \"long\r\ncomment\"\na\t\"b\r\nc\"\nd\te\"\n\n", {});
    TMapLine line;
    std::vector<std::pair<u32, u32>> lines; // index and physical line
    while (source.Next(line))
        lines.emplace_back(line.first, source.GetPhysicalLine());
    EXPECT_EQ(lines, (std::vector<std::pair<u32, u32>>{{1, 2}, {2, 4}}));
    std::vector<std::tuple<u32, u32, u32, bool>> quotes;
    for (const TLongQuote& quote : source.GetLongQuotes())
        quotes.emplace_back(quote.fLineIndex, quote.fPhysicalLine, quote.fLineEnds, quote.fClosed);
    EXPECT_EQ(quotes, (std::vector<std::tuple<u32, u32, u32, bool>>{{0, 0, 1, true}, {1, 2, 1, true}, {2, 4, 2, false}}));
    EXPECT_EQ(CountLineEnds(u"a\r\nb\rc\n\r"), 4u);
}

TEST(TableDecoding, DropsTheByteOrderMarkAndReplacesBadBytes)
{
    EXPECT_EQ(DecodeTableText("\xEF\xBB\xBFok"), u"ok");
    EXPECT_EQ(DecodeTableText("a\xFF" "b"), u"a?b");
    EXPECT_EQ(DecodeTableText("\xC3\xA9"), u"\u00E9");
}

TEST(LooseIntegers, ReadAsBothFileFormatsDo)
{
    const std::pair<std::u16string_view, std::optional<i64>> cases[] = {
        {u"12abc", 12}, {u"-", 0}, {u" + +7", 7}, {u"-42", -42}, {u"--5", 0}, {u"5-3", 5},
        {u"", std::nullopt}, {u"abc", std::nullopt}, {u" 1 2", 1}, {u"5000000000", 5000000000},
        {u"99999999999999999999", std::numeric_limits<i64>::max()},
        {u"-9223372036854775808", std::numeric_limits<i64>::min()}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(ReadLooseInteger(text), value) << NSTextPackage::UTF8FromText16(TText16(text));
}

TEST(VersionNumbers, NeedExactlyThreeNumbers)
{
    EXPECT_EQ(ReadVersionNumbers(u"1.0.0"), (std::array<i64, 3>{1, 0, 0}));
    EXPECT_EQ(ReadVersionNumbers(u"2.10.3x"), (std::array<i64, 3>{2, 10, 3}));
    for (const char16* text : {u"1.0.", u"1..0", u"1.0", u"1.0.0.0", u""})
        EXPECT_FALSE(ReadVersionNumbers(text)) << NSTextPackage::UTF8FromText16(text);
    // Ten million points once made a list of ten million parts before the
    // count was looked at.
    EXPECT_FALSE(ReadVersionNumbers(TText16(10'000'000, u'.')));
    EXPECT_FALSE(ReadVersionNumbers(u"1.0.0" + TText16(10'000'000, u'.')));
    EXPECT_EQ(ReadVersionNumbers(u"1.2." + TText16(10'000'000, u'0') + u"3"), (std::array<i64, 3>{1, 2, 3}));
}
} // namespace
