#pragma once
// Small facts about MIDI bytes and the time stamps of input, shared by the
// backends. Any thread, MIDI threads included; nothing here allocates.

#include "foundation/Types.h"

#include <cstddef>

namespace NSTonewell
{
inline constexpr u8 kSysexBegin = 0xF0;
inline constexpr u8 kSysexEnd = 0xF7;
inline constexpr u8 kActiveSensing = 0xFE;

// The number of bytes of the message that begins with this status byte: 3, 2
// or 1; 0 for a byte that can't begin a short message (a data byte, or the
// system exclusive bytes F0 and F7).
std::size_t ShortMessageLength(u8 status) noexcept;

// Microseconds of the monotonic clock: the time stamp of input at arrival.
u64 MonotonicMicroseconds() noexcept;
} // namespace NSTonewell
