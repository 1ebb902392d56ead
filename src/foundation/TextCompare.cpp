#include "foundation/TextCompare.h"

#include "foundation/Assert.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/sortkey.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <string>
#include <stdexcept>
#include <vector>

namespace NSTextPackage
{
namespace
{
constexpr char16 kByteOrderMark = 0xFEFF;
// A 7-bit character whose rank is this must go to the collator: it is
// ignorable there (most control characters), so a table cannot answer.
constexpr u8 kNoRank = 0xFF;

std::u16string_view SkipByteOrderMark(std::u16string_view text)
{
    if (!text.empty() && text.front() == kByteOrderMark)
        text.remove_prefix(1);
    return text;
}

ECompareResult FromCollation(UCollationResult result)
{
    if (result == UCOL_LESS)
        return kTextLess;
    if (result == UCOL_GREATER)
        return kTextGreater;
    return kTextEqual;
}

std::unique_ptr<icu::Collator> MakeCollator(bool caseCounts)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !collator)
        throw std::runtime_error("text collation is not available");
    // Secondary strength keeps accents and drops case and width; the case
    // level brings case back without bringing width back.
    collator->setStrength(icu::Collator::SECONDARY);
    collator->setAttribute(UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, status);
    collator->setAttribute(UCOL_CASE_LEVEL, caseCounts ? UCOL_ON : UCOL_OFF, status);
    collator->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
    if (U_FAILURE(status))
        throw std::runtime_error("text collation is not available");
    return collator;
}
} // namespace

class CTextLocale::CImpl
{
public:
    CImpl() : fCaseless(MakeCollator(false)), fExactCase(MakeCollator(true)) { BuildRanks(); }

    ECompareResult Collate(std::u16string_view a, std::u16string_view b, bool caseCounts) const
    {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Collator& collator = caseCounts ? *fExactCase : *fCaseless;
        const UCollationResult result =
            collator.compare(a.data(), static_cast<int32_t>(a.size()), b.data(),
                             static_cast<int32_t>(b.size()), status);
        if (U_FAILURE(status))
            throw std::exception();
        return FromCollation(result);
    }

    // Answers for two 7-bit texts of ranked characters, as the caseless
    // collator would; false when some character has no rank.
    bool CompareSevenBit(std::u16string_view a, std::u16string_view b, ECompareResult& result) const
    {
        const std::size_t common = std::min(a.size(), b.size());
        for (std::size_t i = 0; i < common; ++i)
        {
            if (a[i] >= 0x80 || b[i] >= 0x80)
                return false;
            const u8 rankA = fRanks[a[i]];
            const u8 rankB = fRanks[b[i]];
            if (rankA == kNoRank || rankB == kNoRank)
                return false;
            if (rankA != rankB)
            {
                result = rankA < rankB ? kTextLess : kTextGreater;
                return RestIsRanked(a, common) && RestIsRanked(b, common);
            }
        }
        if (!RestIsRanked(a, common) || !RestIsRanked(b, common))
            return false;
        result = a.size() == b.size() ? kTextEqual : (a.size() < b.size() ? kTextLess : kTextGreater);
        return true;
    }

private:
    bool RestIsRanked(std::u16string_view text, std::size_t from) const
    {
        for (std::size_t i = from; i < text.size(); ++i)
            if (text[i] >= 0x80 || fRanks[text[i]] == kNoRank)
                return false;
        return true;
    }

    // Every 7-bit character that the collator gives exactly one weight gets
    // its rank among the others, with upper and lower case sharing one. Two
    // texts of such characters then compare as their rank sequences do.
    void BuildRanks()
    {
        struct TKeyed
        {
            char16 fChar;
            std::string fKey;
        };
        std::vector<TKeyed> keyed;
        fRanks.fill(kNoRank);
        for (char16 c = 0; c < 0x80; ++c)
        {
            std::string key = SortKeyOf(c);
            if (!HasSingleWeight(key))
                continue;
            keyed.push_back({c, std::move(key)});
        }
        std::sort(keyed.begin(), keyed.end(),
                  [](const TKeyed& x, const TKeyed& y) { return x.fKey < y.fKey; });
        u8 rank = 0;
        for (std::size_t i = 0; i < keyed.size(); ++i)
        {
            if (i > 0 && keyed[i].fKey != keyed[i - 1].fKey)
                ++rank;
            fRanks[keyed[i].fChar] = rank;
        }
    }

    std::string SortKeyOf(char16 c) const
    {
        const UChar text[1] = {c};
        const int32_t size = fCaseless->getSortKey(text, 1, nullptr, 0);
        std::string key(static_cast<std::size_t>(size), '\0');
        fCaseless->getSortKey(text, 1, reinterpret_cast<uint8_t*>(key.data()), size);
        key.resize(std::char_traits<char>::length(key.c_str()));
        return key;
    }

    // A sort key is weights, level separator 01, weights, terminator 00. A
    // character that the table can stand for has a non-empty primary level.
    static bool HasSingleWeight(const std::string& key)
    {
        return !key.empty() && key[0] != 0x01;
    }

    std::unique_ptr<icu::Collator> fCaseless;
    std::unique_ptr<icu::Collator> fExactCase;
    std::array<u8, 0x80> fRanks{};
};

CTextLocale::CTextLocale() : fImpl(std::make_unique<CImpl>()) {}
CTextLocale::~CTextLocale() = default;

const CTextLocale& GetTextLocale()
{
    static const CTextLocale locale;
    return locale;
}

ECompareResult CompareText(std::u16string_view a, std::u16string_view b, const CTextLocale& locale)
{
    a = SkipByteOrderMark(a);
    b = SkipByteOrderMark(b);
    ECompareResult result = kTextEqual;
    if (locale.Impl().CompareSevenBit(a, b, result))
        return result;
    return locale.Impl().Collate(a, b, false);
}

ECompareResult CompareTextExactCase(std::u16string_view a, std::u16string_view b,
                                    const CTextLocale& locale)
{
    return locale.Impl().Collate(SkipByteOrderMark(a), SkipByteOrderMark(b), true);
}

ECompareResult CompareTextWithCollator(std::u16string_view a, std::u16string_view b,
                                       const CTextLocale& locale)
{
    return locale.Impl().Collate(SkipByteOrderMark(a), SkipByteOrderMark(b), false);
}

namespace
{
using TCaseMapper = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*);

TText16 MapCase(std::u16string_view text, TCaseMapper mapper)
{
    // Case mapping may lengthen a text (German sharp s becomes two letters),
    // so the first call may only tell the size.
    TText16 result(text.size(), u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t size = mapper(reinterpret_cast<UChar*>(result.data()), static_cast<int32_t>(result.size()),
                          reinterpret_cast<const UChar*>(text.data()),
                          static_cast<int32_t>(text.size()), "", &status);
    if (status == U_BUFFER_OVERFLOW_ERROR)
    {
        result.assign(static_cast<std::size_t>(size), u'\0');
        status = U_ZERO_ERROR;
        size = mapper(reinterpret_cast<UChar*>(result.data()), size,
                      reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()), "",
                      &status);
    }
    if (U_FAILURE(status) && status != U_STRING_NOT_TERMINATED_WARNING)
        throw std::exception();
    result.resize(static_cast<std::size_t>(size));
    return result;
}
} // namespace

TText16 UpperCaseText(std::u16string_view text, const CTextLocale&)
{
    return MapCase(text, &u_strToUpper);
}

TText16 LowerCaseText(std::u16string_view text, const CTextLocale&)
{
    return MapCase(text, &u_strToLower);
}
} // namespace NSTextPackage
