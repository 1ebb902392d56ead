#pragma once
// One session run against one surface, made and driven as the workbench makes
// and drives it: through a hub of active surfaces, with the contract's call
// order, the event getter's sysex assembly, the frame's share of the wire
// (3125 bytes a second, 30 frames a second) and the panel's states. Only the
// ports are the session's own (SessionPorts.h).
//
// In the plain format the run prints each command behind "> ", then what it
// printed: "out N: HEX" for a message on output port N, "input: ITEM<TAB>V1
// <TAB>V2<TAB>V3" for an input that the surface passed on, "log: TEXT" for
// what the codec said, each where it happened. Faults and failed
// expectations follow their command as "FILE:LINE: error: ..." lines. In the
// gcc format only those print, and the codec's text as notes.

#include "CheckCommand.h"
#include "CodecFile.h"
#include "SessionFile.h"

namespace NSCheckTool
{
// kExitOK when every expectation held and the codec did nothing wrong,
// kExitRefused otherwise.
int RunSession(TCommandContext& context, const TLoadedCodec& codec, const TSession& session);

// Prints what a codec said, one "log: " line for each of its lines (a note
// at file's first line in the gcc format).
void PrintCodecText(TCommandContext& context, const std::string& file, const TText16& text);
} // namespace NSCheckTool
