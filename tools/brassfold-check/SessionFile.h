#pragma once
// The text of a session: one command a line, blank lines and "#" comments
// passing, read whole before anything runs so that a slip in the file costs
// no run. docs/brassfold-check.md tells the commands to authors.

#include "CheckCommand.h"
#include "Diagnostics.h"

#include "foundation/Types.h"

#include <optional>
#include <string>
#include <vector>

namespace NSCheckTool
{
enum class ESessionVerb
{
    kModel,   // model NAME
    kPorts,   // ports [in N...] [out N...]
    kStart,   // start
    kIn,      // in [N:] HEX
    kValue,   // value ITEM = NUMBER
    kText,    // text ITEM = TEXT
    kState,   // state ITEM = NAME
    kDisable, // disable ITEM | all
    kEnable,  // enable ITEM | all
    kFrame,   // frame, frames N
    kEnd,     // end
};

// A line that states what its command prints, one line of it, or nothing.
struct TExpectation
{
    i32 fLine = 0;
    std::string fText; // empty for "expect nothing"
};

struct TSessionCommand
{
    i32 fLine = 0;
    std::string fText; // as written, without blanks at its ends
    ESessionVerb fVerb = ESessionVerb::kStart;
    std::string fName;                    // the model, the item, or "all"
    std::string fArgument;                // a value state's number as written, a text, a state's name
    i64 fNumber = 1;                      // a value, or the count of frames
    u32 fPort = 0;                        // of an input, from 0
    std::vector<u8> fMessage;             // of an input
    std::vector<u32> fInPorts, fOutPorts; // of "ports", from 0
    std::vector<TExpectation> fExpectations;
};

struct TSession
{
    std::string fFile;
    std::vector<TSessionCommand> fCommands;
    i32 fLastLine = 1;
};

// Reads the file; reports each fault at its line and gives nothing when the
// file has any, or can't be read.
std::optional<TSession> ReadSession(TCommandContext& context, const std::string& file);

// The line as a comparison sees it: blanks and TABs in runs count as one
// blank, those at the ends not at all, and case does not count.
std::string NormalizedLine(const std::string& line);
} // namespace NSCheckTool
