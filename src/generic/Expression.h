#pragma once
// The expression language of the Value1, Value2 and Value3 columns of a
// definition file: small arithmetic over the variables x, y and z that a MIDI
// pattern extracted. An expression is compiled once, when the file is read,
// into a tree of CExpression nodes, and evaluated for each matching message.
//
// The language in short: decimal numbers, the variables x, y, z (either case,
// one character each), "+", "-", "*", "/", unary minus and parentheses. Blanks
// vanish before anything else, so "1 2" is 12. Evaluation is 32-bit signed
// arithmetic that wraps; "/" truncates toward zero, and dividing by zero gives
// 2147483647.
//
// Kept on purpose, since definition files in use rely on it: the parser
// reduces at most one pending operator before it pushes a new one, so three
// pending levels are not flattened at once. "1-2*3-4" is 1-(2*3-4), that is -1.
// Authors use parentheses where that matters. And operands without an
// operator between them go unnoticed: the last one counts, so "1(2)" is 2.

#include "foundation/Types.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace NSGenericMidiCodec
{
class CExpression;
using TExpressionPtr = std::shared_ptr<const CExpression>;

// What a field holds where it does not apply: a debug aid that the invariant checks.
inline constexpr i32 kUnusedField = 666;
inline constexpr i32 kUnusedVariable = 3;

enum EOperatorCode : i32
{
    kOperatorAdd = 0,
    kOperatorSubtract = 1,
    kOperatorMultiply = 2,
    kOperatorDivide = 3,
    kOperatorNegate = 4, // unary minus
    kOperatorOpen = 5,
    kOperatorClose = 6,
};

enum EVariableIndex : i32
{
    kVariableX = 0,
    kVariableY = 1,
    kVariableZ = 2,
};

// One token of an expression's text, or a reduced part of it on the parser's
// operand stack.
struct CParsedToken
{
    enum EType : i32
    {
        kOperator = 0,
        kNumber = 1,
        kVariable = 2,
        kSubexpression = 3,
    };

    EType fType = kOperator;
    i32 fOperator = kUnusedField;
    i32 fNumber = kUnusedField;
    i32 fVariable = kUnusedVariable;
    TExpressionPtr fSubexpression;

    bool Invariant() const;
};

// One node of a compiled expression.
class CExpression
{
public:
    enum EType : i32
    {
        kAdd = 0,
        kSubtract = 1,
        kMultiply = 2,
        kDivide = 3,
        kNegate = 4,
        kIdentity = 7,
    };

    // A leaf: a number, a variable, or a further node; or nothing, for the
    // right side of negate and identity.
    struct TOperand
    {
        enum EKind : i32
        {
            kNone,
            kNumber,
            kVariable,
            kSubexpression,
        };

        EKind fKind = kNone;
        i32 fNumber = kUnusedField;
        i32 fVariable = kUnusedVariable;
        TExpressionPtr fSubexpression;

        static TOperand FromToken(const CParsedToken& token);
        bool Invariant() const;
    };

    CExpression(EType type, TOperand left, TOperand right);

    // Never fails and allocates nothing. Any thread, MIDI threads included.
    i32 Evaluate(i32 x, i32 y, i32 z) const noexcept;

    EType GetType() const { return fType; }
    const TOperand& GetLeft() const { return fLeft; }
    const TOperand& GetRight() const { return fRight; }

private:
    static i32 EvaluateOperand(const TOperand& operand, i32 x, i32 y, i32 z) noexcept;

    EType fType;
    TOperand fLeft;
    TOperand fRight;
};

// The longest expression, counted once its blanks are gone. Definition files
// hold a few characters; the bound keeps the parser's stacks, the compiled
// tree and the recursion of its evaluation (on MIDI threads) small whatever a
// file holds.
inline constexpr std::size_t kMaxExpressionLength = 1024;

// Compiles an expression's text; null when nothing is left of the text once
// its blanks are gone. Throws std::runtime_error: "Expression too long" past
// kMaxExpressionLength, "syntax error" for a character or a ")" that has no
// place, and an empty text (after a failed assertion) for an operator without
// enough operands, such as "+" or "1+".
TExpressionPtr CompileExpression(std::u16string_view text);
} // namespace NSGenericMidiCodec
