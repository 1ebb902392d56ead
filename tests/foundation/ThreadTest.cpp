#include "foundation/Thread.h"
#include "foundation/ThreadSignal.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

using namespace NSThreads;
using namespace std::chrono_literals;

namespace
{
TEST(ThreadSignal, SetBeforeTheWaitIsKeptForIt)
{
    CThreadSignal signal;
    EXPECT_FALSE(signal.TryWait());
    signal.Set();
    signal.Set(); // twice is once
    EXPECT_TRUE(signal.TryWait());
    EXPECT_FALSE(signal.TryWait()); // the wait took it
    signal.Set();
    signal.Wait(); // returns at once
    EXPECT_FALSE(signal.WaitTimed(0));
    signal.Set();
    EXPECT_TRUE(signal.WaitTimed(0));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(signal.WaitTimed(30)); // a timed wait gives up
    EXPECT_GE(std::chrono::steady_clock::now() - start, 29ms);
}

TEST(ThreadSignal, SetDuringTheWaitReleasesIt)
{
    CThreadSignal signal;
    std::atomic<bool> released{false};
    std::thread waiter(
        [&]
        {
            signal.Wait();
            released = true;
        });
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(released.load());
    signal.Set();
    waiter.join();
    EXPECT_TRUE(released.load());
    EXPECT_FALSE(signal.TryWait()); // reset by the wait

    std::thread timedWaiter([&] { EXPECT_TRUE(signal.WaitTimed(10000)); });
    std::this_thread::sleep_for(10ms);
    signal.Set();
    timedWaiter.join();
}

struct TWorkerRecord
{
    std::atomic<bool> fSawStop{false};
    std::string fSystemName;
    int fNice = -100;
};

u32 WaitForStop(CThread& thread, void* argument)
{
    auto& record = *static_cast<TWorkerRecord*>(argument);
    char name[32] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    record.fSystemName = name;
    errno = 0;
    record.fNice = getpriority(PRIO_PROCESS, 0);
    thread.WaitForStopRequest();
    record.fSawStop = thread.IsStopRequested();
    return 7;
}

u32 ReturnAtOnce(CThread&, void*)
{
    return 3;
}

TEST(Thread, DestroyingAsksTheWorkerToStopAndWaitsForIt)
{
    TWorkerRecord record;
    {
        CThread thread(&WaitForStop, &record, EThreadPriority::kBelowNormal, "Brassfold worker");
        EXPECT_FALSE(thread.IsStopRequested());
        EXPECT_FALSE(thread.HasEnded());
        EXPECT_NE(thread.GetThreadId(), 0);
    }
    EXPECT_TRUE(record.fSawStop.load());
    EXPECT_EQ(record.fSystemName, "Brassfold worke"); // the system keeps 15 bytes
    EXPECT_EQ(record.fNice, getpriority(PRIO_PROCESS, 0) + 5);
}

TEST(Thread, StopRequestReachesATimedWaitAndNamesAreCutAtACharacterBoundary)
{
    // 14 bytes, then a two-byte character that would straddle the system's limit.
    const std::pair<const char*, const char*> names[] = {{"w\u00e9", "w\u00e9"},
                                                         {"abcdefghijklmn\u00e9z", "abcdefghijklmn"}};
    for (const auto& [name, systemName] : names)
    {
        TWorkerRecord record;
        CThread thread(&WaitForStop, &record, EThreadPriority::kNormal, name);
        thread.RequestStop();
        while (!thread.HasEnded())
            std::this_thread::sleep_for(1ms);
        EXPECT_EQ(thread.GetExitCode(), 7u);
        EXPECT_EQ(record.fSystemName, systemName);
    }
}

TEST(Thread, AnEndedWorkerIsNotAskedToStop)
{
    CThread thread(&ReturnAtOnce, nullptr, EThreadPriority::kHighest, "short");
    while (!thread.HasEnded())
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(thread.GetExitCode(), 3u);
    EXPECT_FALSE(thread.IsStopRequested());
    EXPECT_FALSE(thread.WaitForStopRequest(1));
}

} // namespace
