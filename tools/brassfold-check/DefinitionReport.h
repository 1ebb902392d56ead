#pragma once
// How the check tool reports one definition file, in both output formats.

#include "CheckCommand.h"

#include "generic/GenericMidiCodec.h"

#include <string>

namespace NSCheckTool
{
// Whether the file can be read at all; says why not on the error stream.
bool IsReadableFile(TCommandContext& context, const std::string& file);

// A refused file: the scan's message as the workbench's log shows it, or one
// "FILE:LINE: error: MESSAGE" line.
void PrintRefusal(TCommandContext& context, const std::string& file,
                  const NSGenericMidiCodec::TDefinitionReadResult& result);
} // namespace NSCheckTool
