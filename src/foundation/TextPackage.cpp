#include "foundation/TextPackage.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <cstdio>
#include <cstring>

namespace NSTextPackage
{
namespace
{
constexpr u32 kHighSurrogateFirst = 0xD800;
constexpr u32 kLowSurrogateFirst = 0xDC00;
constexpr u32 kSurrogateLast = 0xDFFF;
constexpr u32 kLargestUTF8CodePoint = 0x3FFFFF;

bool IsHighSurrogate(u32 unit) { return unit >= kHighSurrogateFirst && unit < kLowSurrogateFirst; }
bool IsLowSurrogate(u32 unit) { return unit >= kLowSurrogateFirst && unit <= kSurrogateLast; }

[[noreturn]] void FailConversion(const char* file, int line, bool assert)
{
    if (assert)
        SAssert(file, line);
    TraceThrowSite(file, line);
    throw XIllegalTextFormat();
}

#define BF_FAIL_TEXT(assert) FailConversion(__FILE__, __LINE__, assert)

// Combines a surrogate pair; (high - 0xD800) * 1024 + low + 9216 is the usual
// formula written with the low offset folded in.
u32 CombineSurrogates(u32 high, u32 low) { return (high - 0xD800) * 1024 + low + 9216; }

void AppendUTF8(u32 codePoint, std::string& out)
{
    if (codePoint < 0x80)
    {
        out += static_cast<char>(codePoint);
    }
    else if (codePoint < 0x800)
    {
        out += static_cast<char>(0xC0 | (codePoint >> 6));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
    else if (codePoint < 0x10000)
    {
        out += static_cast<char>(0xE0 | (codePoint >> 12));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
    else
    {
        // The four-byte form is asked to reach up to 0x3FFFFF, so the lead
        // byte takes six bits of the top; past 0x1FFFFF they spill into the
        // lead-byte markers. Kept as the format has always been written.
        out += static_cast<char>(0xF0 | ((codePoint >> 18) & 0x3F));
        out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

// Length of a sequence from its lead byte, or 0 for a byte that leads nothing.
int SequenceLength(u8 lead)
{
    if (lead < 0x80)
        return 1;
    if ((lead & 0xE0) == 0xC0)
        return 2;
    if ((lead & 0xF0) == 0xE0)
        return 3;
    if ((lead & 0xF8) == 0xF0)
        return 4;
    if ((lead & 0xFC) == 0xF8)
        return 5;
    if ((lead & 0xFE) == 0xFC)
        return 6;
    return 0;
}

u32 LeadBits(u8 lead, int length)
{
    static constexpr u8 kMasks[] = {0, 0x7F, 0x1F, 0x0F, 0x07, 0x03, 0x01};
    return lead & kMasks[length];
}

constexpr u32 kInvalidSequence = 0xFFFFFFFF;

// Decodes one sequence of well-formed UTF-8 at i and moves i behind it. Text
// from files is not trusted: a bad lead byte, a missing continuation, an
// overlong form, a surrogate or a value past 0x10FFFF gives kInvalidSequence
// and moves on by one byte, so the rest of the text survives.
u32 DecodeStrictSequence(std::string_view utf8, std::size_t& i)
{
    static constexpr u32 kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const u8 lead = utf8[i];
    const int length = SequenceLength(lead);
    if (length < 2 || length > 4 || i + length > utf8.size())
    {
        ++i;
        return kInvalidSequence;
    }
    u32 value = LeadBits(lead, length);
    for (int k = 1; k < length; ++k)
    {
        const u8 next = utf8[i + k];
        if ((next & 0xC0) != 0x80)
        {
            ++i;
            return kInvalidSequence;
        }
        value = (value << 6) | (next & 0x3F);
    }
    if (value < kSmallest[length] || value > 0x10FFFF ||
        (value >= kHighSurrogateFirst && value <= kSurrogateLast))
    {
        ++i;
        return kInvalidSequence;
    }
    i += length;
    return value;
}
} // namespace

bool IsValidText(std::u16string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const u32 unit = text[i];
        if (IsLowSurrogate(unit))
            return false;
        if (IsHighSurrogate(unit))
        {
            if (i + 1 >= text.size() || !IsLowSurrogate(text[i + 1]))
                return false;
            ++i;
        }
    }
    return true;
}

TText16 Text16FromASCII(std::string_view ascii, char16 replacement)
{
    BF_ASSERT(replacement < 0x80);
    TText16 result;
    result.reserve(ascii.size());
    for (const char c : ascii)
    {
        const auto byte = static_cast<u8>(c);
        if (byte < 0x80)
            result += static_cast<char16>(byte);
        else if (replacement != 0)
            result += replacement;
        else
            BF_FAIL_TEXT(true);
    }
    return result;
}

std::string ASCIIFromText16(std::u16string_view text, char replacement)
{
    BF_ASSERT(IsValidText(text));
    std::string result;
    result.reserve(text.size());
    for (const char16 unit : text)
        result += unit < 0x80 ? static_cast<char>(unit) : replacement;
    return result;
}

TText32 Text32FromText16(std::u16string_view text)
{
    TText32 result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const u32 unit = text[i];
        if (IsLowSurrogate(unit))
            BF_FAIL_TEXT(true);
        if (IsHighSurrogate(unit))
        {
            if (i + 1 >= text.size() || !IsLowSurrogate(text[i + 1]))
                BF_FAIL_TEXT(true);
            result.push_back(CombineSurrogates(unit, text[++i]));
        }
        else
        {
            result.push_back(unit);
        }
    }
    return result;
}

TText16 Text16FromText32(const TText32& text)
{
    TText16 result;
    result.reserve(text.size());
    for (const u32 codePoint : text)
    {
        if (codePoint >= 0x10000)
        {
            if (codePoint > 0x10FFFF)
                BF_FAIL_TEXT(true);
            const u32 offset = codePoint - 0x10000;
            result += static_cast<char16>(0xD800 + (offset >> 10));
            result += static_cast<char16>(0xDC00 + (offset & 0x3FF));
        }
        else
        {
            result += static_cast<char16>(codePoint);
        }
    }
    BF_ASSERT(IsValidText(result));
    return result;
}

std::string UTF8FromText32(const TText32& text)
{
    std::string result;
    result.reserve(text.size());
    for (const u32 codePoint : text)
    {
        if (codePoint > kLargestUTF8CodePoint)
            BF_FAIL_TEXT(true);
        AppendUTF8(codePoint, result);
    }
    return result;
}

TText32 Text32FromUTF8(std::string_view utf8)
{
    TText32 result;
    result.reserve(utf8.size());
    std::size_t i = 0;
    auto byteAt = [&](std::size_t at) -> u8 { return at < utf8.size() ? utf8[at] : 0; };
    while (i < utf8.size() && utf8[i] != 0)
    {
        const u8 lead = utf8[i];
        if (lead == 0xFE)
        {
            // Six continuation bytes, the first taken whole as the top bits;
            // the cursor then moves on by one less than it read.
            u32 value = byteAt(i + 1);
            for (std::size_t k = 2; k <= 6; ++k)
                value = (value << 6) | (byteAt(i + k) & 0x3F);
            result.push_back(value);
            i += 6;
            continue;
        }
        const int length = SequenceLength(lead);
        if (length == 0)
            BF_FAIL_TEXT(true);
        u32 value = LeadBits(lead, length);
        for (int k = 1; k < length; ++k)
            value = (value << 6) | (byteAt(i + k) & 0x3F);
        result.push_back(value);
        i += length;
    }
    return result;
}

std::string UTF8FromText16(std::u16string_view text)
{
    // The common case of a 7-bit text skips the detour through code points.
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        u32 unit = text[i];
        if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]))
            unit = CombineSurrogates(unit, text[++i]);
        else if (IsHighSurrogate(unit) || IsLowSurrogate(unit))
            BF_FAIL_TEXT(true);
        AppendUTF8(unit, result);
    }
    return result;
}

