// The line that the check tool adds under a definition reader's message, so
// that the message stands alone: the text that the reader refused, quoted, and
// for a bad hex value or number, which come with no detail at all, the line too.

#include "Assertions.h"
#include "DefinitionReport.h"
#include "TextHints.h"

#include "generic/Expression.h"
#include "generic/MapRule.h"

#include "foundation/TextPackage.h"

#include <algorithm>
#include <stdexcept>

namespace NSCheckTool
{
namespace
{
using NSGenericMidiCodec::TDefinitionFault;
using NSTextPackage::EqualTexts;

const std::vector<TText16> kItemTypes = {u"button", u"value", u"delta", u"keyboard"};
const std::vector<TText16> kValueColumns = {u"Value1", u"Value2", u"Value3"};

std::u16string_view Field(const TRow& row, std::size_t index)
{
    return index < row.fFields.size() ? std::u16string_view(row.fFields[index]) : std::u16string_view();
}

// The fields from the second on, joined with TAB, as the reader takes a value.
TText16 RowValue(const TRow& row)
{
    TText16 value;
    for (std::size_t i = 1; i < row.fFields.size(); ++i)
        value.append(value.empty() ? u"" : u"\t").append(row.fFields[i]);
    return value;
}

// A hex value that the reader refused: its first character that is no hex
// digit, or its odd count of digits.
std::string ExplainHex(const TRow& row)
{
    const TText16 value = RowValue(row);
    std::size_t digits = 0;
    for (const char16 c : value)
    {
        if (c == u' ')
            continue;
        if (NSGenericMidiCodec::HexDigitValue(c) < 0)
            return UTF8(Field(row, 0)) + " " + Quoted(value) + " holds " + Quoted(std::u16string_view(&c, 1)) +
                   ", which is no hex digit";
        ++digits;
    }
    return UTF8(Field(row, 0)) + " " + Quoted(value) + " has an odd number of hex digits (" + std::to_string(digits) +
           ")";
}

std::string ExplainNumber(const TRow& row)
{
    for (const std::size_t column : {3u, 4u})
        if (!ReadLooseInteger(Field(row, column)))
            return std::string(column == 3 ? "Min " : "Max ") + Quoted(Field(row, column)) + " of item " +
                   Quoted(Field(row, 1)) + " is no number";
    return {};
}

// "Expected 'Name'": the title or key that stands where the reader wanted
// another.
std::string ExplainExpected(const TRow& row, std::u16string_view message)
{
    static const std::vector<TText16> kItemTitles = {u"Item Header", u"Name", u"Type", u"Min", u"Max"};
    static const std::vector<TText16> kMapTitles = {u"Map Header", u"Pattern", u"Name", u"Value1", u"Value2", u"Value3"};
    const std::u16string_view wanted = message.substr(10, message.size() - 11);
    const std::vector<TText16>& titles = EqualTexts(Field(row, 0), u"Map Header") ? kMapTitles : kItemTitles;
    std::size_t column = 0;
    const auto title = std::find(titles.begin(), titles.end(), wanted);
    if (EqualTexts(Field(row, 0), titles.front()) && title != titles.end())
        column = std::size_t(title - titles.begin());
    const std::string found = Quoted(Field(row, column));
    const std::string stray = column == 0 ? DescribeStrayRow(row.fFields, DefinitionKeys()) : std::string();
    if (stray.starts_with(found))
        return stray;
    return "found " + found + (stray.empty() ? "" : "; " + stray);
}

std::string ExplainShortRow(const TRow& row)
{
    const bool map = EqualTexts(Field(row, 0), u"Map") || EqualTexts(Field(row, 0), u"Map Header");
    std::string note = "the row has " + CountOf(row.fFields.size(), "field", "fields") + ", " +
                       (map ? "6 are needed" : "5 are needed");
    const std::string stray = DescribeStrayRow(row.fFields, {});
    if (!stray.empty())
        return note + "; " + stray;
    return note + (map ? "; an empty value cell at the end needs a TAB behind it" : "");
}

std::string ExplainUnknownItem(const TRow& row, const CFileRows& rows)
{
    std::vector<TText16> names;
    for (const TRow& other : rows.Rows())
        if (EqualTexts(Field(other, 0), u"Item") && other.fFields.size() > 1)
            names.push_back(other.fFields[1]);
    const auto nearest = NearestName(Field(row, 2), names);
    return "no item is named " + Quoted(Field(row, 2)) + (nearest ? "; did you mean " + Quoted(*nearest) + "?" : "");
}

// The cell of a rule that does not compile: the pattern for a "Map error",
// else the first expression that fails alone.
std::string ExplainRule(const TRow& row, std::u16string_view message)
{
    if (message.starts_with(u"Map error:"))
        return "in the pattern " + Quoted(Field(row, 1));
    const CHeldAssertions silent(CHeldAssertions::EKind::kSilent);
    for (std::size_t value = 0; value < 3; ++value)
    {
        try
        {
            NSGenericMidiCodec::CompileExpression(Field(row, 3 + value));
        }
        catch (const std::exception&)
        {
            return "in " + UTF8(kValueColumns[value]) + " " + Quoted(Field(row, 3 + value)) +
                   ": an expression knows x, y, z, numbers, + - * / and parentheses";
        }
    }
    return {};
}

std::string ExplainDuplicate(const TRow& row, const CFileRows& rows)
{
    for (const TRow& other : rows.Rows())
        if (other.fIndex < row.fIndex && EqualTexts(Field(other, 0), u"Item") && EqualTexts(Field(other, 1), Field(row, 1)))
            return Quoted(Field(row, 1)) + " names the item on line " + std::to_string(other.fPhysical) +
                   " too; case does not count";
    return {};
}

std::string ExplainFormB(const TRow& row, std::u16string_view message, const CFileRows& rows)
{
    if (message == u"Unknown item type")
        return "the type is " + Quoted(Field(row, 2)) + "; the types are button, value, delta and keyboard";
    if (message == u"Duplicate item name")
        return ExplainDuplicate(row, rows);
    if (message == u"Unknown item name")
        return ExplainUnknownItem(row, rows);
    if (message == u"Unexpected End Of Line")
        return ExplainShortRow(row);
    if (message.starts_with(u"Expected '"))
        return ExplainExpected(row, message);
    if (message.find(u"MIDI Input Ports") != std::u16string_view::npos || message.starts_with(u"Setup:"))
        return "the value is " + Quoted(RowValue(row)) +
               (message.starts_with(u"Setup") ? "" : "; a surface has 1 to 16 input ports");
    if (EqualTexts(Field(row, 0), u"Map"))
        return ExplainRule(row, message);
    return {};
}
} // namespace

std::string ExplainRefusal(const TDefinitionFault& fault, const CFileRows& rows)
{
    const TRow* row = rows.FindRow(fault.fLine);
    const std::u16string_view message = fault.fMessage;
    if (row == nullptr)
        return message.empty() || message == u"Empty Config File" ? std::string() : "the file ends before this row";
    if (IsBareFault(fault))
        return EqualTexts(Field(*row, 0), u"Item") ? ExplainNumber(*row) : ExplainHex(*row);
    if (message.starts_with(u"Missing: ") && message.ends_with(u"."))
        return ExplainHeaderRow(row->fFields, message.substr(9, message.size() - 10));
    return ExplainFormB(*row, message, rows);
}
} // namespace NSCheckTool
