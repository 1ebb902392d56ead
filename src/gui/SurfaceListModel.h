#pragma once
// What the main window shows: every surface model of gCodecSurfaces, in load
// order, with its ports, its setup texts and its picture, and one line that
// says what to do while the list is empty.
//
// The list only grows during a run, so an update takes up the new entries
// alone; a shorter list (the end of the run) starts over. The user interface
// thread.

#include "codec/CodecSurfaces.h"
#include "foundation/Types.h"

#include <vector>

struct TSurfaceEntry
{
    // "Manufacturer Model".
    TText16 fTitle;
    // "Input ports: ...", "Output ports: ...", then each setup text that the
    // codec gave, under its heading.
    std::vector<TText16> fLines;
    // kPictureWidth by kPictureHeight pixels, the bytes R, G, B, A each, rows
    // top down; empty when the codec has no picture of the model.
    std::vector<u32> fPicture;
};

class CSurfaceListModel
{
public:
    // True when the entries changed.
    bool Update(const TCodecSurfaceList& list);
    const std::vector<TSurfaceEntry>& GetEntries() const { return fEntries; }

    static TSurfaceEntry MakeEntry(const TCodecSurface& surface);
    // "MIDI Input, MIDI Input 2 (optional)"; "none" without ports.
    static TText16 DescribePorts(const char16 (*names)[NSKinvarCodec::kMaxPortNameLength + 1],
                                 const u32* optional, u32 count);
    static const TText16& GetEmptyListText();

private:
    std::vector<TSurfaceEntry> fEntries;
};