TText16 Text16FromUTF8(std::string_view utf8, char16 replacement)
{
    // No byte gives more than one unit (a four-byte sequence gives two), so
    // the result is made as long as the input once and cut to size at the
    // end: growing it per sequence would cost a pass over the rest of the
    // text for every character beyond 7 bits.
    TText16 result(utf8.size(), u'\0');
    std::size_t out = 0;
    std::size_t i = 0;
    while (i < utf8.size())
    {
        if (static_cast<u8>(utf8[i]) < 0x80)
        {
            result[out++] = static_cast<char16>(utf8[i++]);
            continue;
        }
        const u32 codePoint = DecodeStrictSequence(utf8, i);
        if (codePoint == kInvalidSequence)
        {
            result[out++] = replacement;
        }
        else if (codePoint >= 0x10000)
        {
            result[out++] = static_cast<char16>(0xD800 + ((codePoint - 0x10000) >> 10));
            result[out++] = static_cast<char16>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        }
        else
        {
            result[out++] = static_cast<char16>(codePoint);
        }
    }
    result.resize(out);
    return result;
}

void CRawByteReader::IByteReader_Read(u64 position, u64 count, void* destination)
{
    if (position > fSize || count > fSize - position)
    {
        SAssert(__FILE__, __LINE__);
        BF_THROW_SITE();
        throw NSException::XRead();
    }
    if (count != 0)
        std::memcpy(destination, static_cast<const u8*>(fData) + position, count);
}

