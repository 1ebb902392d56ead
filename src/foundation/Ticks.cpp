#include "foundation/Ticks.h"

#include <ctime>
#include <memory>

namespace NSThreads
{
namespace
{
constexpr u32 kRebaseDistance = 0x80000000;
constexpr u32 kRebaseBack = 0x19999999;

// Made at first use, so that static initialisers elsewhere may read it too.
// Replaced only by SetTickSource, which tests call while no other thread reads.
std::unique_ptr<CTicks64Clock>& ProgramClock()
{
    static std::unique_ptr<CTicks64Clock> clock =
        std::make_unique<CTicks64Clock>(&GetSystemTicks32);
    return clock;
}
} // namespace

u32 GetSystemTicks32()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const u64 milliseconds =
        static_cast<u64>(now.tv_sec) * 1000 + static_cast<u64>(now.tv_nsec) / 1000000;
    return static_cast<u32>(milliseconds);
}

CTicks64Clock::CTicks64Clock(TTickSource source) : fSource(source) {}

u64 CTicks64Clock::Read()
{
    const u32 now = fSource();
    const u32 current = fCurrent.load(std::memory_order_acquire);
    const TEntry& entry = fEntries[current];
    const u32 base = entry.fTick.load(std::memory_order_relaxed);
    const u64 count = entry.fCount.load(std::memory_order_relaxed);
    const u32 delta = now - base;
    if (delta > kRebaseDistance && !fUpdating.test_and_set(std::memory_order_acquire))
    {
        // Another thread may have switched entries since this one looked.
        if (fCurrent.load(std::memory_order_relaxed) == current)
        {
            TEntry& next = fEntries[1 - current];
            next.fTick.store(now - kRebaseBack, std::memory_order_relaxed);
            next.fCount.store(delta + count - kRebaseBack, std::memory_order_relaxed);
            fCurrent.store(1 - current, std::memory_order_release);
        }
        fUpdating.clear(std::memory_order_release);
    }
    return count + delta;
}

u32 CTicks64Clock::GetBaseTick() const
{
    return fEntries[fCurrent.load(std::memory_order_acquire)].fTick.load(std::memory_order_relaxed);
}

u64 GetTicks64()
{
    return ProgramClock()->Read();
}

void SetTickSource(TTickSource source)
{
    ProgramClock() =
        std::make_unique<CTicks64Clock>(source != nullptr ? source : &GetSystemTicks32);
}

u64 TicksFromNanoseconds(u64 nanoseconds)
{
    return static_cast<u64>(static_cast<double>(nanoseconds) * 1e-6);
}

u64 NanosecondsFromTicks(u64 ticks)
{
    return static_cast<u64>(static_cast<double>(ticks) * 1e6);
}
} // namespace NSThreads
