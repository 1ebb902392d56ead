#include "foundation/TextCompare.h"

#include <gtest/gtest.h>

#include <map>

using namespace NSTextPackage;

namespace
{
TEST(TextComparison, IgnoresCaseWidthAndALeadingMarkButNotAccents)
{
    const struct
    {
        TText16 fA, fB;
        ECompareResult fResult;
    } cases[] = {{u"abc", u"ABC", kTextEqual}, {u"abc", u"abd", kTextLess}, {u"abd", u"abc", kTextGreater},
                 {u"\uFEFFabc", u"ABC", kTextEqual}, {u"abc", u"\uFEFFabd", kTextLess}, {u"", u"", kTextEqual},
                 {u"ab", u"abc", kTextLess},
                 {u"\uFF21\uFF22", u"ab", kTextEqual}, // full-width letters
                 {u"Fader", u"F\u00E4der", kTextLess},  // accents count
                 {u"F\u00C4DER", u"f\u00E4der", kTextEqual}};
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        EXPECT_EQ(CompareText(cases[i].fA, cases[i].fB), cases[i].fResult) << "case " << i;
        EXPECT_EQ(CompareTextWithCollator(cases[i].fA, cases[i].fB), cases[i].fResult) << "case " << i;
    }
}

TEST(TextComparison, ExactCaseKeepsCaseApartButStillIgnoresWidth)
{
    EXPECT_NE(CompareTextExactCase(u"abc", u"ABC"), kTextEqual);
    EXPECT_EQ(CompareTextExactCase(u"abc", u"abc"), kTextEqual);
    EXPECT_EQ(CompareTextExactCase(u"\uFF41", u"a"), kTextEqual);
    EXPECT_EQ(CompareTextExactCase(u"\uFEFFAb", u"Ab"), kTextEqual);
}

TEST(TextComparison, MixedNamesAgreeWithTheCollator)
{
    const std::vector<TText16> names = {
        u"Volume", u"volume 2", u"Vol\u00FCme", u"\u00C9cho", u"Echo", u"\u6DF7\u97F3",
        u"Pan",    u"PAN",      u"p\u00E0n",    u"\uFEFFPan", u"Z"};
    for (const auto& a : names)
        for (const auto& b : names)
            EXPECT_EQ(CompareText(a, b), CompareTextWithCollator(a, b));
}

TEST(TextCase, MapsCaseIncludingLengthChanges)
{
    EXPECT_EQ(UpperCaseText(u"Fader \u00E9"), u"FADER \u00C9");
    EXPECT_EQ(LowerCaseText(u"KNOB \u00C9"), u"knob \u00E9");
    EXPECT_EQ(UpperCaseText(u"stra\u00DFe"), u"STRASSE");
    EXPECT_EQ(UpperCaseText(u""), u"");
}
} // namespace
