#include "foundation/Idler.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <algorithm>
#include <array>

namespace NSCorbelan
{
namespace
{
constexpr u32 kFirstLevel = kIdleLevel0ms;
constexpr std::array<u64, kIdleLevelCount> kLevelIntervalsMs = {0,   10,  20,   50,   100,
                                                                200, 500, 1000, 2000, 10000};
constexpr i64 kNanosecondsPerMicrosecond = 1000;
constexpr i64 kNanosecondsPerSecond = 1000000000;
constexpr i64 kNanosecondsPerTick = kNanosecondsPerSecond / kTicksPerSecond;

// Main thread only, like the idler itself.
i32 gIdlerCount = 0;
TIdleIntervalChangedHook gIntervalChangedHook = nullptr;

template <class T> bool Contains(const std::vector<T>& list, const T& item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}

// Out-of-range values are an assertion failure and then mean index 0.
u32 LevelIndex(u32 level)
{
    const bool valid = level >= kFirstLevel && level < kFirstLevel + kIdleLevelCount;
    BF_ASSERT(valid);
    return valid ? level - kFirstLevel : 0;
}

void TellIntervalChanged()
{
    if (gIntervalChangedHook == nullptr)
        return;
    ThrowVistalResult(gIntervalChangedHook());
}
} // namespace

TTicks MicrosecondsToTicks(i64 microseconds)
{
    return microseconds * kNanosecondsPerMicrosecond / kNanosecondsPerTick;
}

i64 TicksToMicroseconds(TTicks ticks)
{
    return ticks * kNanosecondsPerTick / kNanosecondsPerMicrosecond;
}

// ---- CIdleInfo --------------------------------------------------------------

CIdleInfo::CIdleInfo(TTicks now, TTicks previous) : fNow(now), fPrevious(previous)
{
    BF_ASSERT(Invariant());
}

bool CIdleInfo::Invariant() const
{
    return fNow != 0 && fPrevious <= fNow;
}

TTicks CIdleInfo::GetNow() const
{
    BF_ASSERT(Invariant());
    return fNow;
}

TTicks CIdleInfo::GetPrevious() const
{
    BF_ASSERT(Invariant());
    return fPrevious;
}

u32 CIdleInfo::CountIntervals(TTicks interval, TTicks start) const
{
    BF_ASSERT(Invariant());
    BF_ASSERT(interval > 0);
    BF_ASSERT(start <= fNow);
    if (interval <= 0 || start > fNow)
        return 0;
    return static_cast<u32>((fNow - start) / interval);
}

// ---- CIdler -----------------------------------------------------------------

CIdler::CIdler()
{
    fLevels.reserve(kIdleLevelCount);
    for (const u64 interval : kLevelIntervalsMs)
        fLevels.push_back(CIdleLevel{interval, 0, {}});
}

CIdler::~CIdler()
{
    BF_ASSERT(fDisableCount == 0);
}

CIdler::CIdleLevel& CIdler::LevelFor(u32 level)
{
    return fLevels[LevelIndex(level)];
}

const CIdler::CIdleLevel& CIdler::LevelFor(u32 level) const
{
    return fLevels[LevelIndex(level)];
}

void CIdler::AddClient(IIdleable* client, u32 level)
{
    BF_ASSERT(client != nullptr);
    if (client == nullptr)
        return;
    CIdleLevel& idleLevel = LevelFor(level);
    const bool duplicate = Contains(idleLevel.fClients, client);
    BF_ASSERT(!duplicate);
    if (duplicate)
        return;
    idleLevel.fClients.push_back(client);
    ++gIdlerCount;
    BF_TRACE("CIdleClient::gIdlerCount: %d", gIdlerCount);
    TellIntervalChanged();
}

void CIdler::RemoveClient(IIdleable* client)
{
    for (CIdleLevel& level : fLevels)
    {
        const auto found = std::find(level.fClients.begin(), level.fClients.end(), client);
        if (found == level.fClients.end())
            continue;
        level.fClients.erase(found);
        BF_ASSERT(gIdlerCount > 0);
        --gIdlerCount;
        BF_TRACE("CIdleClient::gDebugIdlerCount: %d", gIdlerCount);
    }
}

void CIdler::Drive(TTicks now)
{
    if (fDriving)
        BF_TRACE("CIdler::Drive() called recursively!");
    fDriving = true;
    if (fDisableCount == 0)
    {
        // The restart after each level mirrors the client walk: the level list
        // is fixed today, and the walk stays right should it ever change.
        std::vector<const CIdleLevel*> visited;
        for (std::size_t i = 0; i < fLevels.size();)
        {
            if (Contains<const CIdleLevel*>(visited, &fLevels[i]))
            {
                ++i;
                continue;
            }
            visited.push_back(&fLevels[i]);
            RunLevel(fLevels[i], now);
            i = 0;
        }
    }
    fDriving = false;
}

void CIdler::RunLevel(CIdleLevel& level, TTicks now)
{
    const TTicks interval = static_cast<TTicks>(level.fIntervalMs) * kTicksPerSecond / 1000;
    if (now < level.fLastRun + interval)
        return;
    const CIdleInfo info(now, level.fLastRun != 0 ? level.fLastRun : now);
    // A pointer in done is only compared, never followed: a client that was
    // deleted meanwhile is harmless there.
    std::vector<const IIdleable*> done;
    for (std::size_t i = 0; i < level.fClients.size();)
    {
        IIdleable* client = level.fClients[i];
        if (Contains<const IIdleable*>(done, client))
        {
            ++i;
            continue;
        }
        done.push_back(client);
        client->Idle(info);
        i = 0;
    }
    level.fLastRun = now;
}

u64 CIdler::GetIdleIntervalMs() const
{
    for (const CIdleLevel& level : fLevels)
        if (!level.fClients.empty())
            return level.fIntervalMs;
    return kNoIdleClientsIntervalMs;
}

TTicks CIdler::GetLevelIntervalTicks(u32 level) const
{
    return static_cast<TTicks>(LevelFor(level).fIntervalMs) * kTicksPerSecond / 1000;
}

void CIdler::ResetTimes()
{
    for (CIdleLevel& level : fLevels)
        level.fLastRun = 0;
}

void CIdler::Disable()
{
    ++fDisableCount;
}

void CIdler::Enable()
{
    if (fDisableCount == 0)
    {
        BF_THROW_SITE();
        throw XIllegalCallSequence();
    }
    --fDisableCount;
}

CIdler& GetIdler()
{
    static CIdler idler;
    return idler;
}

void SetIdleIntervalChangedHook(TIdleIntervalChangedHook hook)
{
    gIntervalChangedHook = hook;
}

i32 GetIdleClientCount()
{
    return gIdlerCount;
}

// ---- CIdleFrameCounter ------------------------------------------------------

CIdleFrameCounter::CIdleFrameCounter(TTicks interval) : fInterval(interval)
{
    BF_ASSERT(interval > 0);
}

u32 CIdleFrameCounter::GetCount(const CIdleInfo& info)
{
    if (fStart == 0)
        fStart = info.GetNow();
    return info.CountIntervals(fInterval, fStart);
}

u32 CIdleFrameCounter::GetDelta(const CIdleInfo& info)
{
    const u32 count = GetCount(info);
    const u32 delta = count - fLastCount;
    fLastCount = count;
    return delta;
}

void CIdleFrameCounter::SetInterval(TTicks interval)
{
    BF_ASSERT(interval > 0);
    fInterval = interval;
    fStart = 0;
    fLastCount = 0;
}

// ---- CIdleDisabler ----------------------------------------------------------

CIdleDisabler::CIdleDisabler()
{
    GetIdler().Disable();
}

CIdleDisabler::~CIdleDisabler()
{
    try
    {
        GetIdler().Enable();
    }
    catch (...)
    {
        BF_ASSERT(false);
    }
}
} // namespace NSCorbelan
