#include "generic/MapRule.h"

#include "AssertionRecorder.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using namespace NSGenericMidiCodec;

namespace
{
using TBytes = std::vector<u8>;
using TValues = std::array<i64, 3>;

std::optional<TValues> MatchOnce(const CMapRule& rule, const TBytes& message)
{
    TValues values{-99, -99, -99};
    if (!rule.Match(message.data(), u32(message.size()), values[0], values[1], values[2]))
        return std::nullopt;
    return values;
}

TEST(PatternMatching, ReadsTheVariablesThroughTheExpressions)
{
    struct TCase
    {
        std::u16string_view fPattern;
        std::u16string_view fValue1, fValue2, fValue3;
        TBytes fMessage;
        std::optional<TValues> fExpected;
    };
    const TCase cases[] = {
        // The format's own examples are the check tool's decode cases.
        {u"12 34 <xxxy yyzz>", u"x", u"y", u"z", {0x12, 0x34, 0x57}, TValues{2, 5, 3}},
        // A message longer than the pattern matches on its start; a shorter one never.
        {u"F8", u"", u"", u"", {0xF8, 0x01, 0x02}, TValues{0, 0, 0}},
        {u"90 xx yy", u"x", u"y", u"", {0x90, 0x40}, std::nullopt},
        // The short read of the format: 8 bits from bit 4 visit one byte and read 0.
        {u"1x x0", u"x", u"", u"", {0x1A, 0xB0}, TValues{0, 0, 0}},
        {u"<00xx xxxx> <xx00 0000>", u"x", u"", u"", {0x3F, 0xC0}, TValues{0, 0, 0}},
        {u"xx xx", u"x", u"", u"", {0x12, 0x34}, TValues{0x1234, 0, 0}},
        // A 32-bit variable, signed: -1 whenever its top bit is set, whatever the rest.
        {u"-xxxxxxxx", u"x", u"", u"", {0x80, 0x00, 0x00, 0x05}, TValues{-1, 0, 0}},
        {u"-xxxxxxxx", u"x", u"", u"", {0x7F, 0xFF, 0xFF, 0xFF}, TValues{0x7FFFFFFF, 0, 0}},
        {u"xxxxxxxx", u"x", u"", u"", {0xFF, 0xFF, 0xFF, 0xFE}, TValues{-2, 0, 0}},
        // "?" clears a pending "-"; a fixed digit does not.
        {u"-?? xx", u"x", u"", u"", {0x00, 0xFF}, TValues{255, 0, 0}},
        {u"-00 xx", u"x", u"", u"", {0x00, 0xFF}, TValues{-1, 0, 0}},
        // Letters and digits in either case; a signed mark inside a binary group.
        {u"bF XX", u"x", u"", u"", {0xBF, 0x05}, TValues{5, 0, 0}},
        {u"<1-xx ? ? ? ? ?>", u"x", u"", u"", {0xD3}, TValues{-2, 0, 0}},
        // An unclosed binary group is no error.
        {u"<1000 0000", u"", u"", u"", {0x80}, TValues{0, 0, 0}}};
    for (const TCase& c : cases)
    {
        const CMapRule rule(c.fPattern, c.fValue1, c.fValue2, c.fValue3);
        EXPECT_EQ(MatchOnce(rule, c.fMessage), c.fExpected) << NSTextPackage::UTF8FromText16(c.fPattern);
    }
}

TEST(PatternCompile, ErrorsThrowTheirMessage)
{
    const std::tuple<std::u16string_view, std::u16string_view, const char*> cases[] = {
        {u"12 3", u"", "Map error: Bad message length"}, {u"1<0>", u"", "Map error: Bad message length"},
        {u"<1>2", u"", "Map error: A hex digit can only start on a nibble boundary"},
        {u"x<1>x", u"", "Map error: A hex digit variable can only start on a nibble boundary"},
        {u"<1>?", u"", "Map error: A hex digit variable can only start on a nibble boundary"},
        {u"xx ?? xx", u"", "Map error: Cannot have fragmented x:s"},
        {u"yy 00 yy", u"", "Map error: Cannot have fragmented y:s"},
        {u"<zz0z>??", u"", "Map error: Cannot have fragmented z:s"},
        {u"<<", u"", "Map error: Nested <:s"}, {u"12>", u"", "Map error: > can only come after a <"},
        {u"<0120>", u"", "Map error: Only 1:s and 0:s are allowed in binary mode"},
        {u"1G", u"", "Map error: Non-hex character"}, {u"12\t34", u"", "Map error: Non-hex character"},
        {u"12 34", u"1+", ""}, {u"12 34", u"q", "syntax error"}};
    for (const auto& [pattern, value1, message] : cases)
    {
        NSTesting::CExpectAssertions expect; // an expression without operands reports first
        try
        {
            CMapRule rule(pattern, value1, u"", u"");
            ADD_FAILURE() << "compiled " << NSTextPackage::UTF8FromText16(TText16(pattern));
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_STREQ(e.what(), message);
        }
    }
}

} // namespace
