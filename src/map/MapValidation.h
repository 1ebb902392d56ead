#pragma once
// "Validate Map File": proves a mapping file against the items of the surface
// model that it names, made by the first loaded codec that offers that model.
// The workbench's menu command and the check tool share it.
//
// Main thread.

#include "codec/CodecSurfaces.h"
#include "map/MapReader.h"

#include <filesystem>
#include <memory>

namespace NSKinvar
{
enum class EMapCheckOutcome
{
    kGood,           // the file is sound
    kFaulty,         // fErrorText holds "Map File Errors:" and a line per fault
    kHeaderFault,    // the header is bad; fErrorText holds its one line message
    kCodecNotLoaded, // no loaded codec offers the file's surface, or it failed to make it
};

struct TMapCheckResult
{
    EMapCheckOutcome fOutcome = EMapCheckOutcome::kGood;
    TText16 fErrorText;
    // The faults of fErrorText one by one.
    TMapFaultList fFaults;
    // The map of a sound file, for whoever wants to use it.
    std::shared_ptr<const VControlSurfaceMap> fMap;
    // What the check learnt on its way, for tools that explain a fault: the
    // surface that the header names, and that surface's items and their state
    // names once a codec made it.
    TText16 fManufacturer;
    TText16 fModel;
    std::shared_ptr<const TItemList> fItems;
    TStateNames fStateNames;
};

// The one line of the log when no codec offers the file's surface.
inline constexpr std::u16string_view kCodecNotLoadedText = u"The codec for this map file has not been loaded yet!";
// The alert of a sound file.
inline constexpr std::u16string_view kMapIsOkAlert = u"[NOTE]Kinvar map is ok![Close]";

// Reads and proves the file. File-system failures and codec failures throw.
TMapCheckResult CheckMapFile(const TCodecSurfaceList& surfaces, const std::filesystem::path& file);
// The same for a file's text that the caller has read already.
TMapCheckResult CheckMapText(const TCodecSurfaceList& surfaces, std::u16string_view text);

// The command after its file dialog: a sound file gets the alert, a faulty
// one its error text in the log and then XBadFormat for the command's own
// failure report, a header fault only XBadFormat, and a file for a surface
// that no codec offers the one log line.
void ValidateMapFile(const TCodecSurfaceList& surfaces, const std::filesystem::path& file);
} // namespace NSKinvar
