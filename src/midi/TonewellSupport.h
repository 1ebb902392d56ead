#pragma once
// The process's MIDI library, made at its first use.

#include "midi/Tonewell.h"

// The library of the process, made by Tonewell_Create("ITonewell", 0) at the
// first call and given the debug channel. When that fails, the first time in
// the process the last-resort box "Failed to open MIDI support library" /
// "Application can not run" shows; every failing call writes a debug note
// and throws XProgrammingError, and the next call tries again. The user
// interface thread.
NSTonewell::ITonewell& GetTonewell();

namespace NSTonewellSupport
{
// What GetTonewell does on its first call, with the interface name to ask
// for; exposed so that its failure can be tried.
std::unique_ptr<NSTonewell::ITonewell> CreateTonewell(const char* interfaceName);
} // namespace NSTonewellSupport
