#pragma once
// The text comparison of the program: it ignores case and character width, and
// a leading U+FEFF, but keeps accents apart ("Fader" equals "FADER", not
// "Fäder"). Definition and mapping files compare every name through it.
//
// Texts of 7-bit characters take a table-driven path that answers exactly as
// the collator does; everything else goes to the collator. The table's quick
// answers are inline, so that the names that differ at once or only in case
// cost no call.
//
// All functions may be called on any thread, MIDI threads included.

#include "foundation/ASCIICollationTable.h"
#include "foundation/CompareResult.h"
#include "foundation/Types.h"

#include <memory>
#include <string_view>

namespace NSTextPackage
{
// The collation of the package: one per process, made at first use.
class CTextLocale
{
public:
    CTextLocale();
    ~CTextLocale();
    CTextLocale(const CTextLocale&) = delete;
    CTextLocale& operator=(const CTextLocale&) = delete;

    class CImpl;
    const CImpl& Impl() const { return *fImpl; }
    // The collator's order of the 7-bit characters.
    const TASCIICollationTable& Table() const { return fTable; }

private:
    std::unique_ptr<CImpl> fImpl;
    TASCIICollationTable fTable;
};

// Inline, so that the default argument of every comparison costs a load and
// not a call.
inline const CTextLocale& GetTextLocale()
{
    static const CTextLocale locale;
    return locale;
}

// What the table's quick answer left open: `quick` is kTableUndecided (the
// walk by table may still answer) or kCollatorNeeded. The texts are without
// their byte order marks.
ECompareResult CompareBeyondQuickAnswer(std::u16string_view a, std::u16string_view b,
                                        ECompareResult quick, bool caseCounts,
                                        const CTextLocale& locale);

inline std::u16string_view SkipByteOrderMark(std::u16string_view text)
{
    if (!text.empty() && text.front() == char16{0xFEFF})
        text.remove_prefix(1);
    return text;
}

template <bool kCaseCounts>
inline ECompareResult CompareByLocale(std::u16string_view a, std::u16string_view b,
                                      const CTextLocale& locale)
{
    a = SkipByteOrderMark(a);
    b = SkipByteOrderMark(b);
    const ECompareResult quick = NSASCIICollation::QuickCompare<kCaseCounts>(a, b, locale.Table());
    if (quick == kTableUndecided || quick == kCollatorNeeded) [[unlikely]]
        return CompareBeyondQuickAnswer(a, b, quick, kCaseCounts, locale);
    return quick;
}

inline ECompareResult CompareText(std::u16string_view a, std::u16string_view b,
                                  const CTextLocale& locale = GetTextLocale())
{
    return CompareByLocale<false>(a, b, locale);
}

// As CompareText, but case counts.
inline ECompareResult CompareTextExactCase(std::u16string_view a, std::u16string_view b,
                                           const CTextLocale& locale = GetTextLocale())
{
    return CompareByLocale<true>(a, b, locale);
}

// The collator alone, without the 7-bit path: for tests and the benchmark.
ECompareResult CompareTextWithCollator(std::u16string_view a, std::u16string_view b,
                                       const CTextLocale& locale = GetTextLocale());

TText16 UpperCaseText(std::u16string_view text, const CTextLocale& locale = GetTextLocale());
TText16 LowerCaseText(std::u16string_view text, const CTextLocale& locale = GetTextLocale());

inline bool EqualTexts(std::u16string_view a, std::u16string_view b)
{
    return CompareText(a, b) == kTextEqual;
}
} // namespace NSTextPackage

// Orderings over CompareText, for maps and sorting.
struct CMPCaseInsensitiveStringLess
{
    bool operator()(std::u16string_view a, std::u16string_view b) const
    {
        return NSTextPackage::CompareText(a, b) == NSTextPackage::kTextLess;
    }
};

// Compares the first members, and the second only when the first are equal.
struct CMPCaseInsensitiveStringPairLess
{
    template <class TPair> bool operator()(const TPair& a, const TPair& b) const
    {
        const auto first = NSTextPackage::CompareText(a.first, b.first);
        if (first != NSTextPackage::kTextEqual)
            return first == NSTextPackage::kTextLess;
        return NSTextPackage::CompareText(a.second, b.second) == NSTextPackage::kTextLess;
    }
};
