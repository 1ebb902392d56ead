#include "generic/Expression.h"

#include "AssertionRecorder.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>

using namespace NSGenericMidiCodec;

namespace
{
constexpr i32 kMin = std::numeric_limits<i32>::min();
constexpr i32 kMax = std::numeric_limits<i32>::max();

TEST(ExpressionEvaluation, GivesTheLanguagesResult)
{
    struct TCase
    {
        std::u16string_view fText;
        i32 fX, fY, fZ;
        i32 fResult;
    };
    const TCase cases[] = {
        // The format's own examples are the check tool's decode cases. One reduction at most: the
        // trailing "-4" of "1-2*3-4" binds to the right.
        {u"(1-2*3)-4", 0, 0, 0, -9}, {u"10-2-3", 0, 0, 0, 5}, {u"X*Y", 3, 4, 0, 12},
        // Operands without an operator: blanks go first, then the last operand counts.
        {u"x y", 15, 77, 931, 77}, {u"1 2", 0, 0, 0, 12}, {u"1(2)", 0, 0, 0, 2}, {u"(1)-2", 0, 0, 0, -1},
        // 32-bit arithmetic that wraps, and the division rules.
        {u"x/y", 7, 0, 0, kMax}, {u"x/(y-y)", 7, 3, 0, kMax}, {u"x/y", -7, 2, 0, -3}, {u"x+1", kMax, 0, 0, kMin},
        {u"x*y", 65536, 65536, 0, 0}, {u"x/y", kMin, -1, 0, kMin}, {u"-x", kMin, 0, 0, kMin},
        {u"2147483647", 0, 0, 0, kMax}, {u"x*128+y", 0x7F, 0x7F, 0, 16383}, {u"x-64", 0x3F, 0, 0, -1}};
    for (const TCase& c : cases)
    {
        SCOPED_TRACE(NSTextPackage::UTF8FromText16(c.fText));
        const TExpressionPtr expression = CompileExpression(c.fText);
        ASSERT_NE(expression, nullptr);
        EXPECT_EQ(expression->Evaluate(c.fX, c.fY, c.fZ), c.fResult);
    }
    EXPECT_EQ(CompileExpression(u""), nullptr);
    EXPECT_EQ(CompileExpression(u"   "), nullptr);
}

// Throws the text, or "" after a failed assertion; returns the assertions.
std::size_t ExpectRefused(const TText16& text, const char* message)
{
    NSTesting::CExpectAssertions expect;
    try
    {
        CompileExpression(text);
        ADD_FAILURE() << "accepted a text of " << text.size() << " units";
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), message);
    }
    return expect.Count();
}

TEST(ExpressionCompile, ErrorsThrowTheirText)
{
    const std::tuple<std::u16string_view, const char*, std::size_t> cases[] = {
        {u"+", "", 1}, {u"1+", "", 1}, {u"*2", "", 1}, {u"()", "", 1}, {u"1)", "syntax error", 0},
        {u"(1))", "syntax error", 0}, {u"a", "syntax error", 0}, {u"1\t+2", "syntax error", 0},
        {u"x\u00E9", "syntax error", 0}, {u"x%2", "syntax error", 0}};
    for (const auto& [text, message, assertions] : cases)
        EXPECT_EQ(ExpectRefused(TText16(text), message), assertions) << NSTextPackage::UTF8FromText16(text);
}

TText16 Repeated(std::u16string_view piece, std::size_t count)
{
    TText16 text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        text += piece;
    return text;
}

// Hostile texts once grew the parser's stacks and the tree with them: a tree
// a million levels deep overflowed the stack when it was evaluated or freed,
// and a million open parentheses were a million failed assertions. Now each
// is refused before the parser starts; blanks don't count.
TEST(ExpressionCompile, TextsPastTheLongestAreRefusedWhateverTheyHold)
{
    const TText16 texts[] = {TText16(1'000'000, u'('), TText16(1'000'000, u'-') + u"x",
                             Repeated(u"1+", 5'000'000) + u"1", Repeated(u"x*(", 1000) + u"x",
                             TText16(kMaxExpressionLength + 1, u'7')};
    for (const TText16& text : texts)
        EXPECT_EQ(ExpectRefused(text, "Expression too long"), 0u);
}

TEST(ExpressionCompile, TheLongestTextMakesTheDeepestTreeThatStillEvaluates)
{
    // 1023 unary minuses: the deepest tree that the bound allows.
    const TText16 deepest = TText16(kMaxExpressionLength - 1, u'-') + u"x";
    const TExpressionPtr expression = CompileExpression(u"  " + deepest + TText16(10'000'000, u' '));
    ASSERT_NE(expression, nullptr);
    EXPECT_EQ(expression->Evaluate(5, 0, 0), -5);
}

TEST(ExpressionCompile, AnUnclosedParenthesisIsReportedAndReadAsClosed)
{
    NSTesting::CExpectAssertions expect;
    const TExpressionPtr expression = CompileExpression(u"(1+2");
    EXPECT_EQ(expect.Count(), 1u);
    ASSERT_NE(expression, nullptr);
    EXPECT_EQ(expression->Evaluate(0, 0, 0), 3);
}

} // namespace
