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
    for (;;)
    {
        std::pair<u32, u32> event;
        {
            std::lock_guard lock(fLock);
            if (fEvents.empty())
                return;
            event = fEvents.front();
            fEvents.pop_front();
        }
        ++fEventCount;
        Report(behaviour, behaviour.OnCustomEvent(event.first, event.second));
    }
}

void CRunLoop::RunIdle(IVistalRunBehavior& behaviour)
{
    u64 nextIdle = 10000;
    ++fIdleCount;
    Report(behaviour, behaviour.OnIdle(&nextIdle));
    fNextIdle = NSIdleSchedule::NextIdleTime(nextIdle, fFrames.GetNextOutputTime());
}
