// Both string script parsers over the same text. They share one grammar and
// differ in how they fail and in that the framework's straightens curly
// double quotes, so beyond surviving they must agree: both accept or both
// refuse, and the texts differ only in those quotes.

#include "FuzzSupport.h"

#include "foundation/Exceptions.h"
#include "foundation/StringScript.h"

#include <optional>
#include <stdexcept>

namespace
{
using NSFuzzing::Require;

TText16 Straightened(TText16 text)
{
    for (char16& unit : text)
    {
        if (unit == u'\u201C' || unit == u'\u201D')
            unit = u'"';
    }
    return text;
}

std::optional<TStringMap> ParseSupport(std::u16string_view script)
{
    try
    {
        return NSStringScript::Parse(script);
    }
    catch (const std::runtime_error&)
    {
        return std::nullopt;
    }
}

std::optional<TStringMap> ParseFramework(std::u16string_view script)
{
    try
    {
        return NSCorbelan::ParseStringScript(script);
    }
    catch (const NSException::XBadFormat&)
    {
        return std::nullopt;
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const TText16 script = NSFuzzing::TextOf(NSFuzzing::BytesOf(data, size));
    const std::optional<TStringMap> support = ParseSupport(script);
    const std::optional<TStringMap> framework = ParseFramework(script);
    Require(support.has_value() == framework.has_value(), "both parsers accept the same scripts");
    if (!support)
        return 0;
    Require(support->size() == framework->size(), "both parsers find the same ids");
    for (auto a = support->begin(), b = framework->begin(); a != support->end(); ++a, ++b)
    {
        Require(a->first == b->first, "both parsers find the same ids");
        Require(Straightened(a->second) == b->second, "the texts differ only in straightened quotes");
    }
    return 0;
}
