#include "generic/MapRule.h"

#include "foundation/Assert.h"

#include <stdexcept>
#include <string>

namespace NSGenericMidiCodec
{
int HexDigitValue(char16 c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

namespace
{
[[noreturn]] void Fail(const char* message) { throw std::runtime_error(message); }

// The compiler's walk: a bit counter, the mode, and the variable that a "-"
// has made signed ahead of time.
class CPatternCompiler
{
public:
    CPatternCompiler(std::vector<u8>& bits, std::vector<u8>& mask, TBitRange* variables)
        : fBits(bits), fMask(mask), fVariables(variables)
    {
    }

    u32 Compile(std::u16string_view pattern)
    {
        for (const char16 c : pattern)
            Take(c);
        if (fBitCount % 8 != 0)
            Fail("Map error: Bad message length");
        return fBitCount;
    }

private:
    void Take(char16 c)
    {
        switch (c)
        {
        case u' ':
            return;
        case u'<':
            if (fBinary)
                Fail("Map error: Nested <:s");
            fBinary = true;
            return;
        case u'>':
            if (!fBinary)
                Fail("Map error: > can only come after a <");
            fBinary = false;
            return;
        case u'-':
            fPendingSigned = true;
            return;
        case u'x':
        case u'X':
            return TakeVariable(0, "Map error: Cannot have fragmented x:s");
        case u'y':
        case u'Y':
            return TakeVariable(1, "Map error: Cannot have fragmented y:s");
        case u'z':
        case u'Z':
            return TakeVariable(2, "Map error: Cannot have fragmented z:s");
        case u'?':
            CheckVariableStart();
            fPendingSigned = false;
            return AppendFree(Width());
        default:
            return fBinary ? TakeBinaryDigit(c) : TakeHexDigit(c);
        }
    }

    u32 Width() const { return fBinary ? 1 : 4; }

    void CheckVariableStart() const
    {
        if (!fBinary && fBitCount % 4 != 0)
            Fail("Map error: A hex digit variable can only start on a nibble boundary");
    }

    void TakeVariable(int index, const char* fragmentedMessage)
    {
        CheckVariableStart();
        TBitRange& range = fVariables[index];
        if (range.IsUsed() && range.fLast != i32(fBitCount) - 1)
            Fail(fragmentedMessage);
        if (!range.IsUsed())
            range.fFirst = i32(fBitCount);
        range.fLast = i32(fBitCount + Width()) - 1;
        if (fPendingSigned)
            range.fSigned = true;
        fPendingSigned = false;
        AppendFree(Width());
    }

    void TakeBinaryDigit(char16 c)
    {
        if (c != u'0' && c != u'1')
            Fail("Map error: Only 1:s and 0:s are allowed in binary mode");
        AppendFixed(c == u'1', 1);
    }

    void TakeHexDigit(char16 c)
    {
        const int value = HexDigitValue(c);
        if (value < 0)
            Fail("Map error: Non-hex character");
        if (fBitCount % 4 != 0)
            Fail("Map error: A hex digit can only start on a nibble boundary");
        for (int bit = 3; bit >= 0; --bit)
            AppendFixed((value >> bit) & 1, 1);
    }

    void AppendFixed(bool value, u32 count)
    {
        for (u32 i = 0; i < count; ++i)
            AppendBit(value, true);
    }

    void AppendFree(u32 count)
    {
        for (u32 i = 0; i < count; ++i)
            AppendBit(false, false);
    }

    // Bit n of the pattern is bit 7 - n % 8 of byte n / 8.
    void AppendBit(bool value, bool fixed)
    {
        if (fBitCount % 8 == 0)
        {
            fBits.push_back(0);
            fMask.push_back(0);
        }
        const u8 bit = u8(0x80 >> (fBitCount % 8));
        if (value)
            fBits.back() |= bit;
        if (fixed)
            fMask.back() |= bit;
        ++fBitCount;
    }

    std::vector<u8>& fBits;
    std::vector<u8>& fMask;
    TBitRange* fVariables;
    u32 fBitCount = 0;
    bool fBinary = false;
    bool fPendingSigned = false;
};

bool Overlap(const TBitRange& a, const TBitRange& b)
{
    return a.IsUsed() && b.IsUsed() && a.fFirst <= b.fLast && b.fFirst <= a.fLast;
}

i64 EvaluateColumn(const TExpressionPtr& expression, u32 x, u32 y, u32 z) noexcept
{
    return expression ? i64(expression->Evaluate(i32(x), i32(y), i32(z))) : 0;
}
} // namespace

CMapRule::CMapRule(std::u16string_view pattern, std::u16string_view value1, std::u16string_view value2,
                   std::u16string_view value3)
{
    CompilePattern(pattern);
    fValue1Expression = CompileExpression(value1);
    fValue2Expression = CompileExpression(value2);
    fValue3Expression = CompileExpression(value3);
}

void CMapRule::CompilePattern(std::u16string_view pattern)
{
    TBitRange variables[3];
    fBitCount = CPatternCompiler(fBits, fMask, variables).Compile(pattern);
    fX = variables[0];
    fY = variables[1];
    fZ = variables[2];
    CheckInvariant();
    fXReader = TVariableReader::For(fX);
    fYReader = TVariableReader::For(fY);
    fZReader = TVariableReader::For(fZ);
}

bool CMapRule::Invariant() const
{
    const auto rangeSound = [this](const TBitRange& range) {
        return !range.IsUsed() ||
               (range.fFirst <= range.fLast && range.fLast < i32(fBitCount) && range.fLast - range.fFirst < 32);
    };
    return fBits.size() == fMask.size() && fBitCount > 0 && fBitCount % 8 == 0 && fBits.size() * 8 == fBitCount &&
           rangeSound(fX) && rangeSound(fY) && rangeSound(fZ) && !Overlap(fX, fY);
}

void CMapRule::CheckInvariant() const
{
    // Broken only by an empty pattern or a variable wider than 32 bits; the
    // rule stays usable either way, so the reader goes on after the report.
    BF_ASSERT(Invariant());
}

CMapRule::TVariableReader CMapRule::TVariableReader::For(const TBitRange& range)
{
    TVariableReader reader;
    if (!range.IsUsed())
        return reader;
    reader.fUsed = true;
    const u32 first = u32(range.fFirst);
    const u32 last = u32(range.fLast);
    const u32 width = last - first + 1;
    const u32 visited = (width + 7) / 8;
    const u32 firstVisited = first / 8;
    // Bytes that would be shifted by 32 or more leave no trace in the 32-bit
    // accumulator; only widths above 32, which the invariant refuses, have them.
    const u32 dropped = visited > 4 ? visited - 4 : 0;
    reader.fFirstByte = firstVisited + dropped;
    reader.fByteCount = visited - dropped;
    for (u32 k = 0; k < reader.fByteCount; ++k)
    {
        const u32 byteIndex = reader.fFirstByte + k;
        u8 mask = 0;
        for (u32 bit = 0; bit < 8; ++bit)
        {
            const u32 position = byteIndex * 8 + bit;
            if (position >= first && position <= last)
                mask |= u8(0x80 >> bit);
        }
        reader.fByteMask[k] = mask;
        reader.fShiftLeft[k] = 8 * (reader.fByteCount - 1 - k);
    }
    // Taken modulo 32, as a machine's shift does: negative for a short read.
    const i64 shift = i64(firstVisited + visited) * 8 - i64(last) - 1;
    reader.fShiftRight = u32(shift) & 31;
    if (range.fSigned)
    {
        reader.fSignBit = width >= 32 ? 0x80000000u : (1u << (width - 1));
        reader.fWidthMask = width >= 32 ? 0 : (1u << width) - 1;
    }
    return reader;
}

u32 CMapRule::TVariableReader::Read(const u8* data) const noexcept
{
    if (!fUsed)
        return 0;
    u32 accumulator = 0;
    for (u32 k = 0; k < fByteCount; ++k)
        accumulator |= u32(data[fFirstByte + k] & fByteMask[k]) << fShiftLeft[k];
    u32 value = accumulator >> fShiftRight;
    if (fSignBit != 0 && (value & fSignBit) != 0)
        value = (value & fWidthMask) | ~fWidthMask;
    return value;
}

bool CMapRule::Match(const u8* data, u32 size, i64& value1, i64& value2, i64& value3) const noexcept
{
    const u32 byteCount = fBitCount / 8;
    if (size < byteCount)
        return false;
    const u8* bits = fBits.data();
    const u8* mask = fMask.data();
    for (u32 i = 0; i < byteCount; ++i)
    {
        if ((data[i] & mask[i]) != bits[i])
            return false;
    }
    const u32 x = fXReader.Read(data);
    const u32 y = fYReader.Read(data);
    const u32 z = fZReader.Read(data);
    value1 = EvaluateColumn(fValue1Expression, x, y, z);
    value2 = EvaluateColumn(fValue2Expression, x, y, z);
    value3 = EvaluateColumn(fValue3Expression, x, y, z);
    return true;
}
} // namespace NSGenericMidiCodec
