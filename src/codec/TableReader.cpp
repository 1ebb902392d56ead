#include "codec/TableReader.h"

#include "foundation/FileHandling.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <limits>

namespace
{
constexpr char16 kTab = u'\t';
constexpr char16 kLineFeed = u'\n';
constexpr char16 kReturn = u'\r';
constexpr char16 kQuote = u'"';
constexpr char16 kBlank = u' ';
constexpr char16 kByteOrderMark = u'\uFEFF';

bool IsBlankLine(const TMapLine& line)
{
    return std::all_of(line.second.begin(), line.second.end(),
                       [](const TText16& column) { return column.empty(); });
}

bool IsCommentLine(const TMapLine& line)
{
    return !line.second.empty() && line.second.front().starts_with(u"//");
}

void TrimBlanks(TText16& column)
{
    const std::size_t first = column.find_first_not_of(kBlank);
    if (first == TText16::npos)
    {
        column.clear();
        return;
    }
    column.erase(column.find_last_not_of(kBlank) + 1);
    column.erase(0, first);
}

void Unquote(TText16& column)
{
    if (column.size() >= 2 && column.front() == kQuote && column.back() == kQuote)
        column = column.substr(1, column.size() - 2);
}

bool IsDigit(char16 c) { return c >= u'0' && c <= u'9'; }

// The conversion behind the collected text: an optional "-", then digits up to
// the first other character; too many digits saturate.
i64 ConvertCollected(std::u16string_view text)
{
    const bool negative = !text.empty() && text.front() == u'-';
    std::size_t position = negative ? 1 : 0;
    const u64 limit = negative ? u64(std::numeric_limits<i64>::max()) + 1
                               : u64(std::numeric_limits<i64>::max());
    u64 magnitude = 0;
    for (; position < text.size() && IsDigit(text[position]); ++position)
    {
        const u64 digit = u64(text[position] - u'0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    if (!negative)
        return i64(magnitude);
    return magnitude == u64(std::numeric_limits<i64>::max()) + 1 ? std::numeric_limits<i64>::min()
                                                                 : -i64(magnitude);
}
} // namespace

// Pass 1 finds where a line's columns end; passes 2 to 4 then judge and
// tidy that one line, so a table is read line by line without holding it.
// A column is always one stretch of the text, since the quotes stay in it.
CTableLineSource::CTableLineSource(std::u16string_view text, const TTableOptions& options)
    : fText(text), fOptions(options)
{
}

bool CTableLineSource::Next(TMapLine& line)
{
    while (SplitLine(line))
    {
        if (IsBlankLine(line) || IsCommentLine(line))
            continue;
        for (auto& column : line.second)
        {
            if (fOptions.fTrimBlanks)
                TrimBlanks(column);
            if (fOptions.fUnquote)
                Unquote(column);
        }
        return true;
    }
    return false;
}

bool CTableLineSource::SplitLine(TMapLine& line)
{
    if (fFinished)
        return false;
    line.first = fLineIndex;
    fLinePhysicalStart = fPhysicalLine;
    fColumnCount = 0;
    std::size_t columnStart = fPosition;
    while (fPosition < fText.size())
    {
        const char16 c = fText[fPosition];
        if (c == kTab)
        {
            SetColumn(line, columnStart, fPosition);
            columnStart = ++fPosition;
        }
        else if (c == kLineFeed || c == kReturn)
        {
            if (fPosition > columnStart)
                SetColumn(line, columnStart, fPosition);
            const bool pair = c == kReturn && fPosition + 1 < fText.size() && fText[fPosition + 1] == kLineFeed;
            fPosition += pair ? 2 : 1;
            ++fPhysicalLine;
            return EndLine(line);
        }
        else if (c == kQuote)
        {
            SkipQuotedRun();
        }
        else
        {
            fPosition = SkipPlainText(fPosition);
        }
    }
    // A last line without its own line end stays only with two or more columns.
    fFinished = true;
    if (fText.size() > columnStart)
        SetColumn(line, columnStart, fText.size());
    return fColumnCount > 1 && EndLine(line);
}

void CTableLineSource::SkipQuotedRun()
{
    const std::size_t partner = fText.find(kQuote, fPosition + 1);
    const std::size_t end = partner == std::u16string_view::npos ? fText.size() : partner + 1;
    const u32 lineEnds = CountLineEnds(fText.substr(fPosition, end - fPosition));
    if (lineEnds > 0 || partner == std::u16string_view::npos)
        fLongQuotes.push_back({fLineIndex, fPhysicalLine, lineEnds, partner != std::u16string_view::npos});
    fPhysicalLine += lineEnds;
    fPosition = end;
}

std::size_t CTableLineSource::SkipPlainText(std::size_t position) const
{
    // Most characters are plain text; only TAB, the line ends and the double
    // quote need a look.
    const char16* text = fText.data();
    const std::size_t size = fText.size();
    while (position < size)
    {
        const char16 c = text[position];
        if (c == kTab || c == kLineFeed || c == kReturn || c == kQuote)
            break;
        ++position;
    }
    return position;
}

void CTableLineSource::SetColumn(TMapLine& line, std::size_t start, std::size_t end)
{
    // The line's strings are reused from the last line: their room stays.
    if (fColumnCount < line.second.size())
        line.second[fColumnCount].assign(fText.substr(start, end - start));
    else
        line.second.emplace_back(fText.substr(start, end - start));
    ++fColumnCount;
}

bool CTableLineSource::EndLine(TMapLine& line)
{
    line.second.resize(fColumnCount);
    ++fLineIndex;
    return true;
}

TMapLines ReadTable(std::u16string_view text, const TTableOptions& options)
{
    CTableLineSource source(text, options);
    TMapLines lines;
    TMapLine line;
    while (source.Next(line))
        lines.push_back(line);
    return lines;
}

TText16 DecodeTableText(std::string_view bytes)
{
    TText16 text = NSTextPackage::Text16FromUTF8(bytes, u'?');
    if (!text.empty() && text.front() == kByteOrderMark)
        text.erase(0, 1);
    return text;
}

TMapLines ReadTableFile(const std::filesystem::path& file, const TTableOptions& options)
{
    const std::vector<u8> bytes = NSHarbryUtils::ReadWholeFile(file);
    const std::string_view view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return ReadTable(DecodeTableText(view), options);
}

u32 CountLineEnds(std::u16string_view text)
{
    u32 count = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == kLineFeed || (text[i] == kReturn && (i + 1 == text.size() || text[i + 1] != kLineFeed)))
            ++count;
    }
    return count;
}

