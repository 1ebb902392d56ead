// The text conversions over arbitrary bytes, each with the property that
// makes it trustworthy:
//   - bytes from outside (Text16FromBytes, Text16FromUTF8) always give valid
//     text, and decoding what UTF8FromText16 made of it gives it back;
//   - the same bytes read as 16-bit units: a valid text survives the round
//     trips through UTF-8 and UTF-32, an invalid one is refused;
//   - the lenient UTF-32 decoder and the encoders refuse, never crash;
//   - placeholders are filled for any format.

#include "FuzzSupport.h"

#include "foundation/Exceptions.h"
#include "foundation/TextPackage.h"

#include <cstring>

namespace
{
using namespace NSTextPackage;
using NSFuzzing::Require;

void FromOutside(std::string_view bytes)
{
    CRawByteReader reader(bytes.data(), bytes.size());
    try
    {
        bool mark = false;
        const TText16 text = Text16FromBytes(reader, 0, bytes.size(), u'?', &mark);
        Require(IsValidText(text), "text from bytes is valid");
    }
    catch (const XIllegalTextFormat&)
    {
        const TByteOrderMark mark = DetectByteOrderMark(reader, 0, bytes.size());
        Require(mark.fMark != kBOMUTF8 && mark.fMark != kBOMNone, "only a foreign mark is refused");
    }
    const TText16 text = Text16FromUTF8(bytes);
    Require(IsValidText(text), "decoded UTF-8 is valid text");
    Require(Text16FromUTF8(UTF8FromText16(text)) == text, "decoded text survives encoding");
}

void FromUnits(std::string_view bytes)
{
    TText16 units(bytes.size() / 2, u'\0');
    if (!units.empty())
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
    const bool valid = IsValidText(units);
    try
    {
        const std::string utf8 = UTF8FromText16(units);
        Require(valid, "only valid text encodes");
        Require(Text16FromUTF8(utf8) == units, "valid text survives UTF-8");
        const TText32 wide = Text32FromText16(units);
        Require(Text16FromText32(wide) == units, "valid text survives UTF-32");
        Require(ASCIIFromText16(units, '?').size() == units.size(), "one character a unit");
    }
    catch (const XIllegalTextFormat&)
    {
        Require(!valid, "valid text always encodes");
    }
}

void Lenient(std::string_view bytes)
{
    try
    {
        const TText32 wide = Text32FromUTF8(bytes);
        UTF8FromText32(wide);
        Text16FromText32(wide);
    }
    catch (const XIllegalTextFormat&)
    {
    }
    Text16FromASCII(bytes, u'?');
}

void Substitute(std::string_view bytes)
{
    const TText16 format = Text16FromUTF8(bytes);
    SubstituteParameters(format, 0, {u"zero", u"one", u"\U0001F3B9"});
    SubstituteParameters(format, 1, {});
    SubstituteParameters(format, -5, {u"a"});
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const std::string_view bytes = NSFuzzing::BytesOf(data, size);
    FromOutside(bytes);
    FromUnits(bytes);
    Lenient(bytes);
    Substitute(bytes);
    return 0;
}
