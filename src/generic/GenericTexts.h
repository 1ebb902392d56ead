#pragma once
// The texts of the application's text resource that the generic codec words
// its port names and its header faults with.

#include "foundation/Types.h"

namespace NSGenericMidiCodec
{
inline constexpr u32 kTextMIDIInput = 1;           // "MIDI Input"
inline constexpr u32 kTextMIDIInputNumbered = 2;   // "MIDI Input ^0"
inline constexpr u32 kTextMIDIOutputOptional = 3;  // "MIDI Output (optional)"
inline constexpr u32 kTextLineMessage = 100;       // "Line  ^0: ^1"
inline constexpr u32 kTextMissing = 101;           // "Missing: ^0."

// The text of that id in the application's "TXT" 2000 resource, which this
// loads when nobody has yet. Any thread, but it takes the table's lock: not
// for the MIDI input path.
TText16 GetGenericCodecText(u32 id);
} // namespace NSGenericMidiCodec
