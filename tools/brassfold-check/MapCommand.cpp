// brassfold-check map MAPFILE (--midicodec FILE | --codecs DIR)
//
// Validates a mapping file as the workbench's "Validate Map File" does,
// against the surface models of the generic codec over one definition file or
// over the definition files below a folder. Prints "Kinvar map is ok!", or the
// error text exactly as the workbench's log receives it, or the one line that
// says that no loaded codec offers the file's surface.

#include "CheckCommand.h"
#include "DefinitionReport.h"

#include "codec/CodecSupport.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"
#include "generic/GenericMidiCodec.h"
#include "map/MapValidation.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <ostream>

namespace NSCheckTool
{
namespace
{
using NSTextPackage::UTF8FromText16;

struct TMapArguments
{
    std::string fMapFile;
    NSGenericMidiCodec::TScanPlaces fPlaces;
};

std::optional<TMapArguments> ReadArguments(TCommandContext& context, std::string& problem)
{
    const auto& arguments = context.fArguments;
    TMapArguments result;
    bool placesGiven = false;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        const std::string& argument = arguments[i];
        const bool option = argument == "--midicodec" || argument == "--codecs";
        if (option && (placesGiven || i + 1 >= arguments.size()))
        {
            problem = placesGiven ? "map takes one --midicodec FILE or --codecs DIR"
                                  : argument + " needs a " + (argument == "--codecs" ? "DIR" : "FILE");
            return std::nullopt;
        }
        if (argument == "--midicodec")
            result.fPlaces.fFiles.emplace_back(arguments[++i]);
        else if (argument == "--codecs")
            result.fPlaces.fFolders.emplace_back(arguments[++i]);
        else if (result.fMapFile.empty() && !argument.starts_with("--"))
            result.fMapFile = argument;
        else
        {
            problem = "map: unexpected argument \"" + argument + "\"";
            return std::nullopt;
        }
        placesGiven = placesGiven || option;
    }
    if (result.fMapFile.empty() || !placesGiven)
    {
        problem = "map needs MAPFILE and --midicodec FILE or --codecs DIR";
        return std::nullopt;
    }
    return result;
}

// The models of the generic codec over the places. Files that its scan
// refuses are told on the error stream, as the workbench tells them in its log.
TCodecSurfaceList LoadSurfaces(TCommandContext& context, const NSGenericMidiCodec::TScanPlaces& places)
{
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec(places), codec_deleter());
    const auto infos = GetControlSurfacesForCodec(codec, [&](const TText16& text) { context.fError << UTF8FromText16(text); });
    TCodecSurfaceList surfaces;
    for (const auto& info : infos)
        surfaces.emplace_back(codec, info);
    return surfaces;
}

int Report(TCommandContext& context, const std::string& file, const NSKinvar::TMapCheckResult& result)
{
    using NSKinvar::EMapCheckOutcome;
    const bool gcc = context.fFormat == EOutputFormat::kGcc;
    switch (result.fOutcome)
    {
    case EMapCheckOutcome::kGood:
        if (!gcc)
            context.fOut << "Kinvar map is ok!\n";
        return kExitOK;
    case EMapCheckOutcome::kCodecNotLoaded:
        (gcc ? context.fOut << file << ":1: error: " : context.fOut)
            << UTF8FromText16(NSKinvar::kCodecNotLoadedText) << "\n";
        return kExitUsage;
    case EMapCheckOutcome::kFaulty:
    case EMapCheckOutcome::kHeaderFault:
        if (!gcc)
            context.fOut << UTF8FromText16(result.fErrorText);
        for (const NSKinvar::TMapFault& fault : gcc ? result.fFaults : NSKinvar::TMapFaultList())
            context.fOut << file << ":" << fault.fLine << ": error: " << UTF8FromText16(fault.fMessage) << "\n";
        return kExitRefused;
    }
    return kExitRefused;
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
    const TCodecSurfaceList surfaces = LoadSurfaces(context, arguments->fPlaces);
    const NSKinvar::TMapCheckResult result = NSKinvar::CheckMapFile(surfaces, arguments->fMapFile);
    const int exitCode = Report(context, arguments->fMapFile, result);
    if (result.fMap)
    {
        // A large map is many small blocks: the process hands them back to
        // the system at once, faster than freeing them one by one.
        context.fOut.flush();
        context.fError.flush();
        std::_Exit(exitCode);
    }
    return exitCode;
}

const CCommandRegistration gRegistration({"map", "MAPFILE (--midicodec FILE | --codecs DIR)", &RunMap});
} // namespace
} // namespace NSCheckTool
