#pragma once
// The reader of mapping files (".kinvarmap"). A file is a table (see
// codec/TableReader.h) of a five-line header and a body of "Scope",
// "Define Group" and "Map" lines. Every fault appends a line message to the
// caller's error text and throws NSKinvar::XBadFormat: at once for a fatal
// fault, after the last line when only map lines were bad, so that one run
// reports all bad map lines in file order.
//
// Main thread; nothing here is shared.

#include "codec/CodecSupport.h"
#include "codec/TableReader.h"
#include "map/ControlSurfaceMap.h"

#include <array>
#include <filesystem>
#include <vector>

namespace NSKinvar
{
// A mapping file's text, for the readers below, which take the table line by
// line instead of as a whole: a large file then costs its text and its map,
// never a table of all its lines on top.
TText16 ReadMapText(const std::filesystem::path& file);

// One fault as it was reported: its line number and its message, for tools
// that show faults their own way.
struct TMapFault
{
    i32 fLine = 0;
    TText16 fMessage;
};
using TMapFaultList = std::vector<TMapFault>;

// Reads the five header lines: the surface's manufacturer and model, and the
// map's version (each number's low 32 bits). A fault appends its message to
// errorText and throws.
void ReadMapHeader(std::u16string_view text, TText16& manufacturer, TText16& model,
                   std::array<u32, 3>& version, TText16& errorText, TMapFaultList* faults = nullptr);

// The state names of each item of the surface, in item order.
using TStateNames = TItemStateNameList;

// Reads the whole file into map, which was built with the surface's
// manufacturer, model and items. On return errorText is empty; on a throw it
// holds "Map File Errors:" and every message so far, and map is partial.
// faults, when given, receives every fault as well.
void ReadMapFile(std::u16string_view text, VControlSurfaceMap& map, const TStateNames& stateNames,
                 TText16& errorText, TMapFaultList* faults = nullptr);

// The number that a key column stands for: -1 for an empty column, a plain
// number below 128, or a note name such as "C3", "f#-1" or "Bb2" (one byte,
// so "G#8" is 128 and "Cb-2" is 255). Nothing when the column reads as neither.
std::optional<i64> ReadMapKey(std::u16string_view column);
} // namespace NSKinvar
