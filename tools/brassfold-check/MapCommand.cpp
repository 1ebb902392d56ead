// brassfold-check map MAPFILE (--midicodec FILE | --codecs DIR)
//
// Validates a mapping file as the workbench's "Validate Map File" does,
// against the surface models of the generic codec over one definition file or
// over the definition files below a folder, and of the scripts among them:
// a script given as the file, and the scripts below the folder and below the
// "Lua Codecs" folder beside it. Prints "Kinvar map is ok!", or the
// error text exactly as the workbench's log receives it, or the one line that
// says that no loaded codec offers the file's surface; then the warnings.

#include "Assertions.h"
#include "CheckCommand.h"
#include "DefinitionReport.h"
#include "Diagnostics.h"
#include "MapReport.h"
#include "ScriptCodec.h"

#include "codec/CodecSupport.h"
#include "foundation/FileHandling.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"
#include "generic/GenericMidiCodec.h"
#include "map/MapValidation.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <ostream>

namespace NSCheckTool
{
namespace
{
constexpr const char* kDefinitionOption = "--midicodec";
constexpr const char* kFolderOption = "--codecs";

struct TMapArguments
{
    std::string fMapFile;
    NSGenericMidiCodec::TScanPlaces fPlaces;
};

std::optional<TMapArguments> ReadArguments(TCommandContext& context, std::string& problem)
{
    TMapArguments result;
    if (context.fArguments.size() != 1 || context.fOptions.size() != 1)
    {
        problem = context.fOptions.size() > 1 ? "map takes one --midicodec FILE or --codecs DIR"
                                              : "map needs MAPFILE and --midicodec FILE or --codecs DIR";
        return std::nullopt;
    }
    result.fMapFile = context.fArguments[0];
    const auto& [option, value] = context.fOptions[0];
    if (option == kDefinitionOption)
        result.fPlaces.fFiles.emplace_back(value);
    else
        result.fPlaces.fFolders.emplace_back(value);
    return result;
}

// The definition files of the places, in the order of the codec's scan.
std::vector<std::filesystem::path> DefinitionFilesOf(const NSGenericMidiCodec::TScanPlaces& places)
{
    struct CCollector : NSHarbryExtras::IDirScannerHandler
    {
        void IDirScannerHandler_FileFound(const NSHarbryExtras::TDirItem& item) override
        {
            if (NSGenericMidiCodec::IsDefinitionFileName(item.fPath))
                fFiles.push_back(item.fPath);
        }
        bool IDirScannerHandler_FolderFound(const NSHarbryExtras::TDirItem& item) override { return item.fFlags != 0; }
        std::vector<std::filesystem::path> fFiles;
    } collector;
    for (const auto& folder : places.fFolders)
        WalkFolder(folder, collector);
    collector.fFiles.insert(collector.fFiles.end(), places.fFiles.begin(), places.fFiles.end());
    return collector.fFiles;
}

// The models of the generic codec over the places. The definition files that
// it refuses are told on the error stream, as the workbench tells them in its
// log, each with the line that names its cause.
TCodecSurfaceList LoadSurfaces(TCommandContext& context, const NSGenericMidiCodec::TScanPlaces& places)
{
    for (const auto& file : DefinitionFilesOf(places))
        CheckDefinition(context, file.string(), ERefusalStream::kError);
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec(places), codec_deleter());
    std::vector<NSKinvarCodec::TControlSurfaceInfo> infos;
    {
        // The scan reads those files again: its refusals and assertions were shown.
        const CHeldAssertions repeat(CHeldAssertions::EKind::kRepeatRead);
        infos = GetControlSurfacesForCodec(codec, {});
    }
    TCodecSurfaceList surfaces;
    for (const auto& info : infos)
        surfaces.emplace_back(codec, info);
    return surfaces;
}

// Takes the scripts out of the places' files, and finds those of the folders.
std::vector<std::filesystem::path> TakeScripts(NSGenericMidiCodec::TScanPlaces& places)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> scripts;
    std::erase_if(places.fFiles, [&](const fs::path& file) {
        return IsScriptFile(file) && (scripts.push_back(file), true);
    });
    for (const fs::path& folder : places.fFolders)
    {
        for (const fs::path& place : {folder, folder.parent_path() / "Lua Codecs"})
        {
            std::error_code error;
            for (auto it = fs::recursive_directory_iterator(place, error); !error && it != fs::end(it);
                 it.increment(error))
            {
                if (it->is_regular_file(error) && IsScriptFile(it->path()))
                    scripts.push_back(fs::weakly_canonical(it->path(), error));
            }
        }
    }
    std::sort(scripts.begin(), scripts.end());
    scripts.erase(std::unique(scripts.begin(), scripts.end()), scripts.end());
    return scripts;
}

// The models of the scripts; a script that the host refuses is told on the
// error stream and makes the check fail.
void AddScriptSurfaces(TCommandContext& context, const std::vector<std::filesystem::path>& scripts,
                       TCodecSurfaceList& surfaces, int& exitCode)
{
    for (const auto& script : scripts)
    {
        int result = kExitOK;
        const auto scriptSurfaces = LoadScriptCodec(context, script, context.fError, result);
        if (scriptSurfaces)
            surfaces.insert(surfaces.end(), scriptSurfaces->begin(), scriptSurfaces->end());
        exitCode = std::max(exitCode, result);
    }
}

int RunMap(TCommandContext& context)
{
    std::string problem;
    const std::optional<TMapArguments> arguments = ReadArguments(context, problem);
    if (!arguments)
        return UsageError(context, problem);
    if (!IsReadableFile(context, arguments->fMapFile))
        return kExitUsage;
    for (const auto& file : arguments->fPlaces.fFiles)
        if (!IsReadableFile(context, file.string()))
            return kExitUsage;
    for (const auto& folder : arguments->fPlaces.fFolders)
    {
        std::error_code error;
        if (!std::filesystem::is_directory(folder, error))
            return UsageError(context, folder.string() + ": no such folder");
    }
    LoadTextResource(2000);
    NSGenericMidiCodec::TScanPlaces places = arguments->fPlaces;
    const std::vector<std::filesystem::path> scripts = TakeScripts(places);
    TCodecSurfaceList surfaces = LoadSurfaces(context, places);
    int scriptsExitCode = kExitOK;
    AddScriptSurfaces(context, scripts, surfaces, scriptsExitCode);
    const TText16 text = NSKinvar::ReadMapText(arguments->fMapFile);
    const NSKinvar::TMapCheckResult result = NSKinvar::CheckMapText(surfaces, text);
    const CFileRows rows = ReadMapRows(text, result.fFaults);
    const int exitCode =
        std::max(ReportMapCheck(context, arguments->fMapFile, result, rows, surfaces), scriptsExitCode);
    ReportMapWarnings(context, arguments->fMapFile, rows);
    if (result.fMap)
    {
        // A large map is many small blocks: the process hands them back to
        // the system at once, faster than freeing them one by one.
        context.fOut.flush();
        context.fError.flush();
        std::_Exit(WithWarnings(context, exitCode));
    }
    return exitCode;
}

const CCommandRegistration gRegistration({"map", "MAPFILE (--midicodec FILE | --codecs DIR)", &RunMap,
                                          {{kDefinitionOption, "FILE"}, {kFolderOption, "DIR"}}});
} // namespace
} // namespace NSCheckTool
