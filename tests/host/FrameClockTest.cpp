// The output frame clock over a clock that the test sets, the idle schedule, and the traffic record.

#include "host/IdleSchedule.h"
#include "host/OutputFrameClock.h"
#include "host/OutputTraffic.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace NSHostTesting;

namespace
{
class OutputFrameClockTest : public testing::Test
{
protected:
    i64 fNow = 1000;
    std::vector<i64> fFrames;
    bool fThrow = false;
    COutputFrameClock fClock{[this](u32 framesPerSecond) {
                                 EXPECT_EQ(30u, framesPerSecond);
                                 fFrames.push_back(fNow);
                                 if (fThrow)
                                     throw 42;
                             },
                             [this] { return fNow; }};
};

TEST_F(OutputFrameClockTest, TheFirstTickStartsTheClockAndAFrameNeedsTheClockStrictlyPastItsTime)
{
    fClock.Tick();
    EXPECT_TRUE(fFrames.empty());
    EXPECT_EQ(1000, fClock.GetNextOutputTime());
    fClock.Tick();
    EXPECT_TRUE(fFrames.empty());
    fNow = 1001;
    fClock.Tick();
    EXPECT_EQ(std::vector<i64>{1001}, fFrames);
    // The schedule starts from the frame's own moment: lost time is not made up.
    EXPECT_EQ(1034, fClock.GetNextOutputTime());
    fNow = 1034;
    fClock.Tick();
    EXPECT_EQ(1u, fFrames.size());
    fNow = 1100;
    fClock.Tick();
    EXPECT_EQ((std::vector<i64>{1001, 1100}), fFrames);
    EXPECT_EQ(1133, fClock.GetNextOutputTime());
}

TEST_F(OutputFrameClockTest, AStallBelowFiveFramesASecondIsTraced)
{
    // Null: nothing traced.
    const std::pair<i64, const char*> cases[] = {
        {250, "Kinvar Output very slow: 4 fps"}, {200, nullptr}, {1500, "Kinvar Output very slow: 0 fps"}};
    CDebugCapture debug;
    fClock.Tick();
    fNow += 1;
    fClock.Tick();
    for (const auto& [stall, line] : cases)
    {
        const std::size_t before = debug.LineCount();
        fNow += stall;
        fClock.Tick();
        if (line == nullptr)
            EXPECT_EQ(before, debug.LineCount()) << stall;
        else
            EXPECT_EQ(1u, debug.Count(line)) << stall;
    }
    EXPECT_EQ(4u, fFrames.size());
}

TEST_F(OutputFrameClockTest, WhatAFrameThrowsIsTracedAndTheNextFrameRuns)
{
    CDebugCapture debug;
    fClock.Tick();
    fThrow = true;
    fNow += 40;
    fClock.Tick();
    EXPECT_EQ(1u, debug.Count("Exception thrown in CKinvarHUB().DriveOutput()"));
    fThrow = false;
    fNow += 40;
    fClock.Tick();
    EXPECT_EQ(2u, fFrames.size());
}

// The idle comes in the millisecond it is asked for, not up to one late.
TEST(IdleScheduleTest, ATickTurnsAtTheStartOfItsMillisecond)
{
    using namespace std::chrono;
    const NSIdleSchedule::TSteadyTime steady(milliseconds(5000) + microseconds(700));
    EXPECT_EQ(NSIdleSchedule::TSteadyTime(milliseconds(5003)), NSIdleSchedule::TimeOfTick(13, 10, steady));
}

TEST(OutputTrafficTest, RatesCountTheFramesAndBytesOfTheWindowAndEntriesOlderThanAMinuteGo)
{
    COutputTraffic traffic;
    EXPECT_EQ(std::make_pair(0u, 0u), traffic.GetRates(5000000, 1000));
    // Thirty frames of 10 bytes in the last second, and one just outside it.
    traffic.Append(3999999, 500);
    for (u64 frame = 0; frame < 30; ++frame)
        traffic.Append(4000000 + frame * 33000, 10);
    EXPECT_EQ(std::make_pair(30u, 300u), traffic.GetRates(5000000, 1000));
    // An entry exactly as old as the window still counts.
    EXPECT_EQ(std::make_pair(31u, 800u), traffic.GetRates(4999999, 1000));
    EXPECT_EQ(std::make_pair(15u, 400u), traffic.GetRates(4999999, 2000));
    // Entries older than a minute go.
    traffic.Append(3999999 + 60000001, 1);
    EXPECT_EQ(31u, traffic.GetCount());
}

} // namespace
