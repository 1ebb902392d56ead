#include "host/RunLoop.h"

#include "foundation/Failures.h"
#include "host/IdleSchedule.h"

CRunLoop::CRunLoop(const COutputFrameClock& frames) : fFrames(frames) {}

u32 CRunLoop::PostCustomEvent(u32 event, u32 data)
{
    {
        std::lock_guard lock(fLock);
        fEvents.emplace_back(event, data);
    }
    fWake.notify_one();
    return kVistalOK;
}

void CRunLoop::RequestQuit()
{
    {
        std::lock_guard lock(fLock);
        fQuitRequested = true;
    }
    fWake.notify_one();
}

void CRunLoop::Report(IVistalRunBehavior& behaviour, u32 status)
{
    if (status != kVistalOK)
        behaviour.OnError(status);
}

u32 CRunLoop::Run(IVistalRunBehavior& behaviour)
{
    Report(behaviour, behaviour.OnStart());
    fNextIdle = std::chrono::steady_clock::now();
    for (;;)
    {
        const bool idleDue = WaitForWork(fNextIdle);
        {
            std::lock_guard lock(fLock);
            if (fQuitRequested)
                break;
        }
        DeliverPendingEvents(behaviour);
        if (idleDue)
            RunIdle(behaviour);
    }
    Report(behaviour, behaviour.OnEnd());
    return kVistalOK;
}

bool CRunLoop::WaitForWork(std::chrono::steady_clock::time_point idleTime)
{
    std::unique_lock lock(fLock);
    fWake.wait_until(lock, idleTime, [&] { return fQuitRequested || !fEvents.empty(); });
    return std::chrono::steady_clock::now() >= idleTime;
}

void CRunLoop::DeliverPendingEvents(IVistalRunBehavior& behaviour)
{
    // Those that wait now: an event that its handling posts again waits for
    // the next round, after the idle call that may be due.
    std::deque<std::pair<u32, u32>> events;
    {
        std::lock_guard lock(fLock);
        events.swap(fEvents);
    }
    for (const auto& [event, data] : events)
    {
        ++fEventCount;
        Report(behaviour, behaviour.OnCustomEvent(event, data));
    }
}

void CRunLoop::RunIdle(IVistalRunBehavior& behaviour)
{
    u64 nextIdle = 10000;
    ++fIdleCount;
    Report(behaviour, behaviour.OnIdle(&nextIdle));
    fNextIdle = NSIdleSchedule::NextIdleTime(nextIdle, fFrames.GetNextOutputTime());
}
