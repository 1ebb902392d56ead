#include "FileRows.h"

#include "TextHints.h"

#include "map/MapReader.h"

#include <algorithm>

namespace NSCheckTool
{
CFileRows::CFileRows(std::u16string_view text, const TTableOptions& options, const TKeep& keep)
{
    CTableLineSource source(text, options);
    TMapLine line;
    std::vector<u32> keptIndices; // of the rows with long quotes only
    while (source.Next(line))
    {
        const u32 physical = source.GetPhysicalLine();
        NoteShift(line, physical);
        if (!keep || keep(line))
            fRows.push_back({line.first, i32(physical) + 1, line.second});
        if (!source.GetLongQuotes().empty() && source.GetLongQuotes().back().fLineIndex == line.first)
            keptIndices.push_back(line.first);
    }
    for (const TLongQuote& quote : source.GetLongQuotes())
    {
        const bool kept = std::binary_search(keptIndices.begin(), keptIndices.end(), quote.fLineIndex);
        fQuotedRuns.push_back({quote, !kept});
    }
    // Only a quote without partner asks how many lines the file has: a long
    // file is not walked once more for nothing.
    if (!fQuotedRuns.empty() && !fQuotedRuns.back().fQuote.fClosed)
    {
        const bool open = text.back() != u'\n' && text.back() != u'\r';
        fPhysicalLineCount = CountLineEnds(text) + (open ? 1 : 0);
    }
}

TText16 CFileRows::ReadText(const std::filesystem::path& file)
{
    // Both formats read and decode a file alike.
    return NSKinvar::ReadMapText(file);
}

void CFileRows::NoteShift(const TMapLine& line, u32 physical)
{
    const i32 shift = i32(physical) - i32(line.first);
    if (shift != (fShifts.empty() ? 0 : fShifts.back().second))
        fShifts.emplace_back(line.first, shift);
}

const TRow* CFileRows::FindRow(i32 readerLine) const
{
    const auto found = std::lower_bound(fRows.begin(), fRows.end(), readerLine - 1,
                                        [](const TRow& row, i32 index) { return i32(row.fIndex) < index; });
    return found != fRows.end() && i32(found->fIndex) == readerLine - 1 ? &*found : nullptr;
}

i32 CFileRows::PhysicalLine(i32 readerLine) const
{
    const auto after = std::upper_bound(fShifts.begin(), fShifts.end(), readerLine - 1,
                                        [](i32 index, const auto& shift) { return index < i32(shift.first); });
    return readerLine + (after == fShifts.begin() ? 0 : std::prev(after)->second);
}

void WarnOfQuotedRuns(const std::string& file, const CFileRows& rows, TDiagnostics& warnings)
{
    for (const TQuotedRun& run : rows.QuotedRuns())
    {
        const u32 line = run.fQuote.fPhysicalLine + 1;
        std::string message;
        if (!run.fQuote.fClosed)
        {
            const u32 behind = rows.PhysicalLineCount() - line;
            message = "a double quote opens here and has no partner: it swallows the rest of the file" +
                      (behind == 0 ? std::string() : ", " + CountOf(behind, "line", "lines") + " behind it");
        }
        else if (run.fInComment)
            message = "a double quote in this comment opens a quoted text that runs to line " +
                      std::to_string(line + run.fQuote.fLineEnds) + ": the lines up to there belong to the comment";
        else
            continue;
        warnings.push_back({ESeverity::kWarning, file, i32(line), message,
                         "a double quote opens a quoted text anywhere, in a comment too; close it on its line or "
                         "remove it",
                         {}});
    }
}
} // namespace NSCheckTool
