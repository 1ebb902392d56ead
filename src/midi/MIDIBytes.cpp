#include "midi/MIDIBytes.h"

#include <ctime>

namespace NSTonewell
{
std::size_t ShortMessageLength(u8 status) noexcept
{
    if (status < 0x80 || status == kSysexBegin || status == kSysexEnd)
        return 0;
    if (status < 0xF0)
    {
        const u8 kind = status & 0xF0;
        return kind == 0xC0 || kind == 0xD0 ? 2 : 3;
    }
    switch (status)
    {
    case 0xF1: // time code quarter frame
    case 0xF3: // song select
        return 2;
    case 0xF2: // song position
        return 3;
    default: // tune request, realtime, and the undefined ones
        return 1;
    }
}

u64 MonotonicMicroseconds() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<u64>(now.tv_sec) * 1000000u + static_cast<u64>(now.tv_nsec) / 1000u;
}
} // namespace NSTonewell
