#pragma once
// Small helpers for the lines that the tool adds to a reader's message: the
// offending text quoted, and guesses at what the author meant.

#include "foundation/Types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace NSCheckTool
{
std::string UTF8(std::u16string_view text);

// The text in double quotes, a TAB shown as "\t", with a word on blanks at
// its ends, which are easy to miss: "value " (it ends in a blank).
std::string Quoted(std::u16string_view text);

// The name among names that text most likely misspells: one edit away
// (an insertion, a deletion, a change or a swap of neighbours, case not
// counting) for names of up to four characters, two for longer ones. None
// when text is one of the names.
std::optional<TText16> NearestName(std::u16string_view text, const std::vector<TText16>& names);

// Why a row that its reader did not take as a row of the format looks as if
// it were meant as one: its cells are separated by blanks, or its first cell
// is a misspelt keyword. Empty when it looks like neither, or when its first
// cell is a keyword, which the caller knows better what to say about.
std::string DescribeStrayRow(const std::vector<TText16>& fields, const std::vector<TText16>& keywords);

// A header row that its reader refused, for the key it wanted: another first
// cell, an empty value, or a version that is not what the key asks for.
std::string ExplainHeaderRow(const std::vector<TText16>& fields, std::u16string_view key);

// "1 rule", "3 rules".
std::string CountOf(std::size_t count, const char* singular, const char* plural);
} // namespace NSCheckTool
