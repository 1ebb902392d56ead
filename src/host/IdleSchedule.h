#pragma once
// When the run behaviour's next idle call is due. A toolkit adapter (or the
// headless run loop) asks after each OnIdle call and sleeps until then,
// unless a custom event comes first.
//
// Idle calls come as often as the behaviour asks (10 ms), and in addition
// exactly when the output frame clock passes its next frame time: a frame
// runs at the first idle call at which the millisecond clock reads later than
// that time, so an idle schedule of 10 ms alone would run frames every 40 ms.
// Waking on the millisecond boundary keeps the frames at 34 ms, which reads
// as 29 or 30 frames per second, while the idle program sleeps nearly all the
// time.
//
// No state of its own; any thread.

#include "foundation/Types.h"

#include <chrono>
#include <optional>

namespace NSIdleSchedule
{
using TSteadyTime = std::chrono::steady_clock::time_point;

// The tick (program milliseconds) of the next idle call, after an idle call at
// nowTick that asked for requestedMs, when the next frame runs once the clock
// is past nextOutputTime (none before the clock has started). Never before
// nowTick.
i64 NextIdleTick(i64 nowTick, u64 requestedMs, std::optional<i64> nextOutputTime);

// The moment at which the program's millisecond clock, reading nowTick at the
// moment steadyNow, turns to tick. The program's clock counts whole
// milliseconds of the same monotonic clock as std::chrono::steady_clock.
TSteadyTime TimeOfTick(i64 tick, i64 nowTick, TSteadyTime steadyNow);

// Both clocks read at one instant (the tick read twice until it holds still
// across the steady read).
struct TClockReading
{
    i64 fTick;
    TSteadyTime fSteady;
};
TClockReading ReadClocks();

// The moment of the next idle call, read now; what a toolkit's timer is set to.
TSteadyTime NextIdleTime(u64 requestedMs, std::optional<i64> nextOutputTime);
} // namespace NSIdleSchedule