TByteOrderMark DetectByteOrderMark(IByteReader& reader, u64 position, u64 count)
{
    u8 bytes[4] = {1, 1, 1, 1};
    const u64 length = count < 4 ? count : 4;
    reader.IByteReader_Read(position, length, bytes);
    auto starts = [&](std::initializer_list<u8> mark) {
        if (mark.size() > length)
            return false;
        return std::memcmp(bytes, mark.begin(), mark.size()) == 0;
    };
    if (starts({0xFF, 0xFE, 0x00, 0x00}))
        return {kBOMUTF32LE, 4};
    if (starts({0x00, 0x00, 0xFE, 0xFF}))
        return {kBOMUTF32BE, 4};
    if (starts({0xEF, 0xBB, 0xBF}))
        return {kBOMUTF8, 3};
    if (starts({0xFE, 0xFF}))
        return {kBOMUTF16BE, 2};
    if (starts({0xFF, 0xFE}))
        return {kBOMUTF16LE, 2};
    return {kBOMNone, 0};
}

TText16 Text16FromBytes(IByteReader& reader, u64 position, u64 count, char16 replacement,
                        bool* foundMark)
{
    const TByteOrderMark mark = DetectByteOrderMark(reader, position, count);
    if (mark.fMark != kBOMUTF8 && mark.fMark != kBOMNone)
        BF_FAIL_TEXT(false);
    if (foundMark != nullptr)
        *foundMark = mark.fMark == kBOMUTF8;
    std::string bytes(count - mark.fLength, '\0');
    reader.IByteReader_Read(position + mark.fLength, bytes.size(), bytes.data());
    return Text16FromUTF8(bytes, replacement);
}

std::size_t Text16Length(const char16* text)
{
    std::size_t length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

void CopyText16(const char16* source, char16* destination, std::size_t limit)
{
    std::size_t i = 0;
    for (; i < limit && source[i] != 0; ++i)
        destination[i] = source[i];
    destination[i] = 0;
}

std::string FormatDouble(double value, int decimals)
{
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

TText16 SubstituteParameters(std::u16string_view format, int baseIndex,
                             const std::vector<TText16>& parameters)
{
    BF_ASSERT(IsValidText(format));
    TText16 result;
    result.reserve(format.size());
    std::size_t substituted = 0;
    for (std::size_t i = 0; i < format.size(); ++i)
    {
        const bool placeholder =
            format[i] == u'^' && i + 1 < format.size() && format[i + 1] >= u'0' && format[i + 1] <= u'9';
        if (!placeholder)
        {
            result += format[i];
            continue;
        }
        // The index starts at the base and takes every following digit, so
        // "^10" is the eleventh parameter. Large runs of digits saturate
        // instead of wrapping into a valid index.
        u64 index = static_cast<u64>(baseIndex < 0 ? 0 : baseIndex);
        while (i + 1 < format.size() && format[i + 1] >= u'0' && format[i + 1] <= u'9')
        {
            index = index * 10 + static_cast<u64>(format[++i] - u'0');
            if (index > parameters.size())
                index = parameters.size();
        }
        if (index < parameters.size())
        {
            result += parameters[index];
            ++substituted;
        }
    }
    BF_ASSERT(substituted >= parameters.size());
    BF_ASSERT(IsValidText(result));
    return result;
}
} // namespace NSTextPackage
