#include "foundation/ASCIICollationTable.h"

#include <gtest/gtest.h>

#include <unicode/coll.h>
#include <unicode/locid.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace NSTextPackage;

namespace
{
// Collators set up as the text package sets up its own.
std::unique_ptr<icu::Collator> MakeCollator(const char* locale, bool caseCounts)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(icu::Locale(locale), status));
    collator->setStrength(icu::Collator::SECONDARY);
    collator->setAttribute(UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, status);
    collator->setAttribute(UCOL_CASE_LEVEL, caseCounts ? UCOL_ON : UCOL_OFF, status);
    collator->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
    EXPECT_TRUE(U_SUCCESS(status));
    return collator;
}

struct TLocaleCollation
{
    explicit TLocaleCollation(const char* locale)
        : fCaseless(MakeCollator(locale, false)), fExactCase(MakeCollator(locale, true)),
          fTable(MakeASCIICollationTable(*fCaseless, *fExactCase))
    {
    }

    ECompareResult Reference(std::u16string_view a, std::u16string_view b, bool caseCounts) const
    {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Collator& collator = caseCounts ? *fExactCase : *fCaseless;
        const UCollationResult result =
            collator.compare(a.data(), static_cast<int32_t>(a.size()), b.data(),
                             static_cast<int32_t>(b.size()), status);
        return result == UCOL_LESS ? kTextLess : result == UCOL_GREATER ? kTextGreater : kTextEqual;
    }

    // The table either answers as the collator does or leaves it to the collator.
    void ExpectAgreement(std::u16string_view a, std::u16string_view b) const
    {
        for (const bool caseCounts : {false, true})
        {
            const ECompareResult byTable = CompareByTable(a, b, fTable, caseCounts);
            if (byTable != kTableUndecided)
            {
                ASSERT_EQ(byTable, Reference(a, b, caseCounts))
                    << Show(a) << " vs " << Show(b) << (caseCounts ? " with case" : "");
            }
        }
    }

    static std::string Show(std::u16string_view text)
    {
        std::string out;
        for (const char16 c : text)
        {
            char unit[12];
            std::snprintf(unit, sizeof unit, c >= 0x20 && c < 0x7F ? "%c" : "<%X>", c);
            out += unit;
        }
        return out;
    }

    std::unique_ptr<icu::Collator> fCaseless;
    std::unique_ptr<icu::Collator> fExactCase;
    TASCIICollationTable fTable;
};

const TLocaleCollation& Root()
{
    static const TLocaleCollation root("");
    return root;
}

TEST(ASCIICollationTable, RootTakesEveryShortcut)
{
    const TASCIICollationTable& table = Root().fTable;
    EXPECT_TRUE(table.fRanksExact);
    EXPECT_TRUE(table.fCasesExact);
    EXPECT_TRUE(table.fFoldIsRank);
    EXPECT_TRUE(table.fDecidesEarly);
    // The collator's order, not the order of the codes.
    EXPECT_LT(table.fRank[u'_'], table.fRank[u'-']);
    EXPECT_LT(table.fRank[u'{'], table.fRank[u'0']);
    EXPECT_LT(table.fRank[u'9'], table.fRank[u'a']);
    EXPECT_EQ(table.fRank[u'a'], table.fRank[u'A']);
    EXPECT_EQ(table.fRank[0x01], 0); // controls are ignorable

    // The table takes these facts of the root collation for granted; this
    // proves them for the ICU the program is built with.
    const TTailoringFacts root = ExamineContractionsAndExpansions("");
    EXPECT_TRUE(root.fOneRankPerCharacter);
    EXPECT_TRUE(root.fDecidesEarly);
    // And the examination does see them where they are: "ch" in Czech.
    EXPECT_FALSE(ExamineContractionsAndExpansions("cs").fOneRankPerCharacter);
}

