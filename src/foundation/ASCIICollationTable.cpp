#include "foundation/ASCIICollationTable.h"

#include <unicode/locid.h>
#include <unicode/ucol.h>
#include <unicode/uset.h>

#include <algorithm>
#include <exception>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace NSTextPackage
{
namespace
{
// Controls, delete, and everything beyond 7 bits: the units that the folded
// scan leaves to the walk by table.
bool NeedsTable(char16 c)
{
    return c < 0x20 || c >= 0x7F;
}

char16 FoldCase(char16 c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16>(c + 0x20) : c;
}

ECompareResult FromOrder(i32 order)
{
    if (order == 0)
        return kTextEqual;
    return order < 0 ? kTextLess : kTextGreater;
}

// Whether the character at `at` keeps its own weight whatever follows: the
// next unit is 7-bit (or there is none), or, where contractions could reach
// further, the whole rest of the text is 7-bit.
bool CanDecideAt(std::u16string_view text, std::size_t at, const TASCIICollationTable& table)
{
    if (table.fDecidesEarly)
        return at + 1 >= text.size() || text[at + 1] < kASCIICount;
    return IsASCII(text.substr(at));
}

ECompareResult DecideByRank(std::u16string_view a, std::size_t i, std::u16string_view b,
                            std::size_t j, const TASCIICollationTable& table)
{
    if (!CanDecideAt(a, i, table) || !CanDecideAt(b, j, table))
        return kTableUndecided;
    return table.fRank[a[i]] < table.fRank[b[j]] ? kTextLess : kTextGreater;
}

// ---- the folded prefix: printable units that are equal but for case

template <bool kCaseCounts>
std::size_t ScanPrefixByUnit(std::u16string_view a, std::u16string_view b, std::size_t from,
                             const TASCIICollationTable& table, i32& caseOrder)
{
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = from; i < common; ++i)
    {
        const char16 ca = a[i];
        const char16 cb = b[i];
        if (NeedsTable(ca) || NeedsTable(cb) || FoldCase(ca) != FoldCase(cb))
            return i;
        if (kCaseCounts && caseOrder == 0 && ca != cb)
            caseOrder = table.fCase[ca] - table.fCase[cb];
    }
    return common;
}

#if defined(__SSE2__)
constexpr std::size_t kBlockUnits = 8;

// Two bits per unit: the units that end the folded prefix, and the units
// that differ at all.
struct TBlockMasks
{
    u32 fStop;
    u32 fDifferent;
};

__m128i PrintableLanes(__m128i units)
{
    // 0x20 <= unit < 0x7F, as one unsigned saturating test.
    const __m128i offset = _mm_sub_epi16(units, _mm_set1_epi16(0x20));
    return _mm_cmpeq_epi16(_mm_subs_epu16(offset, _mm_set1_epi16(0x7F - 0x20 - 1)),
                           _mm_setzero_si128());
}

__m128i FoldedLanes(__m128i units)
{
    const __m128i offset = _mm_sub_epi16(units, _mm_set1_epi16(u'A'));
    const __m128i upper =
        _mm_cmpeq_epi16(_mm_subs_epu16(offset, _mm_set1_epi16(25)), _mm_setzero_si128());
    return _mm_or_si128(units, _mm_and_si128(upper, _mm_set1_epi16(0x20)));
}

TBlockMasks ScanUnits(__m128i unitsA, __m128i unitsB)
{
    const __m128i plainEqual =
        _mm_and_si128(_mm_cmpeq_epi16(FoldedLanes(unitsA), FoldedLanes(unitsB)),
                      _mm_and_si128(PrintableLanes(unitsA), PrintableLanes(unitsB)));
    const u32 allLanes = 0xFFFF;
    return {~static_cast<u32>(_mm_movemask_epi8(plainEqual)) & allLanes,
            ~static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi16(unitsA, unitsB))) & allLanes};
}

__m128i LoadEight(const char16* units)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
}

// Four to seven units as one block: the first four and the last four, which
// overlap. Lanes 4 to 7 stand for the units from `count` - 4 on.
__m128i LoadFourToSeven(const char16* units, std::size_t count)
{
    const __m128i head = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(units));
    const __m128i tail = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(units + count - 4));
    return _mm_unpacklo_epi64(head, tail);
}

// The unit that lane `bit` / 2 of a block at `at` stands for.
std::size_t UnitOfLane(u32 bit, std::size_t at, std::size_t count)
{
    const std::size_t lane = bit / 2;
    if (count >= kBlockUnits || lane < 4)
        return at + lane;
    return count - 4 + (lane - 4);
}

