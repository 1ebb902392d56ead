#include "foundation/StringScript.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace
{
constexpr char16 kLineSeparator = u'\u2028';
constexpr char16 kLeftDoubleQuote = u'\u201C';
constexpr char16 kRightDoubleQuote = u'\u201D';
constexpr std::size_t kLongestId = 5; // "65535"

// Thrown inside the reader only; each parser turns it into its own failure.
struct TScriptFault
{
    u32 fLine;
};

bool IsBlank(char16 c)
{
    return c == u' ' || c == u'\t';
}

bool IsDigit(char16 c)
{
    return c >= u'0' && c <= u'9';
}

class CScriptReader
{
public:
    CScriptReader(std::u16string_view script, bool straightenQuotes)
        : fScript(script), fStraightenQuotes(straightenQuotes)
    {
    }

    TStringMap Read()
    {
        TStringMap map;
        SkipBlanks();
        while (!AtEnd())
        {
            if (AtLineEnd() || AtComment())
                SkipPastLineEnd();
            else if (IsDigit(Peek()))
                ReadEntry(map);
            else
                Fail();
            SkipBlanks();
        }
        return map;
    }

private:
    bool AtEnd() const { return fPosition >= fScript.size(); }
    char16 Peek() const { return fScript[fPosition]; }

    bool AtLineEnd() const
    {
        if (AtEnd())
            return false;
        const char16 c = Peek();
        return c == u'\r' || c == u'\n' || c == kLineSeparator || c == kParagraphSeparator;
    }

    bool AtComment() const
    {
        return fPosition + 1 < fScript.size() && fScript[fPosition] == u'/' &&
               fScript[fPosition + 1] == u'/';
    }

    void SkipBlanks()
    {
        while (!AtEnd() && IsBlank(Peek()))
            ++fPosition;
    }

    // Steps over one line end, CR LF counting as one.
    void StepOverLineEnd()
    {
        const bool carriageReturn = Peek() == u'\r';
        ++fPosition;
        if (carriageReturn && !AtEnd() && Peek() == u'\n')
            ++fPosition;
        ++fLine;
    }

    void SkipPastLineEnd()
    {
        while (!AtEnd() && !AtLineEnd())
            ++fPosition;
        if (!AtEnd())
            StepOverLineEnd();
    }

    [[noreturn]] void Fail() const { throw TScriptFault{fLine}; }

    void ReadEntry(TStringMap& map)
    {
        const u16 id = ReadId();
        SkipBlanks();
        if (AtEnd() || Peek() != u'{')
            Fail();
        ++fPosition;
        if (AtEnd())
            Fail();
        map[id] = ReadText();
        SkipBlanks();
        if (AtEnd())
            return;
        if (!AtLineEnd() && !AtComment())
            Fail();
        SkipPastLineEnd();
    }

    u16 ReadId()
    {
        const std::size_t first = fPosition;
        while (!AtEnd() && IsDigit(Peek()))
            ++fPosition;
        if (AtEnd())
            Fail();
        const std::u16string_view digits = fScript.substr(first, fPosition - first);
        // Leading zeros don't make a number longer.
        const std::size_t significant = std::min(digits.find_first_not_of(u'0'), digits.size());
        if (digits.size() - significant > kLongestId)
            Fail();
        u32 value = 0;
        for (const char16 digit : digits.substr(significant))
            value = value * 10 + static_cast<u32>(digit - u'0');
        if (value > 0xFFFF)
            Fail();
        return static_cast<u16>(value);
    }

    TText16 ReadText()
    {
        TText16 text;
        while (!AtEnd() && Peek() != u'}')
        {
            char16 c = Peek();
            ++fPosition;
            if (c == u'\\' && !AtEnd() && Peek() == u'r')
            {
                c = kParagraphSeparator;
                ++fPosition;
            }
            else if (fStraightenQuotes && (c == kLeftDoubleQuote || c == kRightDoubleQuote))
                c = u'"';
            else if (c == u'\n' || c == kLineSeparator || c == kParagraphSeparator ||
                     (c == u'\r' && (AtEnd() || Peek() != u'\n')))
                ++fLine;
            text += c;
        }
        if (AtEnd())
            Fail();
        ++fPosition;
        return text;
    }

    std::u16string_view fScript;
    bool fStraightenQuotes;
    std::size_t fPosition = 0;
    u32 fLine = 1;
};

void TraceFault(const TScriptFault& fault)
{
    BF_TRACE("String script: bad entry in line %u", static_cast<unsigned>(fault.fLine));
}
} // namespace

namespace NSStringScript
{
TStringMap Parse(std::u16string_view script)
{
    try
    {
        return CScriptReader(script, false).Read();
    }
    catch (const TScriptFault& fault)
    {
        TraceFault(fault);
        throw std::runtime_error("Bad format");
    }
}
} // namespace NSStringScript

namespace NSCorbelan
{
TStringMap ParseStringScript(std::u16string_view script)
{
    try
    {
        return CScriptReader(script, true).Read();
    }
    catch (const TScriptFault& fault)
    {
        TraceFault(fault);
        BF_THROW_SITE();
        throw NSException::XBadFormat();
    }
}
} // namespace NSCorbelan
