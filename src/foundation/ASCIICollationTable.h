#pragma once
// The 7-bit path of CompareText: a collator's order of the 128 7-bit
// characters as a table, and the comparison of 7-bit texts by it. The table
// is filled by asking the collator itself, and each shortcut is taken only
// where the collator has been shown to agree, so the table's answers are
// exactly the collator's (the tests compare them on every pair of characters
// and on mixed names).
//
// A filled table is immutable; any thread may compare with it.

#include "foundation/CompareResult.h"

// Only ICU's version header, for the name of its namespace: the comparison is
// inline in every includer of the text package, which need not see the
// collator's class.
#include <unicode/uversion.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <string_view>

U_NAMESPACE_BEGIN
class Collator;
U_NAMESPACE_END

namespace NSTextPackage
{
inline constexpr std::size_t kASCIICount = 128;

struct TASCIICollationTable
{
    // Ranks decide: equal ranks compare equal, rank 0 is ignorable, and each
    // character is exactly one collation element, so a 7-bit text compares as
    // the sequence of its non-zero ranks.
    bool fRanksExact = false;
    // With case counting, the first case difference of two texts whose ranks
    // are all equal decides, lower case (and uncased) before upper case.
    bool fCasesExact = false;
    // Folding A-Z to a-z makes two printable characters equal exactly when
    // their ranks are, and every ignorable character is a control; equal
    // stretches can then be passed eight units at a time.
    bool fFoldIsRank = false;
    // No contraction of the locale begins with two 7-bit units, so once two
    // 7-bit characters followed by 7-bit units (or the end) differ in rank,
    // nothing later can change the answer. Otherwise both texts must be seen
    // whole before an answer.
    bool fDecidesEarly = false;
    std::array<u8, kASCIICount> fRank{};
    std::array<u8, kASCIICount> fCase{};
};

// What ICU's contraction and expansion sets say about 7-bit text. A
// contraction made of 7-bit characters only ("ch" in some locales), or a
// 7-bit character that expands to several elements, breaks the one rank per
// character model; a contraction whose first two units are 7-bit means that a
// difference can't be settled before the texts are seen whole.
struct TTailoringFacts
{
    bool fOneRankPerCharacter = true;
    bool fDecidesEarly = true;
};

// Walks the whole sets: tens of milliseconds. MakeASCIICollationTable takes
// the root collation's facts for granted (and turns the table off for any
// tailoring that touches 7-bit characters); the tests prove them with this.
TTailoringFacts ExamineContractionsAndExpansions(const char* locale);

// Fills the table from the caseless and the case-counting collator of one
// locale (secondary strength, punctuation not ignorable).
TASCIICollationTable MakeASCIICollationTable(const icu::Collator& caseless,
                                             const icu::Collator& exactCase);

// What the table answers when the collator must: a unit above 127 was met
// before the answer was certain, or the table isn't exact for the rule. (A
// plain value rather than std::optional: this sits on the hot path, and the
// optional's two-part result costs a store-forwarding stall.)
inline constexpr ECompareResult kTableUndecided = static_cast<ECompareResult>(0);
// QuickCompare's word that the walk by table wouldn't decide either: a unit
// above 127 stands where the answer falls, so only the collator can answer.
inline constexpr ECompareResult kCollatorNeeded = static_cast<ECompareResult>(1);

// The collator's answer when both texts are 7-bit, else kTableUndecided:
// QuickCompare, then WalkByTable.
ECompareResult CompareByTable(std::u16string_view a, std::u16string_view b,
                              const TASCIICollationTable& table, bool caseCounts);
// The same answers unit by unit, for what QuickCompare leaves undecided.
ECompareResult WalkByTable(std::u16string_view a, std::u16string_view b,
                           const TASCIICollationTable& table, bool caseCounts);

// Whether every unit is below 128.
bool IsASCII(std::u16string_view text);

// ---- the comparison itself

namespace NSASCIICollation
{
// Controls, delete, and everything beyond 7 bits: the units that the folded
// scan leaves to the walk by table.
inline bool NeedsTable(char16 c)
{
    return c < 0x20 || c >= 0x7F;
}

inline char16 FoldCase(char16 c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16>(c + 0x20) : c;
}

// Less or greater without a branch: which one it is can't be predicted, and
// a mispredicted branch costs more than the rest of a short comparison.
inline ECompareResult LessOrGreater(bool greater)
{
    static_assert(kTextGreater == kTextLess + 1);
    return static_cast<ECompareResult>(kTextLess + static_cast<u32>(greater));
}

inline ECompareResult FromOrder(i32 order)
{
    return order == 0 ? kTextEqual : LessOrGreater(order > 0);
}

// Whether the character at `at` keeps its own weight whatever follows: the
// next unit is 7-bit (or there is none), or, where contractions could reach
// further, the whole rest of the text is 7-bit.
inline bool CanDecideAt(std::u16string_view text, std::size_t at, const TASCIICollationTable& table)
{
    if (table.fDecidesEarly)
        return at + 1 >= text.size() || text[at + 1] < kASCIICount;
    return IsASCII(text.substr(at));
}

inline ECompareResult DecideByRank(std::u16string_view a, std::size_t i, std::u16string_view b,
                                   std::size_t j, const TASCIICollationTable& table)
{
    if (!CanDecideAt(a, i, table) || !CanDecideAt(b, j, table))
        return kCollatorNeeded;
    return LessOrGreater(table.fRank[a[i]] > table.fRank[b[j]]);
}

// ---- the folded prefix: printable units that are equal but for case

template <bool kCaseCounts>
inline std::size_t ScanPrefixByUnit(std::u16string_view a, std::u16string_view b, std::size_t from,
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
inline constexpr std::size_t kBlockUnits = 8;

// Two bits per unit: the units that end the folded prefix, and the units
// that differ at all.
struct TBlockMasks
{
    u32 fStop;
    u32 fDifferent;
};

inline __m128i PrintableLanes(__m128i units)
{
    // 0x20 <= unit < 0x7F, as one unsigned saturating test.
    const __m128i offset = _mm_sub_epi16(units, _mm_set1_epi16(0x20));
    return _mm_cmpeq_epi16(_mm_subs_epu16(offset, _mm_set1_epi16(0x7F - 0x20 - 1)),
                           _mm_setzero_si128());
}

inline __m128i FoldedLanes(__m128i units)
{
    const __m128i offset = _mm_sub_epi16(units, _mm_set1_epi16(u'A'));
    const __m128i upper =
        _mm_cmpeq_epi16(_mm_subs_epu16(offset, _mm_set1_epi16(25)), _mm_setzero_si128());
    return _mm_or_si128(units, _mm_and_si128(upper, _mm_set1_epi16(0x20)));
}

inline TBlockMasks ScanUnits(__m128i unitsA, __m128i unitsB)
{
    // Units equal when folded are the same unit or two letters, so when one
    // of them is printable both are.
    const __m128i plainEqual = _mm_and_si128(
        _mm_cmpeq_epi16(FoldedLanes(unitsA), FoldedLanes(unitsB)), PrintableLanes(unitsA));
    const u32 allLanes = 0xFFFF;
    return {~static_cast<u32>(_mm_movemask_epi8(plainEqual)) & allLanes,
            ~static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi16(unitsA, unitsB))) & allLanes};
}

inline __m128i LoadEight(const char16* units)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
}

