#pragma once
// Scripted codecs in the check tool: a ".luacodec" file is loaded through the
// scripted codec host "LuaHost.kinvarcodec" of the test codec folder beside
// the tool, as the workbench's "Choose Codec File" loads it.

#include "CheckCommand.h"

#include "codec/CodecSupport.h"
#include "codec/CodecSurfaces.h"

#include <filesystem>
#include <iosfwd>
#include <optional>

namespace NSCheckTool
{
// Whether the file is a script, by its ".luacodec" extension.
bool IsScriptFile(const std::filesystem::path& file);

// The script's codec and models. A script that the host refuses prints the
// host's message on refusals (one "FILE:LINE: error: MESSAGE" line with
// --format gcc) and sets exitCode to kExitRefused; a missing host says so and
// sets kExitUsage. Either way the result is empty. What the script prints
// goes to the error stream.
std::optional<TCodecSurfaceList> LoadScriptCodec(TCommandContext& context, const std::filesystem::path& script,
                                                 std::ostream& refusals, int& exitCode);

// Writes what scripts printed meanwhile to the error stream.
void FlushScriptPrints(TCommandContext& context);
} // namespace NSCheckTool
