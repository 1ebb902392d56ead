#include "Diagnostics.h"

#include <algorithm>
#include <ostream>

namespace NSCheckTool
{
namespace
{
void PrintGccLine(std::ostream& out, const TDiagnostic& diagnostic, const char* kind, const std::string& text)
{
    out << diagnostic.fFile << ":" << diagnostic.fLine << ": " << kind << ": " << text << "\n";
}
} // namespace

void Report(TCommandContext& context, const TDiagnostic& diagnostic)
{
    const bool warning = diagnostic.fSeverity == ESeverity::kWarning;
    if (warning)
        ++context.fWarningCount;
    std::ostream& out = context.fOut;
    if (diagnostic.fSeverity == ESeverity::kNote)
        return PrintGccLine(out, diagnostic, "note", diagnostic.fMessage);
    if (context.fFormat == EOutputFormat::kGcc)
    {
        PrintGccLine(out, diagnostic, warning ? "warning" : "error", diagnostic.fMessage);
        if (!diagnostic.fNote.empty())
            PrintGccLine(out, diagnostic, "note", diagnostic.fNote);
        return;
    }
    if (warning || diagnostic.fReaderText.empty())
        PrintGccLine(out, diagnostic, warning ? "warning" : "error", diagnostic.fMessage);
    else
        out << diagnostic.fReaderText << (diagnostic.fReaderText.ends_with('\n') ? "" : "\n");
    if (!diagnostic.fNote.empty())
        out << "  " << diagnostic.fNote << "\n";
}

std::string NoteWithLine(const TCommandContext& context, bool shown, i32 readerLine, i32 physical, std::string note)
{
    if (context.fFormat == EOutputFormat::kGcc || note.empty() || (shown && readerLine == physical))
        return note;
    return "line " + std::to_string(physical) + ": " + note;
}

void ReportByLine(TCommandContext& context, TDiagnostics diagnostics)
{
    std::stable_sort(diagnostics.begin(), diagnostics.end(),
                     [](const TDiagnostic& a, const TDiagnostic& b) { return a.fLine < b.fLine; });
    for (const TDiagnostic& diagnostic : diagnostics)
        Report(context, diagnostic);
}

int WithWarnings(const TCommandContext& context, int exitCode)
{
    return exitCode == kExitOK && context.fStrict && context.fWarningCount > 0 ? kExitRefused : exitCode;
}
} // namespace NSCheckTool
