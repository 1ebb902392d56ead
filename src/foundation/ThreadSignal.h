#pragma once
// A signal that one thread sets and another waits for: an event that resets
// itself when a wait takes it. A set with nobody waiting stays until the next
// wait; setting twice is setting once. One waiter at a time by convention.
//
// All operations may be called on any thread, MIDI threads included (Wait and
// WaitTimed block, of course). A wait that the system fails throws a plain
// std::exception.

#include "foundation/Types.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace NSThreads
{
class CThreadSignal
{
public:
    CThreadSignal() = default;
    // Nobody may be waiting any more: that is reported through the thread
    // package's debugger slot.
    ~CThreadSignal();
    CThreadSignal(const CThreadSignal&) = delete;
    CThreadSignal& operator=(const CThreadSignal&) = delete;

    void Set();
    // Blocks until set.
    void Wait();
    // Takes the signal when it is set; never blocks.
    bool TryWait();
    // False when `milliseconds` pass without the signal.
    bool WaitTimed(u32 milliseconds);

private:
    // Counts a wait in progress for the destructor's check.
    class CWaiterScope
    {
    public:
        explicit CWaiterScope(std::atomic<i32>& waiters) : fWaiters(waiters) { ++fWaiters; }
        ~CWaiterScope() { --fWaiters; }
        CWaiterScope(const CWaiterScope&) = delete;
        CWaiterScope& operator=(const CWaiterScope&) = delete;

    private:
        std::atomic<i32>& fWaiters;
    };

    std::mutex fLock;
    std::condition_variable fSet;
    bool fSignalled = false;
    std::atomic<i32> fWaiters{0};
};
} // namespace NSThreads
