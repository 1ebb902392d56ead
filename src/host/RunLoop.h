#pragma once
// The event loop of a program without a GUI toolkit: it calls the run
// behaviour as a toolkit would. OnStart first; then idle calls on the
// schedule of host/IdleSchedule.h, custom events as soon as they are posted
// (a post from any thread wakes the loop at once), and between them the
// thread sleeps; OnEnd when a quit was requested. A status other than 12000
// from any operation leads to OnError.
//
// A toolkit adapter does the same with its own loop: it sets a precise timer
// to NSIdleSchedule::NextIdleTime after each idle call and delivers custom
// events through its own thread-safe post.

#include "foundation/Types.h"
#include "host/OutputFrameClock.h"
#include "host/RunBehavior.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

class CRunLoop
{
public:
    // frames: the clock whose frame times the idle schedule follows.
    explicit CRunLoop(const COutputFrameClock& frames = GetOutputFrameClock());
    CRunLoop(const CRunLoop&) = delete;
    CRunLoop& operator=(const CRunLoop&) = delete;

    // Any thread. Queues the event and wakes the loop; 12000.
    u32 PostCustomEvent(u32 event, u32 data);
    // Any thread. The loop ends after the event in hand.
    void RequestQuit();

    // Runs behaviour on the calling thread until a quit is requested; returns
    // 12000. A quit requested before Run ends it after OnStart.
    u32 Run(IVistalRunBehavior& behaviour);

    // Delivers the custom events that wait now, on the loop's thread (the
    // toolkit's Yield inside a long operation); those posted meanwhile wait
    // for the next call.
    void DeliverPendingEvents(IVistalRunBehavior& behaviour);

    // How many idle calls and custom events the loop has made.
    u64 GetIdleCount() const { return fIdleCount; }
    u64 GetEventCount() const { return fEventCount; }

private:
    void Report(IVistalRunBehavior& behaviour, u32 status);
    void RunIdle(IVistalRunBehavior& behaviour);
    // Waits until the idle time, a posted event or a quit request; true when
    // the idle time has come.
    bool WaitForWork(std::chrono::steady_clock::time_point idleTime);

    const COutputFrameClock& fFrames;
    std::mutex fLock;
    std::condition_variable fWake;
    std::deque<std::pair<u32, u32>> fEvents;
    bool fQuitRequested = false;
    u64 fIdleCount = 0;
    u64 fEventCount = 0;
    std::chrono::steady_clock::time_point fNextIdle;
};
