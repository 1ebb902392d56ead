#include "CodecFile.h"

#include "Assertions.h"
#include "DefinitionReport.h"
#include "ScriptCodec.h"
#include "SurfaceText.h"
#include "TextHints.h"

#include "generic/GenericMidiCodec.h"
#include "host/CodecModules.h"

#include "foundation/FileHandling.h"
#include "foundation/LogText.h"

#include <filesystem>

namespace NSCheckTool
{
namespace
{
namespace fs = std::filesystem;

// A codec that offers no model can't make a surface.
std::optional<TLoadedCodec> OfferingModels(TCommandContext& context, const std::string& file, TLoadedCodec loaded,
                                           int& exitCode)
{
    if (!loaded.fModels.empty())
        return loaded;
    context.fOut << file << ": the codec offers no surface model\n";
    exitCode = kExitRefused;
    return std::nullopt;
}

std::optional<TLoadedCodec> LoadModule(TCommandContext& context, const std::string& file, const TCodecTextSink& tell,
                                       int& exitCode)
{
    TLoadedCodec loaded;
    try
    {
        loaded.fCodec = LoadCodec(file, {});
        if (!loaded.fCodec)
        {
            exitCode = UsageError(context, file + " is no codec module: it does not load, or has no " +
                                               NSKinvarCodec::kCodecFactoryName);
            return std::nullopt;
        }
        loaded.fModels = GetControlSurfacesForCodec(loaded.fCodec, tell);
    }
    catch (const std::exception& e)
    {
        tell(TakePendingLog());
        context.fOut << file << ": the codec failed to load: " << FailureReason(e) << "\n";
        exitCode = kExitRefused;
        return std::nullopt;
    }
    return OfferingModels(context, file, std::move(loaded), exitCode);
}
} // namespace

std::optional<TLoadedCodec> MakeDefinitionCodec(const std::string& file)
{
    TLoadedCodec loaded{
        TCodecPtr(NSGenericMidiCodec::CreateGenericMidiCodec(NSGenericMidiCodec::TScanPlaces{{}, {file}}),
                  codec_deleter()),
        {}};
    {
        // The scan reads the file again: what its read asserted was shown.
        const CHeldAssertions repeat(CHeldAssertions::EKind::kRepeatRead);
        loaded.fModels = GetControlSurfacesForCodec(loaded.fCodec, {});
    }
    return loaded.fModels.empty() ? std::nullopt : std::optional(std::move(loaded));
}

std::optional<TLoadedCodec> LoadCodecFile(TCommandContext& context, const std::string& file, const TCodecTextSink& tell,
                                          int& exitCode)
{
    if (!IsReadableFile(context, file))
    {
        exitCode = kExitUsage;
        return std::nullopt;
    }
    const fs::path name = fs::path(file).filename();
    if (HasDefinitionExtension(name))
    {
        if (!CheckDefinition(context, file, ERefusalStream::kOutput).fConfig)
        {
            exitCode = kExitRefused;
            return std::nullopt;
        }
        return MakeDefinitionCodec(file);
    }
    if (HasCodecExtension(name))
        return LoadModule(context, file, tell, exitCode);
    if (!IsScriptFile(name))
    {
        exitCode = UsageError(context, file + ": a codec is a .midicodec, .luacodec or .kinvarcodec file");
        return std::nullopt;
    }
    const auto surfaces = LoadScriptCodec(context, file, context.fOut, exitCode);
    if (!surfaces)
        return std::nullopt;
    TLoadedCodec loaded;
    for (const auto& [codec, model] : *surfaces)
    {
        loaded.fCodec = codec;
        loaded.fModels.push_back(model);
    }
    return OfferingModels(context, file, std::move(loaded), exitCode);
}
} // namespace NSCheckTool
