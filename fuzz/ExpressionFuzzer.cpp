// The expression compiler with evaluation. The input's first 12 bytes are x,
// y and z (little-endian); the rest is the expression's text in UTF-8. A
// compiled expression is evaluated at those values and at the edges of the
// 32-bit range, where the arithmetic must wrap, never trap.

#include "FuzzSupport.h"

#include "generic/Expression.h"

#include <cstring>
#include <limits>
#include <stdexcept>

namespace
{
using namespace NSGenericMidiCodec;

i32 ReadVariable(const u8* data, std::size_t size, std::size_t index)
{
    u32 value = 0;
    if (size >= (index + 1) * 4)
        std::memcpy(&value, data + index * 4, 4);
    return i32(value);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const i32 x = ReadVariable(data, size, 0);
    const i32 y = ReadVariable(data, size, 1);
    const i32 z = ReadVariable(data, size, 2);
    const std::size_t skipped = std::min<std::size_t>(size, 12);
    const TText16 text = NSFuzzing::TextOf(NSFuzzing::BytesOf(data + skipped, size - skipped));
    try
    {
        const TExpressionPtr expression = CompileExpression(text);
        if (!expression)
            return 0;
        constexpr i32 kMin = std::numeric_limits<i32>::min();
        constexpr i32 kMax = std::numeric_limits<i32>::max();
        const i32 y1 = expression->Evaluate(x, y, z);
        const i32 y2 = expression->Evaluate(x, y, z);
        NSFuzzing::Require(y1 == y2, "evaluation depends on the variables only");
        expression->Evaluate(kMin, -1, 0);
        expression->Evaluate(-1, kMin, kMax);
        expression->Evaluate(0, 0, kMin);
    }
    catch (const std::runtime_error&)
    {
    }
    return 0;
}
