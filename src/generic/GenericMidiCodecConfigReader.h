#pragma once
// The reader of definition files (".midicodec"): one file's text becomes one
// CGenericMidiCodecConfig, or a fault with the message and line that the scan
// shows the author.
//
// After the table reader's passes (codec/TableReader.h, with unquoting), the
// rows are read strictly in this order, each section a run of adjacent rows
// whose first field is its key, key words compared by the system's text
// comparison (case and width don't count):
//
//   the header, five required rows: "Universal MIDI Codec Control Surface
//     Definition File", "File Format Version" (exactly 1.0.0), "Control Surface
//     Manufacturer", "Control Surface Model" (neither empty), "Codec Version";
//   optional rows: "MIDI Input Ports" (1 to 16), "Identity Request" (hex bytes),
//     "Identity Response" (hex mask, required with a request), "Setup Info
//     Text", "Setup Warning Text", "Setup User Action Text" (each any number of
//     rows, joined with CR), "Setup" (one MIDI message a row);
//   the item table: "Item Header" Name Type Min Max, then "Item" rows;
//   the map table: "Map Header" Pattern Name Value1 Value2 Value3, then "Map" rows.
//
// A section missing at its place is skipped; a key at a wrong place is found by
// nobody, and its row fails the next required check. Rows behind the last "Map"
// row are ignored.

#include "generic/GenericMidiCodecConfig.h"

#include "foundation/Types.h"

#include <string_view>

namespace NSGenericMidiCodec
{
// Why a file was refused.
struct TDefinitionFault
{
    // The physical row from 1; past the last row, the last row's number plus
    // 2; in an empty table, 1.
    i32 fLine = 0;
    // The message alone, such as "Unknown item name", "Missing: Codec Version."
    // or "syntax error".
    TText16 fMessage;
    // The detail that the scan shows behind the file name: for the header
    // "Line  <n>: Missing: <key>." and a line feed; for the rest
    // "Error:<message> <file name>(<n>)"; empty for a bad hex value or a bad
    // Min or Max, which are failed assertions as well.
    TText16 fDetail;
};

class CGenericMidiCodecConfigReader
{
public:
    // Reads one file's decoded text; fileName goes into the fault's detail.
    // On a fault: stores it and throws std::runtime_error "syntax error".
    CGenericMidiCodecConfig Read(std::u16string_view text, std::u16string_view fileName);

    const TDefinitionFault& GetFault() const { return fFault; }

private:
    TDefinitionFault fFault;
};
} // namespace NSGenericMidiCodec