// Four to seven units as one block: the first four and the last four, which
// overlap. Lanes 4 to 7 stand for the units from `count` - 4 on.
inline __m128i LoadFourToSeven(const char16* units, std::size_t count)
{
    const __m128i head = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(units));
    const __m128i tail = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(units + count - 4));
    return _mm_unpacklo_epi64(head, tail);
}

// Which unit each lane of one or two blocks stands for: lanes below the split
// count from the first unit, the others from the second. Two bits per lane.
struct TLanes
{
    std::size_t fFirst;
    std::size_t fSecond;
    u32 fSplit;
};

inline std::size_t UnitOfLane(u32 bit, const TLanes& lanes)
{
    const u32 lane = bit / 2;
    return lane < lanes.fSplit ? lanes.fFirst + lane : lanes.fSecond + (lane - lanes.fSplit);
}

// Returns the first unit that ends the folded prefix, or `none`. With case
// counting, the first difference of case before it is noted. A lane that
// overlaps an earlier one repeats what that one found, so the first lane set
// is always the first unit.
template <bool kCaseCounts>
inline std::size_t ScanMasks(const TBlockMasks& masks, const TLanes& lanes, std::size_t none,
                             std::u16string_view a, std::u16string_view b,
                             const TASCIICollationTable& table, i32& caseOrder)
{
    if (kCaseCounts && caseOrder == 0)
    {
        const u32 beforeStop = masks.fStop == 0 ? ~0u : (masks.fStop & -masks.fStop) - 1;
        const u32 caseDifferent = masks.fDifferent & beforeStop;
        if (caseDifferent != 0)
        {
            const std::size_t unit =
                UnitOfLane(static_cast<u32>(__builtin_ctz(caseDifferent)), lanes);
            caseOrder = table.fCase[a[unit]] - table.fCase[b[unit]];
        }
    }
    if (masks.fStop == 0)
        return none;
    return UnitOfLane(static_cast<u32>(__builtin_ctz(masks.fStop)), lanes);
}

