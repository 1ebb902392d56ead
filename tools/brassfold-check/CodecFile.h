#pragma once
// A codec named on the command line, loaded as the workbench loads it: a
// definition file (".midicodec") through the generic codec, a script
// (".luacodec") through the scripted codec host "LuaHost.kinvarcodec" of the
// test codec folder, a module (".kinvarcodec") by the workbench's loader.

#include "CheckCommand.h"

#include "codec/CodecSupport.h"

#include <optional>
#include <string>
#include <vector>

namespace NSCheckTool
{
struct TLoadedCodec
{
    TCodecPtr fCodec;
    // The models it offers, in its order; never empty.
    std::vector<NSKinvarCodec::TControlSurfaceInfo> fModels;
};

// The generic codec over this one definition file, read before by
// CheckDefinition; nothing when it offers no model.
std::optional<TLoadedCodec> MakeDefinitionCodec(const std::string& file);

// Loads the codec of file by its extension. What a module's codec says while
// it loads goes to tell; what a script prints, to the error stream. Nothing when it can't be had: a refused definition
// file is reported as the definition command reports it, with exitCode kExitRefused, as is a codec that fails to load
// or offers no model; a file that is missing, is no module, or has an unknown extension, or a missing script host, is a
// usage error (kExitUsage).
std::optional<TLoadedCodec> LoadCodecFile(TCommandContext& context, const std::string& file, const TCodecTextSink& tell,
                                          int& exitCode);
} // namespace NSCheckTool