// Returns the first unit that ends the folded prefix, or `count` for none.
// With case counting, the first difference of case before it is noted. A
// lane that overlaps an earlier block repeats what that block found, so the
// first lane set is always the first unit.
template <bool kCaseCounts>
std::size_t ScanMasks(const TBlockMasks& masks, std::size_t at, std::size_t count,
                      std::u16string_view a, std::u16string_view b,
                      const TASCIICollationTable& table, i32& caseOrder)
{
    if (kCaseCounts && caseOrder == 0)
    {
        const u32 beforeStop = masks.fStop == 0 ? 0xFFFF : (masks.fStop & -masks.fStop) - 1;
        const u32 caseDifferent = masks.fDifferent & beforeStop;
        if (caseDifferent != 0)
        {
            const std::size_t unit =
                UnitOfLane(static_cast<u32>(__builtin_ctz(caseDifferent)), at, count);
            caseOrder = table.fCase[a[unit]] - table.fCase[b[unit]];
        }
    }
    if (masks.fStop == 0)
        return count;
    return UnitOfLane(static_cast<u32>(__builtin_ctz(masks.fStop)), at, count);
}

// Eight units at a time; the last block overlaps the one before it, and four
// to seven units make one block of two overlapping halves, so that no unit is
// read beyond either text.
template <bool kCaseCounts>
std::size_t ScanPrefix(std::u16string_view a, std::u16string_view b,
                       const TASCIICollationTable& table, i32& caseOrder)
{
    const std::size_t common = std::min(a.size(), b.size());
    if (common < 4)
        return ScanPrefixByUnit<kCaseCounts>(a, b, 0, table, caseOrder);
    if (common < kBlockUnits)
    {
        const TBlockMasks masks =
            ScanUnits(LoadFourToSeven(a.data(), common), LoadFourToSeven(b.data(), common));
        return ScanMasks<kCaseCounts>(masks, 0, common, a, b, table, caseOrder);
    }
    for (std::size_t next = 0;; next += kBlockUnits)
    {
        const std::size_t at = std::min(next, common - kBlockUnits);
        const TBlockMasks masks = ScanUnits(LoadEight(a.data() + at), LoadEight(b.data() + at));
        const std::size_t stop = ScanMasks<kCaseCounts>(masks, at, common, a, b, table, caseOrder);
        if (stop != common || at == common - kBlockUnits)
            return stop;
    }
}
#else
template <bool kCaseCounts>
std::size_t ScanPrefix(std::u16string_view a, std::u16string_view b,
                       const TASCIICollationTable& table, i32& caseOrder)
{
    return ScanPrefixByUnit<kCaseCounts>(a, b, 0, table, caseOrder);
}
#endif

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

template <bool kCaseCounts>
ECompareResult CompareSevenBit(std::u16string_view a, std::u16string_view b,
                               const TASCIICollationTable& table)
{
    i32 caseOrder = 0;
    if (!table.fFoldIsRank)
        return Walk<kCaseCounts>(a, b, 0, 0, caseOrder, table);
    const std::size_t stop = ScanPrefix<kCaseCounts>(a, b, table, caseOrder);
    // Two printable units that differ when folded differ in rank.
    if (stop < a.size() && stop < b.size() && !NeedsTable(a[stop]) && !NeedsTable(b[stop]))
        return DecideByRank(a, stop, b, stop, table);
    return Walk<kCaseCounts>(a, b, stop, stop, caseOrder, table);
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

// What the locale's tailoring does to 7-bit text. A contraction made of
// 7-bit characters only ("ch" in some locales), a 7-bit character that
// expands to several elements, or numeric ordering breaks the one rank per
// character model. A contraction whose first two units are 7-bit means that a
// difference can't be settled before the texts are seen whole. The sets come
// from ICU's C interface, the only public one.
struct TTailoringFacts
{
    bool fOneRankPerCharacter = true;
    bool fDecidesEarly = true;
};

TTailoringFacts ExamineTailoring(const icu::Collator& collator)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = collator.getLocale(ULOC_ACTUAL_LOCALE, status);
    Check(status);
    const std::unique_ptr<UCollator, decltype(&ucol_close)> plain(
        ucol_open(locale.getName(), &status), &ucol_close);
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
    const UColAttributeValue numeric = collator.getAttribute(UCOL_NUMERIC_COLLATION, status);
    Check(status);
    facts.fOneRankPerCharacter = facts.fOneRankPerCharacter && numeric == UCOL_OFF;
    return facts;
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

// Flattened: the helpers are small, and calls between them cost more than
// the comparison of a typical name.
[[gnu::flatten]] ECompareResult CompareByTable(std::u16string_view a, std::u16string_view b,
                                               const TASCIICollationTable& table, bool caseCounts)
{
    if (!caseCounts)
        return table.fRanksExact ? CompareSevenBit<false>(a, b, table) : kTableUndecided;
    return table.fCasesExact ? CompareSevenBit<true>(a, b, table) : kTableUndecided;
}
} // namespace NSTextPackage