// Eight units at a time, in blocks that overlap where a text isn't a multiple
// of eight long, so that no unit is read beyond either text: four to seven
// units make one block of two overlapping halves, nine to sixteen two blocks
// looked at together, longer texts a run of blocks.
template <bool kCaseCounts>
inline std::size_t ScanPrefix(std::u16string_view a, std::u16string_view b,
                              const TASCIICollationTable& table, i32& caseOrder)
{
    const std::size_t common = std::min(a.size(), b.size());
    if (common < 4)
        return ScanPrefixByUnit<kCaseCounts>(a, b, 0, table, caseOrder);
    if (common < kBlockUnits)
    {
        const TBlockMasks masks =
            ScanUnits(LoadFourToSeven(a.data(), common), LoadFourToSeven(b.data(), common));
        return ScanMasks<kCaseCounts>(masks, {0, common - 4, 4}, common, a, b, table, caseOrder);
    }
    if (common <= 2 * kBlockUnits)
    {
        const std::size_t tail = common - kBlockUnits;
        const TBlockMasks head = ScanUnits(LoadEight(a.data()), LoadEight(b.data()));
        const TBlockMasks rest = ScanUnits(LoadEight(a.data() + tail), LoadEight(b.data() + tail));
        const TBlockMasks both{head.fStop | rest.fStop << 16,
                               head.fDifferent | rest.fDifferent << 16};
        return ScanMasks<kCaseCounts>(both, {0, tail, 8}, common, a, b, table, caseOrder);
    }
    for (std::size_t next = 0;; next += kBlockUnits)
    {
        const std::size_t at = std::min(next, common - kBlockUnits);
        const TBlockMasks masks = ScanUnits(LoadEight(a.data() + at), LoadEight(b.data() + at));
        const std::size_t stop =
            ScanMasks<kCaseCounts>(masks, {at, 0, 8}, common, a, b, table, caseOrder);
        if (stop != common || at == common - kBlockUnits)
            return stop;
    }
}
#else
template <bool kCaseCounts>
inline std::size_t ScanPrefix(std::u16string_view a, std::u16string_view b,
                              const TASCIICollationTable& table, i32& caseOrder)
{
    return ScanPrefixByUnit<kCaseCounts>(a, b, 0, table, caseOrder);
}
#endif

// QuickCompare beyond the first units: a stretch equal but for case that ends
// in a difference or at the end of a text.
template <bool kCaseCounts>
inline ECompareResult ComparePrefix(std::u16string_view a, std::u16string_view b,
                                    const TASCIICollationTable& table)
{
    i32 caseOrder = 0;
    const std::size_t stop = ScanPrefix<kCaseCounts>(a, b, table, caseOrder);
    const bool endOfA = stop == a.size();
    const bool endOfB = stop == b.size();
    if (endOfA && endOfB)
        return FromOrder(caseOrder);
    // A printable unit is never ignorable, so a text that goes on is the greater.
    if (endOfA && !NeedsTable(b[stop]))
        return CanDecideAt(b, stop, table) ? kTextLess : kCollatorNeeded;
    if (endOfB && !NeedsTable(a[stop]))
        return CanDecideAt(a, stop, table) ? kTextGreater : kCollatorNeeded;
    // Two printable units that differ when folded differ in rank.
    if (!endOfA && !endOfB && !NeedsTable(a[stop]) && !NeedsTable(b[stop]))
        return DecideByRank(a, stop, b, stop, table);
    // Everything before `stop` is plain, so the walk would meet this unit too.
    if ((!endOfA && a[stop] >= kASCIICount) || (!endOfB && b[stop] >= kASCIICount))
        return kCollatorNeeded;
    return kTableUndecided;
}

// The answers that need no walk through controls, ignorables or units above
// 127: a first-unit difference, or a stretch equal but for case that ends in
// a difference or at the end of a text. kTableUndecided when the walk
// (WalkByTable) must go on, kCollatorNeeded when only the collator can
// answer. The first-unit test is inlined into every caller, because most
// names that differ differ at once and then need nothing else.
template <bool kCaseCounts>
[[gnu::always_inline]] inline ECompareResult QuickCompare(std::u16string_view a,
                                                          std::u16string_view b,
                                                          const TASCIICollationTable& table)
{
    const bool exact = kCaseCounts ? table.fCasesExact : table.fRanksExact;
    if (!exact || !table.fFoldIsRank || !table.fDecidesEarly)
        return kTableUndecided;
    if (!a.empty() && !b.empty() && FoldCase(a[0]) != FoldCase(b[0]) && !NeedsTable(a[0]) &&
        !NeedsTable(b[0]))
        return DecideByRank(a, 0, b, 0, table);
    return ComparePrefix<kCaseCounts>(a, b, table);
}
} // namespace NSASCIICollation
} // namespace NSTextPackage
