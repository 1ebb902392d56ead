#include "CodecFile.h"

#include "Assertions.h"
#include "DefinitionReport.h"
#include "SurfaceText.h"
#include "TextHints.h"

#include "generic/GenericMidiCodec.h"
#include "host/AppCommands.h"
#include "host/CodecModules.h"

#include "foundation/FileHandling.h"
#include "foundation/TextCompare.h"

#include <filesystem>

namespace NSCheckTool
{
namespace
{
namespace fs = std::filesystem;

bool HasExtension(const std::string& file, std::u16string_view extension)
{
    return NSTextPackage::EqualTexts(fs::path(file).extension().u16string(), extension);
}

// The script host beside the program, where the workbench looks for it.
fs::path ScriptHostPath()
{
    const CHeldAssertions silent(CHeldAssertions::EKind::kSilent); // the folder may well be missing
    return GetScriptHostModule();
}

std::optional<TLoadedCodec> LoadModule(TCommandContext& context, const std::string& file, const fs::path& module,
                                       const fs::path& script, const TCodecTextSink& tell, int& exitCode)
{
    TLoadedCodec loaded;
    try
    {
        loaded.fCodec = LoadCodec(module, script);
        tell(TakePendingLog()); // what the script binding said
        if (!loaded.fCodec)
        {
            exitCode = UsageError(context, module.string() + " is no codec module: it does not load, or has no " +
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
    if (!loaded.fModels.empty())
        return loaded;
    context.fOut << file << ": the codec offers no surface model\n";
    exitCode = kExitRefused;
    return std::nullopt;
}
} // namespace

std::optional<TLoadedCodec> MakeDefinitionCodec(const std::string& file)
{
    TLoadedCodec loaded{TCodecPtr(NSGenericMidiCodec::CreateGenericMidiCodec(NSGenericMidiCodec::TScanPlaces{{}, {file}}),
                                  codec_deleter()),
                        {}};
    {
        // The scan reads the file again: what its read asserted was shown.
        const CHeldAssertions repeat(CHeldAssertions::EKind::kRepeatRead);
        loaded.fModels = GetControlSurfacesForCodec(loaded.fCodec, {});
    }
    return loaded.fModels.empty() ? std::nullopt : std::optional(std::move(loaded));
}

std::optional<TLoadedCodec> LoadCodecFile(TCommandContext& context, const std::string& file,
                                          const TCodecTextSink& tell, int& exitCode)
{
    if (!IsReadableFile(context, file))
    {
        exitCode = kExitUsage;
        return std::nullopt;
    }
    if (HasExtension(file, kDefinitionExtension))
    {
        if (!CheckDefinition(context, file, ERefusalStream::kOutput).fConfig)
        {
            exitCode = kExitRefused;
            return std::nullopt;
        }
        return MakeDefinitionCodec(file);
    }
    if (HasExtension(file, kCodecExtension))
        return LoadModule(context, file, file, {}, tell, exitCode);
    if (!HasExtension(file, kLuaExtension))
    {
        exitCode = UsageError(context, file + ": a codec is a .midicodec, .luacodec or .kinvarcodec file");
        return std::nullopt;
    }
    const fs::path host = ScriptHostPath();
    std::error_code error;
    if (!fs::is_regular_file(host, error))
    {
        exitCode = UsageError(context, "scripts run in " + host.string() + ", which is not there");
        return std::nullopt;
    }
    return LoadModule(context, file, host, file, tell, exitCode);
}
} // namespace NSCheckTool