TEST(ASCIICollationTable, AgreesOnEveryPairOfCharacters)
{
    for (char16 a = 0; a < kASCIICount; ++a)
        for (char16 b = 0; b < kASCIICount; ++b)
            Root().ExpectAgreement(TText16(1, a), TText16(1, b));
}

// Lengths around the block sizes of the folded scan (4 and 8 units), case
// differences before and after other differences, controls, and units above
// 127 at every place.
TEST(ASCIICollationTable, AgreesOnMixedTexts)
{
    const std::u16string_view alphabet =
        u"aAbBzZ09-_ .,;:!?'\"()[]{}@*/\\&#%`^+<=>|~$\t\x01\x7f\u00e9\u00c9\u0301";
    std::vector<TText16> texts = {
        u"",        u"Fader 1",        u"fader-1",         u"FADER_1",           u"Fader1",
        u"Knob 10", u"Transport Play", u"TRANSPORT PLAY", u"Transport Play2",   u"Knob 9",
        u"e\u0301", u"\u00e9",         u"transport\tplay"};
    std::mt19937 random(20240917);
    for (int i = 0; i < 500; ++i)
    {
        TText16 text(random() % 19, u' ');
        for (char16& c : text)
            c = alphabet[random() % (i % 3 == 0 ? alphabet.size() : alphabet.size() - 6)];
        texts.push_back(text);
        // A near twin: the same text with the case of one letter flipped or one unit changed.
        if (!text.empty())
        {
            TText16 twin = text;
            char16& c = twin[random() % twin.size()];
            c = c >= u'a' && c <= u'z' ? static_cast<char16>(c - 32) : alphabet[random() % 12];
            texts.push_back(twin);
        }
    }
    for (const TText16& a : texts)
        for (const TText16& b : texts)
            Root().ExpectAgreement(a, b);
}

TEST(ASCIICollationTable, AnswersSevenBitTextsItself)
{
    EXPECT_EQ(CompareByTable(u"Transport Play", u"TRANSPORT PLAY", Root().fTable, false),
              kTextEqual);
    EXPECT_EQ(CompareByTable(u"Transport Play", u"TRANSPORT PLAY", Root().fTable, true), kTextLess);
    EXPECT_EQ(CompareByTable(u"Map", u"Mod", Root().fTable, false), kTextLess);
    EXPECT_EQ(CompareByTable(u"a\x01", u"A", Root().fTable, false), kTextEqual);
    // A unit above 127 next to the decision leaves it to the collator.
    EXPECT_EQ(CompareByTable(u"ab", u"ac\u0301", Root().fTable, false), kTableUndecided);
    EXPECT_EQ(CompareByTable(u"ab", u"b\u0301", Root().fTable, false), kTableUndecided);
    // Further away it can't change the answer.
    EXPECT_EQ(CompareByTable(u"ab", u"bc\u0301", Root().fTable, false), kTextLess);
}

TEST(ASCIICollationTable, LocalesThatTailorSevenBitCharactersGoToTheCollator)
{
    // "ch" is one letter after "h" in Czech, "aa" one after "z" in Danish; the
    // Turkish i has a dotless partner.
    for (const char* locale : {"cs", "da", "hu", "tr"})
    {
        const TLocaleCollation collation(locale);
        EXPECT_FALSE(collation.fTable.fRanksExact) << locale;
        EXPECT_EQ(CompareByTable(u"chata", u"hrad", collation.fTable, false), kTableUndecided);
    }
    // Swedish tailors "a" with a combining diaeresis, which begins with a
    // 7-bit unit: the table steps aside there too. German tailors nothing.
    EXPECT_FALSE(TLocaleCollation("sv").fTable.fRanksExact);
    const TLocaleCollation german("de");
    EXPECT_TRUE(german.fTable.fRanksExact);
    for (const char16* a : {u"zebra", u"\u00e4ra", u"ara", u"a\u0308ra", u"Zebra"})
        for (const char16* b : {u"zebra", u"\u00e4ra", u"ara", u"a\u0308ra", u"Zebra"})
            german.ExpectAgreement(a, b);
}
} // namespace
