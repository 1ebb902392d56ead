#pragma once
// One rule of a definition file: a MIDI pattern that says which bits of an
// incoming message are fixed, which carry the variables x, y and z, and which
// don't matter, joined with the three expressions that make an item's values
// from the variables. Patterns only ever match input; nothing is built from one.
//
// The pattern language. The text is read in hex mode, where each character
// stands for 4 bits, and in binary mode between "<" and ">", where each stands
// for 1 bit. Blanks are skipped everywhere (only blanks: a TAB is a
// "Non-hex character"). "x", "y", "z" (either case) are bits of that variable,
// "?" bits that don't matter, "-" makes the next variable signed; in hex mode
// "0"-"9", "a"-"f" are four fixed bits, in binary mode "0" and "1" one. A
// variable's bits must be one run, though it may be written in pieces and in
// both modes: "<0xxx xxxx> xx xx" is one variable of 23 bits. The length must
// end up a multiple of 8.
//
// Matching compares the pattern with the start of a message: a longer message
// can match a shorter pattern.
//
// Reading a variable visits (width + 7) / 8 bytes from the one that holds its
// first bit, whatever its position: a variable that straddles one more byte
// boundary than its width needs is read short. That is a property of the
// format that definition files rely on (8 bits that begin at bit 4 read as 0),
// and it is kept.

#include "generic/Expression.h"

#include "foundation/Types.h"

#include <string_view>
#include <vector>

namespace NSGenericMidiCodec
{
// The value of a hexadecimal digit in either case, or -1: the digits of
// patterns and of the byte strings of definition files.
int HexDigitValue(char16 c);

// The bits of one variable, counted from 0 at the high bit of byte 0; both -1
// when the variable is not used.
struct TBitRange
{
    i32 fFirst = -1;
    i32 fLast = -1;
    bool fSigned = false;

    bool IsUsed() const { return fFirst >= 0; }
};

class CMapRule
{
public:
    // Compiles the pattern and the three expressions (an empty expression text
    // gives the constant 0). Throws std::runtime_error with the message of the
    // first error, such as "Map error: Nested <:s". An empty pattern compiles
    // to an empty rule, which is a failed assertion.
    CMapRule(std::u16string_view pattern, std::u16string_view value1, std::u16string_view value2,
             std::u16string_view value3);

    // On a match sets the three values: each expression's 32-bit result,
    // extended to 64 bits, or 0 for an empty column. Any thread, MIDI threads
    // included; allocates nothing.
    bool Match(const u8* data, u32 size, i64& value1, i64& value2, i64& value3) const noexcept;

    // The fixed part of the pattern, a byte at a time: a message byte b fits
    // when (b & GetMask()[i]) == GetBits()[i].
    u32 GetBitCount() const { return fBitCount; }
    u32 GetByteCount() const { return fBitCount / 8; }
    const std::vector<u8>& GetBits() const { return fBits; }
    const std::vector<u8>& GetMask() const { return fMask; }
    const TBitRange& GetX() const { return fX; }
    const TBitRange& GetY() const { return fY; }
    const TBitRange& GetZ() const { return fZ; }

    bool Invariant() const;

private:
    // A variable's read, worked out at compile time from its range.
    struct TVariableReader
    {
        u32 fFirstByte = 0;
        u32 fByteCount = 0; // at most 4: earlier bytes would be shifted out of 32 bits
        u32 fShiftLeft[4] = {};
        u8 fByteMask[4] = {};
        u32 fShiftRight = 0;
        u32 fSignBit = 0;   // 0 for unsigned
        u32 fWidthMask = 0; // the low width bits; 0 for a width of 32
        bool fUsed = false;

        static TVariableReader For(const TBitRange& range);
        u32 Read(const u8* data) const noexcept;
    };

    void CompilePattern(std::u16string_view pattern);
    void CheckInvariant() const;

    u32 fBitCount = 0;
    std::vector<u8> fBits;
    std::vector<u8> fMask;
    TBitRange fX;
    TBitRange fY;
    TBitRange fZ;
    TExpressionPtr fValue1Expression;
    TExpressionPtr fValue2Expression;
    TExpressionPtr fValue3Expression;
    TVariableReader fXReader;
    TVariableReader fYReader;
    TVariableReader fZReader;
};
} // namespace NSGenericMidiCodec
