#include "foundation/Ticks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

using namespace NSThreads;

namespace
{
// The fake tick that the clocks of these tests read.
std::atomic<u32> gFakeTick{0};

u32 FakeTicks()
{
    return gFakeTick.load();
}

u64 ReadAt(CTicks64Clock& clock, u32 tick)
{
    gFakeTick.store(tick);
    return clock.Read();
}

TEST(Ticks64, WrapOfTheSystemTickIsCarriedOn)
{
    struct TCase
    {
        u32 fFirst;
        u32 fSecond;
        u64 fDifference;
    };
    const TCase cases[] = {
        {0xFFFFFFF0, 0x10, 0x20},       // wraps between two reads
        {0x10, 0x20, 0x10},             // no wrap, no rebase
        {0x7FFFFFF0, 0x80000010, 0x20}, // crosses half the range
        {0x00000000, 0x80000000, 0x80000000},
    };
    for (const TCase& c : cases)
    {
        CTicks64Clock clock(&FakeTicks);
        const u64 first = ReadAt(clock, c.fFirst);
        EXPECT_EQ(first, c.fFirst) << std::hex << c.fFirst; // a new clock counts from tick 0
        EXPECT_EQ(ReadAt(clock, c.fSecond) - first, c.fDifference) << std::hex << c.fFirst;
    }
}

TEST(Ticks64, RebaseOnlyBeyondHalfTheRangeAndWithoutAJump)
{
    CTicks64Clock clock(&FakeTicks);
    EXPECT_EQ(ReadAt(clock, 0x80000000), 0x80000000u);
    EXPECT_EQ(clock.GetBaseTick(), 0u); // exactly half: no rebase

    EXPECT_EQ(ReadAt(clock, 0x80000001), 0x80000001u);
    EXPECT_EQ(clock.GetBaseTick(), 0x80000001u - 0x19999999u);
    EXPECT_EQ(ReadAt(clock, 0x80000001), 0x80000001u); // the same tick reads the same after it

    // A reader whose tick was taken a little before the rebase still counts on.
    EXPECT_EQ(ReadAt(clock, 0x80000000), 0x80000000u);

    // Many wraps later the count has kept every tick.
    u64 expected = 0x80000001;
    for (int step = 0; step < 12; ++step)
    {
        expected += 0x70000000;
        EXPECT_EQ(ReadAt(clock, static_cast<u32>(expected)), expected) << step;
    }
}

TEST(Ticks64, ProgramClockFollowsAReplacedSource)
{
    SetTickSource(&FakeTicks);
    gFakeTick.store(0xFFFFFFF0);
    const u64 before = GetTicks64();
    gFakeTick.store(0x10);
    EXPECT_EQ(GetTicks64() - before, 0x20u);
    SetTickSource(nullptr);

    const u64 start = GetTicks64();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const u64 elapsed = GetTicks64() - start;
    EXPECT_GE(elapsed, 19u);
    EXPECT_LT(elapsed, 10000u);
}

TEST(Ticks64, ConversionsTruncate)
{
    EXPECT_EQ(TicksFromNanoseconds(1999999), 1u);
    EXPECT_EQ(TicksFromNanoseconds(999999), 0u);
    EXPECT_EQ(TicksFromNanoseconds(5000000000), 5000u);
    EXPECT_EQ(NanosecondsFromTicks(3), 3000000u);
    EXPECT_EQ(NanosecondsFromTicks(0), 0u);
}
} // namespace
