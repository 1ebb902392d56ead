#pragma once
// The one place that converts between the program's 16-bit text and ASCII,
// UTF-8, UTF-32 and byte streams, and that fills "^0" placeholders. A
// conversion that cannot be done throws NSTextPackage::XIllegalTextFormat,
// after an assertion failure at most sites.
//
// Every function here is stateless and may be called on any thread, MIDI
// threads included.

#include "foundation/Types.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace NSTextPackage
{
using TText32 = std::vector<u32>;

// True when every high surrogate is followed by a low one and no low surrogate
// stands alone.
bool IsValidText(std::u16string_view text);

// A byte above 127 becomes replacement; with a replacement of 0 that is an
// assertion failure and XIllegalTextFormat. The replacement must be 7-bit.
TText16 Text16FromASCII(std::string_view ascii, char16 replacement);
// A unit above 127 becomes replacement.
std::string ASCIIFromText16(std::u16string_view text, char replacement);

TText32 Text32FromText16(std::u16string_view text);
TText16 Text16FromText32(const TText32& text);
// Encodes code points below 0x400000 in up to 4 bytes; above, an assertion
// failure and XIllegalTextFormat.
std::string UTF8FromText32(const TText32& text);
// Decodes lead bytes of 1 to 6 byte sequences and the 0xFE form; continuation
// bytes are not checked. Stops at a zero byte or the end of the view.
TText32 Text32FromUTF8(std::string_view utf8);

// The two conversions that the rest of the program uses all the time.
// UTF8FromText16 throws on an invalid text. Text16FromUTF8 takes bytes from
// outside (files, codecs, the command line): each malformed sequence becomes
// replacement, so that bad bytes never stop a reader.
std::string UTF8FromText16(std::u16string_view text);
TText16 Text16FromUTF8(std::string_view utf8, char16 replacement = u'\uFFFD');

// Byte order marks, as DetectByteOrderMark reports them.
enum EByteOrderMark : u32
{
    kBOMUTF8 = 1900,
    kBOMUTF32LE = 1901,
    kBOMUTF32BE = 1902,
    kBOMUTF16BE = 1903,
    kBOMUTF16LE = 1904,
    kBOMNone = 1905,
};

// A source of bytes by position: reads count bytes at position into
// destination, or throws.
class IByteReader
{
public:
    virtual ~IByteReader() = default;
    virtual void IByteReader_Read(u64 position, u64 count, void* destination) = 0;
};

// Reads from a block of memory; a range outside the block is an assertion
// failure and NSException::XRead.
class CRawByteReader final : public IByteReader
{
public:
    CRawByteReader(const void* data, std::size_t size) : fData(data), fSize(size) {}
    void IByteReader_Read(u64 position, u64 count, void* destination) override;

private:
    const void* fData;
    std::size_t fSize;
};

struct TByteOrderMark
{
    EByteOrderMark fMark = kBOMNone;
    u32 fLength = 0;
};

// Looks at the first (at most 4) of count bytes at position.
TByteOrderMark DetectByteOrderMark(IByteReader& reader, u64 position, u64 count);

// Decodes count bytes at position as UTF-8, skipping a UTF-8 mark; malformed
// sequences become replacement. Any other mark is XIllegalTextFormat. foundMark (optional) tells whether a mark was there.
TText16 Text16FromBytes(IByteReader& reader, u64 position, u64 count, char16 replacement,
                        bool* foundMark = nullptr);

// Length up to the first zero unit.
std::size_t Text16Length(const char16* text);
// Copies at most limit units and always terminates: destination holds limit + 1 units.
void CopyText16(const char16* source, char16* destination, std::size_t limit);

// "%.*f"
std::string FormatDouble(double value, int decimals);

// Fills "^N" placeholders: the digits after a ^ make the index, counted from
// baseIndex. An index past the list vanishes. Fewer substitutions than
// parameters is an assertion failure; the text comes back all the same.
TText16 SubstituteParameters(std::u16string_view format, int baseIndex,
                             const std::vector<TText16>& parameters);
} // namespace NSTextPackage
