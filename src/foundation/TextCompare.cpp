#include "foundation/TextCompare.h"

#include "foundation/ASCIICollationTable.h"
#include "foundation/Assert.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace NSTextPackage
{
namespace
{
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
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(icu::Locale::getRoot(), status));
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
    CImpl() : fCaseless(MakeCollator(false)), fExactCase(MakeCollator(true)) {}

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

    TASCIICollationTable MakeTable() const
    {
        return MakeASCIICollationTable(*fCaseless, *fExactCase);
    }

private:
    std::unique_ptr<icu::Collator> fCaseless;
    std::unique_ptr<icu::Collator> fExactCase;
};

CTextLocale::CTextLocale() : fImpl(std::make_unique<CImpl>()), fTable(fImpl->MakeTable()) {}
CTextLocale::~CTextLocale() = default;

ECompareResult CompareBeyondQuickAnswer(std::u16string_view a, std::u16string_view b,
                                        ECompareResult quick, bool caseCounts,
                                        const CTextLocale& locale)
{
    if (quick == kTableUndecided)
    {
        const ECompareResult byTable = WalkByTable(a, b, locale.Table(), caseCounts);
        if (byTable != kTableUndecided)
            return byTable;
    }
    return locale.Impl().Collate(a, b, caseCounts);
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
    int32_t size =
        mapper(reinterpret_cast<UChar*>(result.data()), static_cast<int32_t>(result.size()),
               reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()), "",
               &status);
    if (status == U_BUFFER_OVERFLOW_ERROR)
    {
        result.assign(static_cast<std::size_t>(size), u'\0');
        status = U_ZERO_ERROR;
        size = mapper(reinterpret_cast<UChar*>(result.data()), size,
                      reinterpret_cast<const UChar*>(text.data()),
                      static_cast<int32_t>(text.size()), "", &status);
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
