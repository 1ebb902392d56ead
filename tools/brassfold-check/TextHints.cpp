#include "TextHints.h"

#include "foundation/TextCompare.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <numeric>

namespace NSCheckTool
{
namespace
{
char16 Folded(char16 c) { return c >= u'A' && c <= u'Z' ? char16(c - u'A' + u'a') : c; }

// The optimal string alignment distance, case not counting. Ours, since no
// library at hand offers it and the names compared are short.
std::size_t EditDistance(std::u16string_view a, std::u16string_view b)
{
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i)
        d[i][0] = i;
    std::iota(d[0].begin(), d[0].end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i)
        for (std::size_t j = 1; j <= b.size(); ++j)
        {
            const std::size_t change = Folded(a[i - 1]) == Folded(b[j - 1]) ? 0 : 1;
            d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && Folded(a[i - 1]) == Folded(b[j - 2]) && Folded(a[i - 2]) == Folded(b[j - 1]))
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    return d[a.size()][b.size()];
}

bool StartsWithWord(std::u16string_view text, std::u16string_view word)
{
    return text.size() > word.size() && text[word.size()] == u' ' &&
           NSTextPackage::EqualTexts(text.substr(0, word.size()), word);
}
} // namespace

std::string UTF8(std::u16string_view text) { return NSTextPackage::UTF8FromText16(TText16(text)); }

std::string Quoted(std::u16string_view text)
{
    std::string quoted = "\"";
    for (const char16 c : text)
        quoted.append(c == u'\t' ? "\\t" : UTF8(std::u16string_view(&c, 1)));
    quoted.append("\"");
    const bool leading = !text.empty() && text.front() == u' ';
    const bool trailing = !text.empty() && text.back() == u' ';
    if (leading || trailing)
        quoted.append(leading && trailing ? " (blanks at both ends)"
                                          : leading ? " (it begins with a blank)" : " (it ends in a blank)");
    return quoted;
}

std::optional<TText16> NearestName(std::u16string_view text, const std::vector<TText16>& names)
{
    std::optional<TText16> nearest;
    std::size_t best = 0;
    for (const TText16& name : names)
    {
        if (NSTextPackage::EqualTexts(text, name))
            return std::nullopt;
        const std::size_t allowed = name.size() <= 4 ? 1 : 2;
        const std::size_t distance = EditDistance(text, name);
        if (distance <= allowed && (!nearest || distance < best))
        {
            nearest = name;
            best = distance;
        }
    }
    return nearest;
}

std::string DescribeStrayRow(const std::vector<TText16>& fields, const std::vector<TText16>& keywords)
{
    const auto isKeyword = [&](const TText16& keyword) { return NSTextPackage::EqualTexts(fields.front(), keyword); };
    if (fields.empty() || std::any_of(keywords.begin(), keywords.end(), isKeyword))
        return {};
    const bool blankRuns = std::any_of(fields.begin(), fields.end(),
                                       [](const TText16& field) { return field.find(u"  ") != TText16::npos; });
    const bool keywordAndBlank = std::any_of(keywords.begin(), keywords.end(), [&](const TText16& keyword) {
        return StartsWithWord(fields.front(), keyword);
    });
    if (blankRuns || keywordAndBlank)
        return "its cells are separated by blanks, not by TABs";
    if (const auto keyword = NearestName(fields.front(), keywords))
        return Quoted(fields.front()) + " looks like a misspelt " + Quoted(*keyword);
    return {};
}

std::string ExplainHeaderRow(const std::vector<TText16>& fields, std::u16string_view key)
{
    const std::u16string_view first = fields.empty() ? std::u16string_view() : std::u16string_view(fields[0]);
    const std::u16string_view value = fields.size() < 2 ? std::u16string_view() : std::u16string_view(fields[1]);
    if (!NSTextPackage::EqualTexts(first, key))
        return "the line begins with " + Quoted(first) + (NearestName(first, {TText16(key)}) ? ", a misspelt key" : "");
    if (value.empty())
        return "its value is empty";
    const bool format = NSTextPackage::EqualTexts(key, u"File Format Version");
    const bool version = format || key.ends_with(u"Version");
    return "its value is " + Quoted(value) +
           (format ? "; the only version is 1.0.0" : version ? "; a version is three numbers such as 1.0.0" : "");
}

std::string CountOf(std::size_t count, const char* singular, const char* plural)
{
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}
} // namespace NSCheckTool
