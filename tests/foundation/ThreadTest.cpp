#include "foundation/Thread.h"

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

} // namespace
