#include "generic/Expression.h"

#include "foundation/Assert.h"

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace NSGenericMidiCodec
{
namespace
{
const char* const kSyntaxError = "syntax error";

// Step 1 of a compile: 7-bit characters ("_" for others, which then fail as an
// unknown token), and no blanks. Only blanks: a TAB stays and fails.
std::string NarrowWithoutBlanks(std::u16string_view text)
{
    std::string narrow;
    narrow.reserve(text.size());
    for (const char16 c : text)
    {
        if (c == u' ')
            continue;
        narrow.push_back(c > 127 ? '_' : char(c));
    }
    return narrow;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Step 2: the tokens of the narrowed text.
class CTokenizer
{
public:
    explicit CTokenizer(std::string_view text) : fText(text) {}

    bool AtEnd() const { return fPosition >= fText.size(); }

    CParsedToken Next()
    {
        const char c = fText[fPosition];
        if (IsDigit(c))
            return ReadNumber();
        ++fPosition;
        switch (c)
        {
        case 'x':
        case 'X':
            return MakeVariable(kVariableX);
        case 'y':
        case 'Y':
            return MakeVariable(kVariableY);
        case 'z':
        case 'Z':
            return MakeVariable(kVariableZ);
        case '+':
            return MakeOperator(kOperatorAdd);
        case '-':
            return MakeOperator(kOperatorSubtract);
        case '*':
            return MakeOperator(kOperatorMultiply);
        case '/':
            return MakeOperator(kOperatorDivide);
        case '(':
            return MakeOperator(kOperatorOpen);
        case ')':
            return MakeOperator(kOperatorClose);
        default:
            throw std::runtime_error(kSyntaxError);
        }
    }

private:
    // Each digit is worth itself times ten to the power of its place. Wrapping
    // 32-bit arithmetic gives exactly that for runs of up to 9 digits, and a
    // defined value beyond, where the language defines none.
    CParsedToken ReadNumber()
    {
        u32 value = 0;
        while (!AtEnd() && IsDigit(fText[fPosition]))
            value = value * 10 + u32(fText[fPosition++] - '0');
        CParsedToken token;
        token.fType = CParsedToken::kNumber;
        token.fNumber = i32(value);
        return token;
    }

    static CParsedToken MakeVariable(i32 index)
    {
        CParsedToken token;
        token.fType = CParsedToken::kVariable;
        token.fVariable = index;
        return token;
    }

    static CParsedToken MakeOperator(i32 code)
    {
        CParsedToken token;
        token.fType = CParsedToken::kOperator;
        token.fOperator = code;
        return token;
    }

    std::string_view fText;
    std::size_t fPosition = 0;
};

// Whether the operator on top of the stack is reduced before a new one is
// pushed: the usual two levels, left association for a pair.
bool ReducesBefore(i32 top, i32 incoming)
{
    const bool incomingAdditive = incoming == kOperatorAdd || incoming == kOperatorSubtract;
    const bool incomingMultiplicative = incoming == kOperatorMultiply || incoming == kOperatorDivide;
    switch (top)
    {
    case kOperatorAdd:
    case kOperatorSubtract:
        return incomingAdditive;
    case kOperatorMultiply:
    case kOperatorDivide:
    case kOperatorNegate:
        return incomingAdditive || incomingMultiplicative;
    default:
        return false;
    }
}

CExpression::EType NodeTypeOf(i32 code)
{
    switch (code)
    {
    case kOperatorAdd:
        return CExpression::kAdd;
    case kOperatorSubtract:
        return CExpression::kSubtract;
    case kOperatorMultiply:
        return CExpression::kMultiply;
    case kOperatorDivide:
        return CExpression::kDivide;
    default:
        return CExpression::kNegate;
    }
}

// Step 3: two stacks and the previous token.
class CExpressionParser
{
public:
    TExpressionPtr Parse(std::string_view text)
    {
        CTokenizer tokenizer(text);
        bool havePrevious = false;
        while (!tokenizer.AtEnd())
        {
            CParsedToken token = tokenizer.Next();
            const bool isOperator = token.fType == CParsedToken::kOperator;
            const bool isClose = isOperator && token.fOperator == kOperatorClose;
            if (isOperator)
                TakeOperator(token.fOperator, havePrevious);
            else
                fOperands.push_back(std::move(token));
            havePrevious = true;
            fPreviousWasOperator = isOperator;
            fPreviousWasClose = isClose;
        }
        while (!fOperators.empty())
            Reduce();
        return MakeNode(CExpression::kIdentity, PopOperand(), CExpression::TOperand{});
    }

private:
    void TakeOperator(i32 code, bool havePrevious)
    {
        if (code == kOperatorClose)
        {
            CloseParenthesis();
            return;
        }
        if (code == kOperatorSubtract && (!havePrevious || (fPreviousWasOperator && !fPreviousWasClose)))
            code = kOperatorNegate;
        // One reduction at most: a deliberate property of the language.
        if (!fOperators.empty() && ReducesBefore(fOperators.back(), code))
            Reduce();
        fOperators.push_back(code);
    }

    void CloseParenthesis()
    {
        for (;;)
        {
            if (fOperators.empty())
                throw std::runtime_error(kSyntaxError);
            if (fOperators.back() == kOperatorOpen)
            {
                fOperators.pop_back();
                return;
            }
            Reduce();
        }
    }

    void Reduce()
    {
        const i32 code = fOperators.back();
        fOperators.pop_back();
        if (code == kOperatorOpen)
        {
            // An unclosed "(" at the end: reported, and then read as if closed.
            BF_ASSERT(code != kOperatorOpen);
            return;
        }
        CParsedToken reduced;
        reduced.fType = CParsedToken::kSubexpression;
        if (code == kOperatorNegate)
        {
            reduced.fSubexpression = MakeNode(CExpression::kNegate, PopOperand(), CExpression::TOperand{});
        }
        else
        {
            CExpression::TOperand right = PopOperand();
            CExpression::TOperand left = PopOperand();
            reduced.fSubexpression = MakeNode(NodeTypeOf(code), std::move(left), std::move(right));
        }
        fOperands.push_back(std::move(reduced));
    }

    CExpression::TOperand PopOperand()
    {
        if (fOperands.empty())
        {
            BF_ASSERT(!fOperands.empty());
            throw std::runtime_error("");
        }
        CExpression::TOperand operand = CExpression::TOperand::FromToken(fOperands.back());
        fOperands.pop_back();
        return operand;
    }

    static TExpressionPtr MakeNode(CExpression::EType type, CExpression::TOperand left,
                                   CExpression::TOperand right)
    {
        return std::make_shared<const CExpression>(type, std::move(left), std::move(right));
    }

    std::vector<i32> fOperators;
    std::vector<CParsedToken> fOperands;
    bool fPreviousWasOperator = false;
    bool fPreviousWasClose = false;
};

i32 Wrap(u32 value) { return i32(value); }
} // namespace

bool CParsedToken::Invariant() const
{
    switch (fType)
    {
    case kOperator:
        return fOperator >= kOperatorAdd && fOperator <= kOperatorClose && fNumber == kUnusedField &&
               fVariable == kUnusedVariable && !fSubexpression;
    case kNumber:
        return fOperator == kUnusedField && fVariable == kUnusedVariable && !fSubexpression;
    case kVariable:
        return fOperator == kUnusedField && fNumber == kUnusedField && fVariable >= kVariableX &&
               fVariable <= kVariableZ && !fSubexpression;
    case kSubexpression:
        return fOperator == kUnusedField && fNumber == kUnusedField && fVariable == kUnusedVariable &&
               fSubexpression != nullptr;
    }
    return false;
}

CExpression::TOperand CExpression::TOperand::FromToken(const CParsedToken& token)
{
    BF_ASSERT(token.Invariant());
    TOperand operand;
    switch (token.fType)
    {
    case CParsedToken::kNumber:
        operand.fKind = kNumber;
        operand.fNumber = token.fNumber;
        break;
    case CParsedToken::kVariable:
        operand.fKind = kVariable;
        operand.fVariable = token.fVariable;
        break;
    case CParsedToken::kSubexpression:
        operand.fKind = kSubexpression;
        operand.fSubexpression = token.fSubexpression;
        break;
    case CParsedToken::kOperator:
        BF_ASSERT(token.fType != CParsedToken::kOperator);
        break;
    }
    return operand;
}

bool CExpression::TOperand::Invariant() const
{
    switch (fKind)
    {
    case kNone:
        return fNumber == kUnusedField && fVariable == kUnusedVariable && !fSubexpression;
    case kNumber:
        return fVariable == kUnusedVariable && !fSubexpression;
    case kVariable:
        return fNumber == kUnusedField && fVariable >= kVariableX && fVariable <= kVariableZ &&
               !fSubexpression;
    case kSubexpression:
        return fNumber == kUnusedField && fVariable == kUnusedVariable && fSubexpression != nullptr;
    }
    return false;
}

CExpression::CExpression(EType type, TOperand left, TOperand right)
    : fType(type), fLeft(std::move(left)), fRight(std::move(right))
{
    BF_ASSERT(fLeft.Invariant());
    BF_ASSERT(fRight.Invariant());
    const bool unary = fType == kNegate || fType == kIdentity;
    BF_ASSERT(unary == (fRight.fKind == TOperand::kNone));
}

i32 CExpression::EvaluateOperand(const TOperand& operand, i32 x, i32 y, i32 z) noexcept
{
    switch (operand.fKind)
    {
    case TOperand::kNumber:
        return operand.fNumber;
    case TOperand::kVariable:
        return operand.fVariable == kVariableX ? x : operand.fVariable == kVariableY ? y : z;
    case TOperand::kSubexpression:
        return operand.fSubexpression->Evaluate(x, y, z);
    case TOperand::kNone:
        break;
    }
    return 0;
}

i32 CExpression::Evaluate(i32 x, i32 y, i32 z) const noexcept
{
    const i32 left = EvaluateOperand(fLeft, x, y, z);
    const i32 right = EvaluateOperand(fRight, x, y, z);
    switch (fType)
    {
    case kAdd:
        return Wrap(u32(left) + u32(right));
    case kSubtract:
        return Wrap(u32(left) - u32(right));
    case kMultiply:
        return Wrap(u32(left) * u32(right));
    case kDivide:
        if (right == 0)
            return std::numeric_limits<i32>::max();
        // The one quotient that doesn't fit would stop the machine; it wraps
        // here instead, since input from a surface must never end the program.
        if (left == std::numeric_limits<i32>::min() && right == -1)
            return left;
        return left / right;
    case kNegate:
        return Wrap(0u - u32(left));
    case kIdentity:
        return left;
    }
    return 0;
}

TExpressionPtr CompileExpression(std::u16string_view text)
{
    const std::string narrow = NarrowWithoutBlanks(text);
    if (narrow.empty())
        return nullptr;
    if (narrow.size() > kMaxExpressionLength)
        throw std::runtime_error("Expression too long");
    return CExpressionParser().Parse(narrow);
}
} // namespace NSGenericMidiCodec
