#pragma once
// The output frame clock: about 30 frames a second, riding on the idle calls
// of the user interface thread. There is no timer besides the idle calls:
// while the toolkit does not idle (inside a modal dialog, say) no frames run.
//
// Each Tick begins with one cheap comparison and returns at once on most
// calls; nothing is allocated on that path. The schedule is relative to the
// moment of each frame, so lost time is not made up: with a precise idle
// schedule (host/IdleSchedule.h) a frame runs every 34 ms, 29 to 30 a second.
//
// The user interface thread.

#include "foundation/Types.h"

#include <functional>
#include <optional>

inline constexpr i64 kOutputFramePeriodMs = 33;
inline constexpr u32 kOutputFramesPerSecond = 30;
// Below this rate a frame writes "Kinvar Output very slow: %d fps".
inline constexpr i64 kVerySlowOutputRate = 5;

class COutputFrameClock
{
public:
    using TMillisecondClock = std::function<i64()>;
    // Runs one output frame with the nominal rate.
    using TFrame = std::function<void(u32 framesPerSecond)>;

    // now defaults to the program's clock (NSThreads::GetTicks64).
    explicit COutputFrameClock(TFrame frame, TMillisecondClock now = {});

    // The tick of one idle call. The first tick only starts the clock; a frame
    // runs when the clock has gone strictly past the time set by the last
    // frame. What the frame throws is caught here, of whatever type, and
    // traced; the next frame runs as usual.
    void Tick();

    // Once started: when the last frame ran, and the time that the clock must
    // pass for the next one (a frame runs at the first tick after it).
    std::optional<i64> GetNextOutputTime() const;
    std::optional<i64> GetLastOutputTime() const;

private:
    void RunFrame(i64 now) noexcept;

    TFrame fFrame;
    TMillisecondClock fNow;
    bool fStarted = false;
    i64 fNextOutputTime = 0;
    i64 fLastOutputTime = 0;
};

// The frame clock of the process, driving the hub of active surfaces.
COutputFrameClock& GetOutputFrameClock();
