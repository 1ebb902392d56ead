#include "codec/TableReader.h"

#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using TColumns = std::vector<TText16>;

TMapLines Read(std::u16string_view text, TTableOptions options = {})
{
    return ReadTable(text, options);
}

TEST(TableSplitting, EachLineEndCountsOnceAndIndicesArePhysical)
{
    const TMapLines lines = Read(u"a\tb\nc\td\re\tf\r\ng\th\n");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], (TMapLine{0, {u"a", u"b"}}));
    EXPECT_EQ(lines[1], (TMapLine{1, {u"c", u"d"}}));
    EXPECT_EQ(lines[2], (TMapLine{2, {u"e", u"f"}}));
    EXPECT_EQ(lines[3], (TMapLine{3, {u"g", u"h"}}));
}

TEST(TableSplitting, ALineEndAddsNoEmptyColumnButATabDoes)
{
    EXPECT_EQ(Read(u"Map\tp\tn\tx\t\t\t\n")[0].second.size(), 6u);
    EXPECT_EQ(Read(u"Map\tp\tn\tx\t\t\n")[0].second.size(), 5u);
    EXPECT_EQ(Read(u"\tb\n")[0].second, (TColumns{u"", u"b"}));
}

TEST(TableSplitting, TheLastLineWithoutLineEndNeedsTwoColumns)
{
    EXPECT_TRUE(Read(u"x\ty\nlonely").size() == 1);
    EXPECT_TRUE(Read(u"x\ty\nlonely\t").size() == 1) << "a TAB alone makes no second column";
    const TMapLines lines = Read(u"x\ty\nkept\there");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1], (TMapLine{1, {u"kept", u"here"}}));
}

TEST(TableSplitting, AQuotedRunHoldsTabsAndLineEndsThatCountForNothing)
{
    const TMapLines lines = Read(u"a\t\"b\tc\nd\"\te\nf\tg\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].second, (TColumns{u"a", u"\"b\tc\nd\"", u"e"}));
    EXPECT_EQ(lines[1].first, 1u) << "the line end inside the quotes is not counted";
}

TEST(TableSplitting, AQuoteMayOpenAnywhereAndOneWithoutPartnerTakesTheRest)
{
    EXPECT_EQ(Read(u"ab\"c\td\"e\tf\n")[0].second, (TColumns{u"ab\"c\td\"e", u"f"}));
    const TMapLines lines = Read(u"a\tb\"c\nd\te\n");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].second, (TColumns{u"a", u"b\"c\nd\te\n"}));
}

TEST(TableFiltering, DropsBlankAndCommentLinesButKeepsTheirNumbers)
{
    const TMapLines lines = Read(u"\n\t\t\n// note\tx\n/\ty\nz\t// not a comment\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], (TMapLine{3, {u"/", u"y"}}));
    EXPECT_EQ(lines[1], (TMapLine{4, {u"z", u"// not a comment"}}));
}

TEST(TableOptions, TrimmingTakesBlanksOnlyAndComesAfterTheFilter)
{
    const TMapLines lines = Read(u"  a \t\"b \" \n   \t \n", kMapTableOptions);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].second, (TColumns{u"a", u"\"b \""}));
    EXPECT_EQ(lines[1].second, (TColumns{u"", u""})) << "a line of blanks survives as empty columns";
}

TEST(TableOptions, UnquotingTakesOneEnclosingPairOnly)
{
    const TMapLines lines = Read(u"\"a\tb\"\t\"\"\t\"x\t\"\"\"\t \"c\" \n", kDefinitionTableOptions);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].second, (TColumns{u"a\tb", u"", u"x\t\"\"", u" \"c\" "}));
}

TEST(TableOptions, TheLineLimitCountsEveryPhysicalLine)
{
    TTableOptions options;
    options.fLineLimit = 3;
    const TMapLines lines = Read(u"a\tb\n\nc\td\ne\tf\n", options);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].first, 2u);
}

TEST(TableDecoding, DropsTheByteOrderMarkAndReplacesBadBytes)
{
    EXPECT_EQ(DecodeTableText("\xEF\xBB\xBFok"), u"ok");
    EXPECT_EQ(DecodeTableText("a\xFF" "b"), u"a?b");
    EXPECT_EQ(DecodeTableText("\xC3\xA9"), u"\u00E9");
}

struct TNumberCase
{
    std::u16string_view fText;
    std::optional<i64> fValue;
};

class LooseIntegers : public testing::TestWithParam<TNumberCase>
{
};

TEST_P(LooseIntegers, ReadAsBothFileFormatsDo)
{
    EXPECT_EQ(ReadLooseInteger(GetParam().fText), GetParam().fValue)
        << NSTextPackage::UTF8FromText16(GetParam().fText);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LooseIntegers,
    testing::Values(TNumberCase{u"12abc", 12}, TNumberCase{u"-", 0}, TNumberCase{u" + +7", 7},
                    TNumberCase{u"-42", -42}, TNumberCase{u"--5", 0}, TNumberCase{u"5-3", 5},
                    TNumberCase{u"", std::nullopt}, TNumberCase{u"abc", std::nullopt},
                    TNumberCase{u" 1 2", 1}, TNumberCase{u"5000000000", 5000000000},
                    TNumberCase{u"99999999999999999999", std::numeric_limits<i64>::max()},
                    TNumberCase{u"-9223372036854775808", std::numeric_limits<i64>::min()}));

TEST(VersionNumbers, NeedExactlyThreeNumbers)
{
    EXPECT_EQ(ReadVersionNumbers(u"1.0.0"), (std::array<i64, 3>{1, 0, 0}));
    EXPECT_EQ(ReadVersionNumbers(u"2.10.3x"), (std::array<i64, 3>{2, 10, 3}));
    EXPECT_FALSE(ReadVersionNumbers(u"1.0."));
    EXPECT_FALSE(ReadVersionNumbers(u"1..0"));
    EXPECT_FALSE(ReadVersionNumbers(u"1.0"));
    EXPECT_FALSE(ReadVersionNumbers(u"1.0.0.0"));
    EXPECT_FALSE(ReadVersionNumbers(u""));
    // Ten million points once made a list of ten million parts before the
    // count was looked at.
    EXPECT_FALSE(ReadVersionNumbers(TText16(10'000'000, u'.')));
    EXPECT_FALSE(ReadVersionNumbers(u"1.0.0" + TText16(10'000'000, u'.')));
    EXPECT_EQ(ReadVersionNumbers(u"1.2." + TText16(10'000'000, u'0') + u"3"), (std::array<i64, 3>{1, 2, 3}));
}
} // namespace
