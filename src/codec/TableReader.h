#pragma once
// The table reader of the text files that codec authors write by hand:
// definition files (".midicodec") and mapping files (".kinvarmap"). One reader
// serves both; they differ only in the options below.
//
// A file is UTF-8; it is read whole, a sequence that cannot be decoded becomes
// "?", and a leading U+FEFF is dropped. The text is a table of lines and
// columns, read in four passes:
//
//   1. Splitting. TAB closes a column, also an empty one. LF, CR and CR LF end
//      a line; a line end closes a last column only if that column has
//      characters, so a line that is to end in an empty column needs a TAB
//      behind it. A double quote opens a quoted run up to the next double
//      quote, inside which TAB and line ends are plain text; the quotes stay.
//      A quote without partner runs to the end of the text. At the end of the
//      text the last line, if it has no line end, is kept only when it holds
//      two or more columns. Line indices count physical lines from 0, but a
//      line end inside quotes counts for nothing.
//   2. Lines with no columns, or with only empty ones, are removed.
//   3. Comment lines are removed: the first column begins with "//".
//   4. Per options: columns are trimmed of blanks (32 only), and a column of two
//      or more characters that begins and ends with a double quote loses both.
//
// A line keeps its index through the filtering, so that messages can name the
// true line of the file.
//
// Everything here is stateless; any thread.

#include "foundation/Types.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

// One line of a table: its physical index from 0, and its columns.
using TMapLine = std::pair<u32, std::vector<TText16>>;
using TMapLines = std::vector<TMapLine>;

struct TTableOptions
{
    // Pass 4: trim leading and trailing blanks of each column (mapping files).
    bool fTrimBlanks = false;
    // Pass 4: remove one pair of enclosing double quotes (definition files).
    bool fUnquote = false;
};

inline constexpr TTableOptions kDefinitionTableOptions{.fTrimBlanks = false, .fUnquote = true};
inline constexpr TTableOptions kMapTableOptions{.fTrimBlanks = true, .fUnquote = false};

// A quoted run that holds line ends or has no partner. Such a run may swallow
// lines that the author meant as rows, so tools that explain a file point at
// it. Lines are counted from 0.
struct TLongQuote
{
    u32 fLineIndex = 0;    // the index of the line that holds the run
    u32 fPhysicalLine = 0; // the physical line where the run opens
    u32 fLineEnds = 0;     // the line ends inside the run
    bool fClosed = true;   // false: the run goes on to the end of the text
};

// The four passes over a decoded text, one kept line at a time, so that a
// reader need not hold the whole table.
class CTableLineSource
{
public:
    // text must outlive the source.
    CTableLineSource(std::u16string_view text, const TTableOptions& options);
    // The next line that passes 2 and 3 keep, tidied by pass 4; false at the
    // end. line's strings are reused.
    bool Next(TMapLine& line);

    // Information for tools that explain a file; it changes nothing of what
    // Next gives. The physical line, from 0 and with every line end counted,
    // also those inside quotes, where the line that Next gave last began.
    u32 GetPhysicalLine() const { return fLinePhysicalStart; }
    // The long quoted runs that the splitting has passed so far, in order.
    const std::vector<TLongQuote>& GetLongQuotes() const { return fLongQuotes; }

private:
    bool SplitLine(TMapLine& line);
    std::size_t SkipPlainText(std::size_t position) const;
    void SetColumn(TMapLine& line, std::size_t start, std::size_t end);
    bool EndLine(TMapLine& line);
    void SkipQuotedRun();

    std::u16string_view fText;
    TTableOptions fOptions;
    std::size_t fPosition = 0;
    std::size_t fColumnCount = 0;
    u32 fLineIndex = 0;
    bool fFinished = false;
    u32 fPhysicalLine = 0;
    u32 fLinePhysicalStart = 0;
    std::vector<TLongQuote> fLongQuotes;
};

// The four passes over a decoded text.
TMapLines ReadTable(std::u16string_view text, const TTableOptions& options);

// A file's bytes as text: UTF-8, "?" for what cannot be decoded, a leading
// U+FEFF dropped.
TText16 DecodeTableText(std::string_view bytes);

// Reads the whole file and runs the four passes. Throws the file-system
// failure of the read.
TMapLines ReadTableFile(const std::filesystem::path& file, const TTableOptions& options);

// The line ends of a text as pass 1 counts them outside quotes: LF, CR and
// CR LF each end one line.
u32 CountLineEnds(std::u16string_view text);

// ---- Cells --------------------------------------------------------------------

// The generous number of both formats: blanks and "+" signs at the start are
// skipped in any mix, then digits and "-" are collected up to the first other
// character, and the collected text converts as a signed 64-bit integer that
// stops at the first character that can't continue it (a second "-"), and
// saturates. Nothing collected: no number. So "12abc" is 12 and "-" is 0.
std::optional<i64> ReadLooseInteger(std::u16string_view text);

// A version "a.b.c": while the rest holds a "." and is not empty, the part
// before the point is an element; a non-empty rest is the last one. Exactly
// three elements that each read as a number, else nothing: "1.0." and "1..0"
// fail.
std::optional<std::array<i64, 3>> ReadVersionNumbers(std::u16string_view text);
