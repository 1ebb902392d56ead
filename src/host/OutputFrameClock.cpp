#include "host/OutputFrameClock.h"

#include "foundation/Assert.h"
#include "foundation/Ticks.h"
#include "host/KinvarHUB.h"

namespace
{
i64 ProgramMilliseconds() { return static_cast<i64>(NSThreads::GetTicks64()); }
} // namespace

COutputFrameClock::COutputFrameClock(TFrame frame, TMillisecondClock now)
    : fFrame(std::move(frame)), fNow(now ? std::move(now) : TMillisecondClock(&ProgramMilliseconds))
{
}

void COutputFrameClock::Tick()
{
    const i64 now = fNow();
    if (!fStarted)
    {
        fStarted = true;
        fNextOutputTime = now;
        fLastOutputTime = now;
    }
    // Strictly later, on purpose: the very first tick runs no frame.
    if (!(now > fNextOutputTime))
        return;
    RunFrame(now);
}

void COutputFrameClock::RunFrame(i64 now) noexcept
{
    fNextOutputTime = now + kOutputFramePeriodMs;
    if (now > fLastOutputTime)
    {
        const i64 rate = 1000 / (now - fLastOutputTime);
        if (rate < kVerySlowOutputRate)
            BF_TRACE("Kinvar Output very slow: %d fps", static_cast<int>(rate));
    }
    fLastOutputTime = now;
    try
    {
        fFrame(kOutputFramesPerSecond);
    }
    catch (...)
    {
        BF_TRACE("Exception thrown in CKinvarHUB().DriveOutput()");
    }
}

std::optional<i64> COutputFrameClock::GetNextOutputTime() const
{
    return fStarted ? std::optional<i64>(fNextOutputTime) : std::nullopt;
}

std::optional<i64> COutputFrameClock::GetLastOutputTime() const
{
    return fStarted ? std::optional<i64>(fLastOutputTime) : std::nullopt;
}

COutputFrameClock& GetOutputFrameClock()
{
    static COutputFrameClock clock([](u32 framesPerSecond) { GetKinvarHUB().DriveOutput(framesPerSecond); });
    return clock;
}
