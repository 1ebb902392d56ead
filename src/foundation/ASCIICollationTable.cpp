#include "foundation/ASCIICollationTable.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/ucol.h>
#include <unicode/uniset.h>
#include <unicode/uset.h>
#include <unicode/usetiter.h>

#include <algorithm>
#include <exception>
#include <memory>

namespace NSTextPackage
{
using namespace NSASCIICollation;

namespace
{
// ---- the walk by table, for controls, ignorables and the ends

template <bool kCaseCounts>
ECompareResult Walk(std::u16string_view a, std::u16string_view b, std::size_t i, std::size_t j,
                    i32 caseOrder, const TASCIICollationTable& table)
{
    for (;;)
    {
        while (i < a.size() && a[i] < kASCIICount && table.fRank[a[i]] == 0)
            ++i;
        while (j < b.size() && b[j] < kASCIICount && table.fRank[b[j]] == 0)
            ++j;
        const bool endOfA = i == a.size();
        const bool endOfB = j == b.size();
        if ((!endOfA && a[i] >= kASCIICount) || (!endOfB && b[j] >= kASCIICount))
            return kTableUndecided;
        if (endOfA && endOfB)
            return FromOrder(caseOrder);
        if (endOfA)
            return CanDecideAt(b, j, table) ? kTextLess : kTableUndecided;
        if (endOfB)
            return CanDecideAt(a, i, table) ? kTextGreater : kTableUndecided;
        if (table.fRank[a[i]] != table.fRank[b[j]])
            return DecideByRank(a, i, b, j, table);
        if (kCaseCounts && caseOrder == 0)
            caseOrder = table.fCase[a[i]] - table.fCase[b[j]];
        ++i;
        ++j;
    }
}

// ---- filling the table from the collators

[[noreturn]] void ThrowCollatorFailure()
{
    throw std::exception();
}

void Check(UErrorCode status)
{
    if (U_FAILURE(status))
        ThrowCollatorFailure();
}

UCollationResult Collate(const icu::Collator& collator, std::u16string_view a,
                         std::u16string_view b)
{
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult result = collator.compare(
        a.data(), static_cast<int32_t>(a.size()), b.data(), static_cast<int32_t>(b.size()), status);
    Check(status);
    return result;
}

std::u16string_view OneCharacter(const char16& c)
{
    return std::u16string_view(&c, 1);
}

bool TailorsSevenBitStrings(const icu::UnicodeSet& tailored)
{
    icu::UnicodeSetIterator it(tailored);
    while (it.next())
    {
        if (it.isString() && !it.getString().isEmpty() && it.getString().charAt(0) < kASCIICount)
            return true;
    }
    return false;
}

// The facts that hold where a locale tailors no 7-bit character: those of
// the root collation, which ExamineContractionsAndExpansions proves in the
// tests (that costs tens of milliseconds, too much for every program start).
// A tailoring that touches a 7-bit character ("ch" in Czech) or numeric
// ordering turns the table off. getTailoredSet lists tailored characters and
// the contractions that begin with them.
TTailoringFacts ExamineTailoring(const icu::Collator& collator)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::UnicodeSet> tailored(collator.getTailoredSet(status));
    Check(status);
    const UColAttributeValue numeric = collator.getAttribute(UCOL_NUMERIC_COLLATION, status);
    Check(status);
    const bool touchesSevenBit =
        tailored->containsSome(0, kASCIICount - 1) || TailorsSevenBitStrings(*tailored);
    if (touchesSevenBit || numeric != UCOL_OFF)
        return {false, false};
    return {true, true};
}

// Ranks by sorting the 128 characters with the collator itself. Characters
// whose rank differs must also differ at the primary level; otherwise a later
// character could outweigh an earlier secondary difference and ranks would
// not decide position by position.
bool RankASCII(const icu::Collator& collator, TASCIICollationTable& table)
{
    std::array<char16, kASCIICount> order{};
    for (std::size_t c = 0; c < kASCIICount; ++c)
        order[c] = static_cast<char16>(c);
    std::stable_sort(order.begin(), order.end(),
                     [&collator](const char16& a, const char16& b)
                     { return Collate(collator, OneCharacter(a), OneCharacter(b)) == UCOL_LESS; });

    std::unique_ptr<icu::Collator> primary(collator.clone());
    UErrorCode status = U_ZERO_ERROR;
    primary->setAttribute(UCOL_STRENGTH, UCOL_PRIMARY, status);
    Check(status);

    u32 rank = 0;
    const char16* previous = nullptr;
    for (const char16& c : order)
    {
        const bool ignorable = Collate(collator, OneCharacter(c), u"") == UCOL_EQUAL;
        const bool newGroup =
            !ignorable && (previous == nullptr || Collate(collator, OneCharacter(*previous),
                                                          OneCharacter(c)) != UCOL_EQUAL);
        if (newGroup)
        {
            const bool primaryGap =
                previous == nullptr
                    ? Collate(*primary, u"", OneCharacter(c)) == UCOL_LESS
                    : Collate(*primary, OneCharacter(*previous), OneCharacter(c)) == UCOL_LESS;
            if (!primaryGap)
                return false;
            ++rank;
            previous = &c;
        }
        table.fRank[c] = ignorable ? 0 : static_cast<u8>(rank);
    }
    return true;
}

// With case counting, the collator's case level compares the case of the
// characters position by position once the ranks are all equal, so only the
// order inside each group of equal rank matters: lower case (and uncased)
// before upper case. The table holds when the collator agrees on every pair.
bool CaseASCII(const icu::Collator& exactCase, TASCIICollationTable& table)
{
    for (char16 c = 0; c < kASCIICount; ++c)
        table.fCase[c] = c >= u'A' && c <= u'Z' ? 1 : 0;
    for (char16 c = 0; c < kASCIICount; ++c)
    {
        for (char16 d = 0; d < kASCIICount; ++d)
        {
            if (table.fRank[c] == 0 || table.fRank[c] != table.fRank[d])
                continue;
            const i32 expected = table.fCase[c] - table.fCase[d];
            const UCollationResult actual = Collate(exactCase, OneCharacter(c), OneCharacter(d));
            if (actual != (expected < 0 ? UCOL_LESS : expected > 0 ? UCOL_GREATER : UCOL_EQUAL))
                return false;
        }
    }
    return true;
}

} // namespace

