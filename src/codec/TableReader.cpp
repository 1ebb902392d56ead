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

// Pass 1. A column is always one stretch of the text, since the quotes stay
// in it: the splitter only has to find where stretches end.
class CTableSplitter
{
public:
    CTableSplitter(std::u16string_view text, u32 lineLimit) : fText(text), fLineLimit(lineLimit) {}

    TMapLines Split()
    {
        std::size_t position = 0;
        while (position < fText.size() && !LimitReached())
            position = Step(position);
        if (!LimitReached())
            FinishText();
        return std::move(fLines);
    }

private:
    std::size_t Step(std::size_t position)
    {
        switch (fText[position])
        {
        case kTab:
            CloseColumn(position);
            fColumnStart = position + 1;
            return position + 1;
        case kLineFeed:
            return EndLine(position, position + 1);
        case kReturn:
        {
            const bool pair = position + 1 < fText.size() && fText[position + 1] == kLineFeed;
            return EndLine(position, position + (pair ? 2 : 1));
        }
        case kQuote:
        {
            const std::size_t partner = fText.find(kQuote, position + 1);
            return partner == std::u16string_view::npos ? fText.size() : partner + 1;
        }
        default:
            return position + 1;
        }
    }

    void CloseColumn(std::size_t end)
    {
        fColumns.emplace_back(fText.substr(fColumnStart, end - fColumnStart));
    }

    std::size_t EndLine(std::size_t end, std::size_t next)
    {
        if (end > fColumnStart)
            CloseColumn(end);
        EmitLine();
        fColumnStart = next;
        return next;
    }

    void EmitLine()
    {
        fLines.emplace_back(fLineIndex, std::move(fColumns));
        fColumns.clear();
        ++fLineIndex;
    }

    // A last line without its own line end stays only with two or more columns.
    void FinishText()
    {
        if (fText.size() > fColumnStart)
            CloseColumn(fText.size());
        if (fColumns.size() > 1)
            EmitLine();
    }

    bool LimitReached() const { return fLineLimit != 0 && fLines.size() >= fLineLimit; }

    std::u16string_view fText;
    u32 fLineLimit;
    TMapLines fLines;
    std::vector<TText16> fColumns;
    std::size_t fColumnStart = 0;
    u32 fLineIndex = 0;
};

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

TMapLines ReadTable(std::u16string_view text, const TTableOptions& options)
{
    TMapLines lines = CTableSplitter(text, options.fLineLimit).Split();
    std::erase_if(lines, [](const TMapLine& line) { return IsBlankLine(line) || IsCommentLine(line); });
    if (options.fTrimBlanks || options.fUnquote)
    {
        for (auto& line : lines)
        {
            for (auto& column : line.second)
            {
                if (options.fTrimBlanks)
                    TrimBlanks(column);
                if (options.fUnquote)
                    Unquote(column);
            }
        }
    }
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
    std::vector<std::u16string_view> elements;
    std::u16string_view rest = text;
    std::size_t point = 0;
    while (!rest.empty() && (point = rest.find(u'.')) != std::u16string_view::npos)
    {
        elements.push_back(rest.substr(0, point));
        rest.remove_prefix(point + 1);
    }
    if (!rest.empty())
        elements.push_back(rest);
    if (elements.size() != 3)
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