std::optional<i64> ReadLooseInteger(std::u16string_view text)
{
    std::size_t start = 0;
    while (start < text.size() && (text[start] == kBlank || text[start] == u'+'))
        ++start;
    std::size_t end = start;
    while (end < text.size() && (IsDigit(text[end]) || text[end] == u'-'))
        ++end;
    if (end == start)
        return std::nullopt;
    return ConvertCollected(text.substr(start, end - start));
}

std::optional<std::array<i64, 3>> ReadVersionNumbers(std::u16string_view text)
{
    // A fourth element fails the version whatever follows it, so the split
    // stops there: a line of ten million points costs no list of its parts.
    std::array<std::u16string_view, 4> elements;
    std::size_t count = 0;
    std::u16string_view rest = text;
    std::size_t point = 0;
    while (count < elements.size() && !rest.empty() && (point = rest.find(u'.')) != std::u16string_view::npos)
    {
        elements[count++] = rest.substr(0, point);
        rest.remove_prefix(point + 1);
    }
    if (count < elements.size() && !rest.empty())
        elements[count++] = rest;
    if (count != 3)
        return std::nullopt;
    std::array<i64, 3> numbers{};
    for (std::size_t index = 0; index < 3; ++index)
    {
        const auto number = ReadLooseInteger(elements[index]);
        if (!number)
            return std::nullopt;
        numbers[index] = *number;
    }
    return numbers;
}
