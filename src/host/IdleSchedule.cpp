#include "host/IdleSchedule.h"

#include "foundation/Ticks.h"

#include <algorithm>

namespace NSIdleSchedule
{
i64 NextIdleTick(i64 nowTick, u64 requestedMs, std::optional<i64> nextOutputTime)
{
    i64 next = nowTick + static_cast<i64>(std::min<u64>(requestedMs, u64(1) << 40));
    if (nextOutputTime)
        next = std::min(next, *nextOutputTime + 1);
    return std::max(next, nowTick);
}

TSteadyTime TimeOfTick(i64 tick, i64 nowTick, TSteadyTime steadyNow)
{
    using std::chrono::milliseconds;
    const auto sinceEpoch = steadyNow.time_since_epoch();
    const auto startOfThisMillisecond =
        TSteadyTime(std::chrono::duration_cast<milliseconds>(sinceEpoch));
    return startOfThisMillisecond + milliseconds(tick - nowTick);
}

TClockReading ReadClocks()
{
    for (;;)
    {
        const i64 before = static_cast<i64>(NSThreads::GetTicks64());
        const TSteadyTime steady = std::chrono::steady_clock::now();
        const i64 after = static_cast<i64>(NSThreads::GetTicks64());
        if (before == after)
            return {after, steady};
    }
}

TSteadyTime NextIdleTime(u64 requestedMs, std::optional<i64> nextOutputTime)
{
    const TClockReading now = ReadClocks();
    return TimeOfTick(NextIdleTick(now.fTick, requestedMs, nextOutputTime), now.fTick, now.fSteady);
}
} // namespace NSIdleSchedule
