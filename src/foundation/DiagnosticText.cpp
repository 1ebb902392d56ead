#include "foundation/DiagnosticText.h"

namespace
{
bool IsContinuation(unsigned char c)
{
    return (c & 0xC0) == 0x80;
}

// What a lead byte opens: the length of the sequence and the smallest code
// point that it may carry (anything below is an overlong form). Length 0 for a
// byte that can't open a sequence.
struct TSequence
{
    int fLength;
    char32_t fMinimum;
};

TSequence SequenceOf(unsigned char lead)
{
    if (lead < 0x80)
        return {1, 0};
    if ((lead & 0xE0) == 0xC0)
        return {2, 0x80};
    if ((lead & 0xF0) == 0xE0)
        return {3, 0x800};
    if ((lead & 0xF8) == 0xF0)
        return {4, 0x10000};
    return {0, 0};
}

void AppendCodePoint(TText16& out, char32_t c)
{
    if (c < 0x10000)
    {
        out.push_back(static_cast<char16>(c));
        return;
    }
    c -= 0x10000;
    out.push_back(static_cast<char16>(0xD800 + (c >> 10)));
    out.push_back(static_cast<char16>(0xDC00 + (c & 0x3FF)));
}

void AppendUTF8(std::string& out, char32_t c)
{
    if (c < 0x80)
    {
        out.push_back(static_cast<char>(c));
    }
    else if (c < 0x800)
    {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
    else if (c < 0x10000)
    {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
    else
    {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}
} // namespace

TText16 Text16FromUTF8Lenient(std::string_view utf8)
{
    TText16 out;
    out.reserve(utf8.size());
    std::size_t i = 0;
    while (i < utf8.size())
    {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const auto [length, minimum] = SequenceOf(lead);
        char32_t c = length == 1 ? lead : lead & (0x7F >> length);
        int taken = 1;
        while (length > 1 && taken < length && i + taken < utf8.size() &&
               IsContinuation(static_cast<unsigned char>(utf8[i + taken])))
        {
            c = (c << 6) | (static_cast<unsigned char>(utf8[i + taken]) & 0x3F);
            ++taken;
        }
        const bool valid = length != 0 && taken == length && c >= minimum && c <= 0x10FFFF &&
                           (c < 0xD800 || c > 0xDFFF);
        AppendCodePoint(out, valid ? c : kReplacementCharacter);
        i += taken;
    }
    return out;
}

std::string UTF8FromText16Lenient(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        char32_t c = text[i];
        const bool high = c >= 0xD800 && c <= 0xDBFF;
        if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = kReplacementCharacter;
        AppendUTF8(out, c);
    }
    return out;
}