bool IsASCII(std::u16string_view text)
{
    char16 bits = 0;
    for (const char16 unit : text)
        bits |= unit;
    return bits < kASCIICount;
}

namespace
{
bool FoldMatchesRanks(const TASCIICollationTable& table)
{
    for (char16 c = 0; c < kASCIICount; ++c)
    {
        if (NeedsTable(c))
            continue;
        if (table.fRank[c] == 0)
            return false;
        for (char16 d = 0; d < kASCIICount; ++d)
        {
            if (!NeedsTable(d) &&
                (table.fRank[c] == table.fRank[d]) != (FoldCase(c) == FoldCase(d)))
                return false;
        }
    }
    return true;
}

} // namespace

TTailoringFacts ExamineContractionsAndExpansions(const char* locale)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UCollator, decltype(&ucol_close)> plain(ucol_open(locale, &status),
                                                                  &ucol_close);
    const std::unique_ptr<USet, decltype(&uset_close)> contractions(uset_openEmpty(), &uset_close);
    const std::unique_ptr<USet, decltype(&uset_close)> expansions(uset_openEmpty(), &uset_close);
    Check(status);
    ucol_getContractionsAndExpansions(plain.get(), contractions.get(), expansions.get(), true,
                                      &status);
    Check(status);

    TTailoringFacts facts;
    for (UChar32 c = 0; c < static_cast<UChar32>(kASCIICount); ++c)
        facts.fOneRankPerCharacter =
            facts.fOneRankPerCharacter && !uset_contains(expansions.get(), c);
    std::array<UChar, 256> text{};
    for (int32_t item = 0; item < uset_getItemCount(contractions.get()); ++item)
    {
        UChar32 first = 0;
        UChar32 last = 0;
        const int32_t length = uset_getItem(contractions.get(), item, &first, &last, text.data(),
                                            static_cast<int32_t>(text.size()), &status);
        Check(status);
        const std::u16string_view contraction(text.data(), static_cast<std::size_t>(length));
        if (contraction.size() >= 2 && contraction[0] < kASCIICount && contraction[1] < kASCIICount)
            facts.fDecidesEarly = false;
        if (!contraction.empty() && IsASCII(contraction))
            facts.fOneRankPerCharacter = false;
    }
    return facts;
}

TASCIICollationTable MakeASCIICollationTable(const icu::Collator& caseless,
                                             const icu::Collator& exactCase)
{
    TASCIICollationTable table;
    const TTailoringFacts facts = ExamineTailoring(caseless);
    if (!facts.fOneRankPerCharacter || !RankASCII(caseless, table))
        return table;
    table.fRanksExact = true;
    table.fCasesExact = CaseASCII(exactCase, table);
    table.fFoldIsRank = FoldMatchesRanks(table);
    table.fDecidesEarly = facts.fDecidesEarly;
    return table;
}

ECompareResult CompareByTable(std::u16string_view a, std::u16string_view b,
                              const TASCIICollationTable& table, bool caseCounts)
{
    if (!(caseCounts ? table.fCasesExact : table.fRanksExact))
        return kTableUndecided;
    const ECompareResult quick =
        caseCounts ? QuickCompare<true>(a, b, table) : QuickCompare<false>(a, b, table);
    if (quick == kCollatorNeeded)
        return kTableUndecided;
    return quick != kTableUndecided ? quick : WalkByTable(a, b, table, caseCounts);
}

ECompareResult WalkByTable(std::u16string_view a, std::u16string_view b,
                           const TASCIICollationTable& table, bool caseCounts)
{
    if (!(caseCounts ? table.fCasesExact : table.fRanksExact))
        return kTableUndecided;
    const ECompareResult walked =
        caseCounts ? Walk<true>(a, b, 0, 0, 0, table) : Walk<false>(a, b, 0, 0, 0, table);
    return walked == kCollatorNeeded ? kTableUndecided : walked;
}
} // namespace NSTextPackage
