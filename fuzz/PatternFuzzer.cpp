// The pattern compiler with matching. The input is one map row's fields and a
// message: "pattern TAB value1 TAB value2 TAB value3 LF" in UTF-8, then the
// message's raw bytes. Every rule that compiles is matched against every
// prefix of the message, each copied to a block of exactly its size.

#include "FuzzSupport.h"

#include "generic/MapRule.h"

#include <limits>
#include <stdexcept>
#include <vector>

namespace
{
using namespace NSGenericMidiCodec;
using NSFuzzing::Require;

void CheckShape(const CMapRule& rule)
{
    Require(rule.GetBits().size() == rule.GetMask().size(), "bits and mask have one length");
    Require(rule.GetBits().size() == rule.GetByteCount(), "one byte of bits per 8 pattern bits");
    for (std::size_t i = 0; i < rule.GetBits().size(); ++i)
        Require((rule.GetBits()[i] & ~rule.GetMask()[i]) == 0, "fixed bits lie inside the mask");
}

void MatchPrefixes(const CMapRule& rule, std::string_view message)
{
    for (std::size_t size = 0; size <= message.size(); ++size)
    {
        const std::vector<u8> exact(message.begin(), message.begin() + std::ptrdiff_t(size));
        i64 values[3] = {};
        const bool matched = rule.Match(exact.data(), u32(size), values[0], values[1], values[2]);
        Require(!matched || size >= rule.GetByteCount(), "a match needs the whole pattern");
        for (const i64 value : values)
            Require(value >= std::numeric_limits<i32>::min() && value <= std::numeric_limits<i32>::max(), "values are 32-bit results");
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
    const auto [row, message] = NSFuzzing::SplitAt(NSFuzzing::BytesOf(data, size), '\n');
    const auto fields = NSFuzzing::SplitFields(row, '\t', 4);
    TText16 columns[4];
    for (std::size_t i = 0; i < fields.size(); ++i)
        columns[i] = NSFuzzing::TextOf(fields[i]);
    try
    {
        const CMapRule rule(columns[0], columns[1], columns[2], columns[3]);
        CheckShape(rule);
        MatchPrefixes(rule, message.substr(0, 64));
    }
    catch (const std::runtime_error&)
    {
    }
    return 0;
}
