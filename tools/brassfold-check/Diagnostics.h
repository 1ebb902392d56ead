#pragma once
// The one place where the tool prints what it finds about a file, in both
// output formats.
//
// Plain: an error is the reader's own text, exactly as the workbench shows it;
// a warning is "FILE:LINE: warning: MESSAGE". Either may be followed by one
// indented line that the tool adds: the cause, the offending text, or a hint.
// gcc: "FILE:LINE: error: MESSAGE" or "FILE:LINE: warning: MESSAGE", and the
// added line as "FILE:LINE: note: TEXT". The tool's own lines and the gcc form
// count physical lines, every line end of the file included.

#include "CheckCommand.h"

#include "foundation/Types.h"

#include <string>
#include <vector>

namespace NSCheckTool
{
enum class ESeverity
{
    kError,
    kWarning,
    kNote, // a line of context of its own, such as what a codec said
};

struct TDiagnostic
{
    ESeverity fSeverity = ESeverity::kWarning;
    // As the user named it.
    std::string fFile;
    // Physical, from 1.
    i32 fLine = 1;
    // The message alone, for the gcc form and for warnings.
    std::string fMessage;
    // The added line; none when empty.
    std::string fNote;
    // An error's text in the plain form, line feeds included; empty for a
    // warning.
    std::string fReaderText;
};

// Prints one diagnostic; a warning counts for --strict.
void Report(TCommandContext& context, const TDiagnostic& diagnostic);

// An error's added line in the plain form names the physical line where the
// reader's text names none (shown), or another one, which it does behind a
// quoted text that spans lines.
std::string NoteWithLine(const TCommandContext& context, bool shown, i32 readerLine, i32 physical, std::string note);

using TDiagnostics = std::vector<TDiagnostic>;

// Prints the warnings of one file in the order of their lines.
void ReportByLine(TCommandContext& context, TDiagnostics diagnostics);

// The run's exit code once its warnings are counted: with --strict, a run that
// warned ends with kExitRefused instead of kExitOK.
int WithWarnings(const TCommandContext& context, int exitCode);
} // namespace NSCheckTool
