#include "generic/Expression.h"

#include "AssertionRecorder.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

using namespace NSGenericMidiCodec;

namespace
{
struct TEvaluationCase
{
    std::u16string_view fText;
    i32 fX, fY, fZ;
    i32 fResult;
};

void PrintTo(const TEvaluationCase& c, std::ostream* out) { *out << NSTextPackage::UTF8FromText16(c.fText); }

class ExpressionEvaluation : public testing::TestWithParam<TEvaluationCase>
{
};

TEST_P(ExpressionEvaluation, GivesTheLanguagesResult)
{
    const TEvaluationCase& c = GetParam();
    const TExpressionPtr expression = CompileExpression(c.fText);
    ASSERT_NE(expression, nullptr);
    EXPECT_EQ(expression->Evaluate(c.fX, c.fY, c.fZ), c.fResult);
}

constexpr i32 kMin = std::numeric_limits<i32>::min();
constexpr i32 kMax = std::numeric_limits<i32>::max();

INSTANTIATE_TEST_SUITE_P(
    Texts, ExpressionEvaluation,
    testing::Values(
        TEvaluationCase{u"5", 15, 77, 931, 5}, TEvaluationCase{u"z", 15, 77, 931, 931},
        TEvaluationCase{u"-y", 15, 77, 931, -77}, TEvaluationCase{u"1+8", 15, 77, 931, 9},
        TEvaluationCase{u"7+-1", 15, 77, 931, 6}, TEvaluationCase{u"((110+3)-(7*7))/8", 15, 77, 931, 8},
        TEvaluationCase{u"1+2*3", 15, 77, 931, 7}, TEvaluationCase{u"2*3+1", 15, 77, 931, 7},
        TEvaluationCase{u"x+y-z", 1, 2, 3, 0}, TEvaluationCase{u"((x + y) / 3) * z - 7", 22, 8, 2, 13},
        TEvaluationCase{u"-0", 15, 77, 931, 0}, TEvaluationCase{u"2*3*4", 0, 0, 0, 24},
        // One reduction at most: the trailing "-4" binds to the right.
        TEvaluationCase{u"1-2*3-4", 0, 0, 0, -1}, TEvaluationCase{u"(1-2*3)-4", 0, 0, 0, -9},
        TEvaluationCase{u"10-2-3", 0, 0, 0, 5}, TEvaluationCase{u"X*Y", 3, 4, 0, 12},
        // Operands without an operator: blanks go first, then the last operand counts.
        TEvaluationCase{u"x y", 15, 77, 931, 77}, TEvaluationCase{u"1 2", 0, 0, 0, 12},
        TEvaluationCase{u"1(2)", 0, 0, 0, 2}, TEvaluationCase{u"(1)-2", 0, 0, 0, -1},
        // 32-bit arithmetic that wraps, and the division rules.
        TEvaluationCase{u"x/y", 7, 0, 0, kMax}, TEvaluationCase{u"x/(y-y)", 7, 3, 0, kMax},
        TEvaluationCase{u"x/y", -7, 2, 0, -3}, TEvaluationCase{u"x+1", kMax, 0, 0, kMin},
        TEvaluationCase{u"x*y", 65536, 65536, 0, 0}, TEvaluationCase{u"x/y", kMin, -1, 0, kMin},
        TEvaluationCase{u"-x", kMin, 0, 0, kMin}, TEvaluationCase{u"2147483647", 0, 0, 0, kMax},
        TEvaluationCase{u"x*128+y", 0x7F, 0x7F, 0, 16383}, TEvaluationCase{u"x-64", 0x3F, 0, 0, -1}));

TEST(ExpressionCompile, NothingButBlanksGivesNoExpression)
{
    EXPECT_EQ(CompileExpression(u""), nullptr);
    EXPECT_EQ(CompileExpression(u"   "), nullptr);
}

struct TErrorCase
{
    std::u16string_view fText;
    const char* fMessage;
    std::size_t fAssertions;
};

class ExpressionErrors : public testing::TestWithParam<TErrorCase>
{
};

TEST_P(ExpressionErrors, ThrowTheirText)
{
    const TErrorCase& c = GetParam();
    NSTesting::CExpectAssertions expect;
    try
    {
        CompileExpression(c.fText);
        ADD_FAILURE() << "no failure for " << NSTextPackage::UTF8FromText16(c.fText);
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), c.fMessage);
    }
    EXPECT_EQ(expect.Count(), c.fAssertions);
}

INSTANTIATE_TEST_SUITE_P(Texts, ExpressionErrors,
                         testing::Values(TErrorCase{u"+", "", 1}, TErrorCase{u"1+", "", 1},
                                         TErrorCase{u"*2", "", 1}, TErrorCase{u"()", "", 1},
                                         TErrorCase{u"1)", "syntax error", 0},
                                         TErrorCase{u"(1))", "syntax error", 0},
                                         TErrorCase{u"a", "syntax error", 0},
                                         TErrorCase{u"1\t+2", "syntax error", 0},
                                         TErrorCase{u"x\u00E9", "syntax error", 0},
                                         TErrorCase{u"x%2", "syntax error", 0}));

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
    {
        NSTesting::CExpectAssertions expect;
        try
        {
            CompileExpression(text);
            ADD_FAILURE() << "accepted a text of " << text.size() << " units";
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_STREQ(e.what(), "Expression too long");
        }
        EXPECT_EQ(expect.Count(), 0u);
    }
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

TEST(ExpressionCompile, BuildsTheTreeUnderAnIdentityRoot)
{
    const TExpressionPtr expression = CompileExpression(u"-x");
    ASSERT_NE(expression, nullptr);
    EXPECT_EQ(expression->GetType(), CExpression::kIdentity);
    EXPECT_EQ(expression->GetRight().fKind, CExpression::TOperand::kNone);
    const TExpressionPtr& negate = expression->GetLeft().fSubexpression;
    ASSERT_NE(negate, nullptr);
    EXPECT_EQ(negate->GetType(), CExpression::kNegate);
    EXPECT_EQ(negate->GetLeft().fKind, CExpression::TOperand::kVariable);
    EXPECT_EQ(negate->GetLeft().fNumber, kUnusedField);
}
} // namespace
