#include "foundation/TextCompare.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

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

// The 7-bit path must answer exactly as the collator: names with digits,
// blanks, punctuation and control characters are where a plain character
// order would go wrong; an accent or a combining mark anywhere must hand the
// answer to the collator. Lengths up to 12 pass the blocks of eight.
TEST(TextComparison, SevenBitPathAgreesWithTheCollatorOnRandomNames)
{
    const std::u16string alphabet =
        u"aAbBzZ09 _-.,:;/()[]#+*&%$!?'\"`~^<>=|\\@\t\x01\x7F\u00e9\u00c9\u0301";
    std::mt19937 random(1234);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> length(0, 12);
    auto make = [&]
    {
        TText16 text;
        for (int i = length(random); i > 0; --i)
            text += alphabet[pick(random)];
        return text;
    };
    for (int i = 0; i < 20000; ++i)
    {
        const TText16 a = make();
        const TText16 b = make();
        ASSERT_EQ(CompareText(a, b), CompareTextWithCollator(a, b))
            << "differs on \"" << std::string(a.begin(), a.end()) << "\" and \""
            << std::string(b.begin(), b.end()) << "\"";
    }
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

TEST(TextComparison, OrderingsSortCaselessAndByPairs)
{
    std::map<TText16, int, CMPCaseInsensitiveStringLess> items;
    items[u"Fader 1"] = 1;
    items[u"FADER 1"] = 2;
    EXPECT_EQ(items.size(), 1u);
    EXPECT_EQ(items.at(u"fader 1"), 2);

    const CMPCaseInsensitiveStringPairLess less;
    using TPair = std::pair<TText16, TText16>;
    EXPECT_TRUE(less(TPair{u"a", u"z"}, TPair{u"B", u"a"}));
    EXPECT_TRUE(less(TPair{u"A", u"a"}, TPair{u"a", u"B"}));
    EXPECT_FALSE(less(TPair{u"A", u"b"}, TPair{u"a", u"B"}));
}

TEST(TextCase, MapsCaseIncludingLengthChanges)
{
    EXPECT_EQ(UpperCaseText(u"Fader \u00E9"), u"FADER \u00C9");
    EXPECT_EQ(LowerCaseText(u"KNOB \u00C9"), u"knob \u00E9");
    EXPECT_EQ(UpperCaseText(u"stra\u00DFe"), u"STRASSE");
    EXPECT_EQ(UpperCaseText(u""), u"");
}
} // namespace
