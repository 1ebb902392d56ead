#pragma once
// The 7-bit path of CompareText: a collator's order of the 128 7-bit
// characters as a table, and the comparison of 7-bit texts by it. The table
// is filled by asking the collator itself, and each shortcut is taken only
// where the collator has been shown to agree, so the table's answers are
// exactly the collator's (the tests compare them on every pair of characters
// and on mixed names).
//
// A filled table is immutable; any thread may compare with it.

#include "foundation/TextCompare.h"

#include <unicode/coll.h>

#include <array>
#include <string_view>

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

// Fills the table from the caseless and the case-counting collator of one
// locale (secondary strength, punctuation not ignorable).
TASCIICollationTable MakeASCIICollationTable(const icu::Collator& caseless,
                                             const icu::Collator& exactCase);

// What the table answers when the collator must: a unit above 127 was met
// before the answer was certain, or the table isn't exact for the rule. (A
// plain value rather than std::optional: this sits on the hot path, and the
// optional's two-part result costs a store-forwarding stall.)
inline constexpr ECompareResult kTableUndecided = static_cast<ECompareResult>(0);

// The collator's answer when both texts are 7-bit, else kTableUndecided.
ECompareResult CompareByTable(std::u16string_view a, std::u16string_view b,
                              const TASCIICollationTable& table, bool caseCounts);

// Whether every unit is below 128.
bool IsASCII(std::u16string_view text);
} // namespace NSTextPackage
