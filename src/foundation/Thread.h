#pragma once
// A worker thread with a stop request. The thread runs `entry` once the
// constructor has finished (it is held at a gate until its priority and name
// are set); the worker looks at the stop request when it likes. Destroying a
// CThread whose worker still runs sets the stop request and waits for the
// worker without limit, so a worker that ignores the request blocks its owner:
// that is the contract.
//
// The name becomes the thread's name in the operating system (cut to the 15
// bytes it keeps), where debuggers and `top -H` show it.

#include "foundation/Types.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace NSThreads
{
class CThread;

// The worker: it gets its own CThread (for the stop request) and the argument.
using TThreadEntry = u32 (*)(CThread& thread, void* argument);

// Relative priorities. Lower than normal always works; higher needs the right
// to raise priorities, and without it the thread runs at normal priority.
enum class EThreadPriority : i32
{
    kIdle = -15,
    kLowest = -2,
    kBelowNormal = -1,
    kNormal = 0,
    kAboveNormal = 1,
    kHighest = 2,
    kTimeCritical = 15
};

class CThread
{
public:
    // Throws NSThreads::XThreadCreateError, after a throw-site report, when
    // the thread can't be made or its priority can't be set.
    CThread(TThreadEntry entry, void* argument, EThreadPriority priority, std::string name);
    ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    // Any thread.
    void RequestStop();
    bool IsStopRequested() const;
    // For the worker: blocks until the stop request comes.
    void WaitForStopRequest();
    // For the worker: true when the stop request came within `milliseconds`.
    bool WaitForStopRequest(u32 milliseconds);

    // Whether the worker has returned from its entry, and what it returned.
    bool HasEnded() const;
    u32 GetExitCode() const;
    // The operating system's id of the worker thread.
    i64 GetThreadId() const;
    const std::string& GetName() const;

private:
    enum class EStart
    {
        kHeld,
        kGo,
        kAbandon
    };

    void Run();
    void WaitUntilReady();
    void Release(EStart start);
    void SetPriority(EThreadPriority priority);
    void SetSystemName();
    [[noreturn]] void Abandon();

    TThreadEntry fEntry;
    void* fArgument;
    std::string fName;

    mutable std::mutex fLock;
    std::condition_variable fChanged;
    bool fReady = false;
    EStart fStart = EStart::kHeld;
    bool fStopRequested = false;
    std::atomic<bool> fEnded{false};
    std::atomic<u32> fExitCode{0};
    std::atomic<i64> fThreadId{0};
    std::thread fThread;
};
} // namespace NSThreads
