#pragma once
// How the check tool reports a mapping file: the error text as the workbench's
// log receives it, each message with a line that names its cause, and the
// warnings about lines that the format drops in silence.

#include "CheckCommand.h"
#include "FileRows.h"

#include "codec/CodecSurfaces.h"
#include "map/MapValidation.h"

#include <string>

namespace NSCheckTool
{
// The rows that the report needs: those that a fault names, and those that the
// reader skips without a word.
CFileRows ReadMapRows(std::u16string_view text, const NSKinvar::TMapFaultList& faults);

// Prints the outcome of the check in the command's format, and gives the
// command's exit code.
int ReportMapCheck(TCommandContext& context, const std::string& file, const NSKinvar::TMapCheckResult& result,
                   const CFileRows& rows, const TCodecSurfaceList& surfaces);

// Warns of what the reader dropped in silence.
void ReportMapWarnings(TCommandContext& context, const std::string& file, const CFileRows& rows);
} // namespace NSCheckTool
