#pragma once
// The program's clock: a 64-bit count of milliseconds that never wraps, made
// from a 32-bit millisecond tick that does (after about 49 days).
//
// Two entries hold a base tick and the count at that tick; one of them is
// current. A reader adds the ticks since the base of the current entry. When
// that distance passes half the 32-bit range, the reader that wins a try-lock
// fills the other entry with a base 0x19999999 ticks (a tenth of the range)
// before now and switches to it: a reader that took its tick a little earlier
// still finds a small positive distance to the new base. Nobody ever waits for
// a lock, so any thread may read the clock, MIDI threads included; the clock
// stays right as long as somebody reads it at least once every 2^31 ticks.

#include "foundation/Types.h"

#include <atomic>

namespace NSThreads
{
using TTickSource = u32 (*)();

// Milliseconds of CLOCK_MONOTONIC, cut to 32 bits. Any thread.
u32 GetSystemTicks32();

class CTicks64Clock
{
public:
    explicit CTicks64Clock(TTickSource source);
    CTicks64Clock(const CTicks64Clock&) = delete;
    CTicks64Clock& operator=(const CTicks64Clock&) = delete;

    // Any thread; never blocks.
    u64 Read();
    // The base tick of the current entry: where the last rebase put it.
    u32 GetBaseTick() const;

private:
    struct TEntry
    {
        std::atomic<u32> fTick{0};
        std::atomic<u64> fCount{0};
    };

    TTickSource fSource;
    TEntry fEntries[2];
    std::atomic<u32> fCurrent{0};
    std::atomic_flag fUpdating = ATOMIC_FLAG_INIT;
};

// The program's clock over the system tick. Any thread.
u64 GetTicks64();

// For tests: makes the program's clock anew over `source` (null: the system
// tick), so that its count starts again from that source's first tick. Not
// while another thread reads the clock.
void SetTickSource(TTickSource source);

// Conversions through a double; both truncate.
u64 TicksFromNanoseconds(u64 nanoseconds);
u64 NanosecondsFromTicks(u64 ticks);
} // namespace NSThreads
