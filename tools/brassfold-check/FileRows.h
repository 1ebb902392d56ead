#pragma once
// A file's table as its reader sees it, with what the reader does not keep:
// the physical line of each row, and the quoted runs that hold line ends.
//
// The readers count a row's line as the table reader does, which skips the
// line ends inside quotes; the tool's own lines, and --format gcc, count every
// line end of the file. This class turns the one into the other.

#include "Diagnostics.h"

#include "codec/TableReader.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace NSCheckTool
{
struct TRow
{
    u32 fIndex = 0;    // as the reader counts, from 0
    i32 fPhysical = 1; // from 1
    std::vector<TText16> fFields;
};

struct TQuotedRun
{
    TLongQuote fQuote;
    // The run stands in a row that the reader removed: a comment.
    bool fInComment = false;
};

class CFileRows
{
public:
    using TKeep = std::function<bool(const TMapLine& line)>;

    // Reads the text's table; keeps the rows that keep accepts, all without it.
    CFileRows(std::u16string_view text, const TTableOptions& options, const TKeep& keep = {});

    // The file's text, decoded as its readers decode it.
    static TText16 ReadText(const std::filesystem::path& file);

    const std::vector<TRow>& Rows() const { return fRows; }
    // The kept row with a reader's line number (its index plus 1), or null.
    const TRow* FindRow(i32 readerLine) const;
    // The physical line of a reader's line number. A number that names no row,
    // such as one past the last row, keeps its distance to the row before it.
    i32 PhysicalLine(i32 readerLine) const;
    const std::vector<TQuotedRun>& QuotedRuns() const { return fQuotedRuns; }
    // Known when the last quoted run has no partner; 0 otherwise.
    u32 PhysicalLineCount() const { return fPhysicalLineCount; }

private:
    void NoteShift(const TMapLine& line, u32 physical);

    std::vector<TRow> fRows;
    // Where the physical line stops being the reader's: from each index on,
    // the physical line is the index plus the shift.
    std::vector<std::pair<u32, i32>> fShifts;
    std::vector<TQuotedRun> fQuotedRuns;
    u32 fPhysicalLineCount = 0;
};

// Warns of a double quote without partner, which swallows the rest of the
// file, and of a quoted text in a comment that runs over line ends, which
// swallows the rows it spans: both formats drop such rows without a word.
void WarnOfQuotedRuns(const std::string& file, const CFileRows& rows, TDiagnostics& warnings);
} // namespace NSCheckTool
