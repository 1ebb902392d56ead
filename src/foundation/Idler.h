#pragma once
// The cooperative periodic scheduler. Objects register a callback at one of ten
// fixed rates; CIdler::Drive, given the current time, runs every client whose
// rate is due. The idler keeps no clock and starts no thread: the application
// calls Drive from its own idle path, on the user interface thread only, and
// clients need no locks.
//
// Callbacks may add and remove clients, themselves included, while Drive walks
// the lists: after every call the walk starts again from the front, and a list
// of those already run keeps anybody from running twice in one pass.

#include "foundation/Types.h"

#include <memory>
#include <utility>
#include <vector>

namespace NSCorbelan
{
// Time in native ticks; ticks are milliseconds here.
using TTicks = i64;

inline constexpr TTicks kTicksPerSecond = 1000;
TTicks MicrosecondsToTicks(i64 microseconds);
i64 TicksToMicroseconds(TTicks ticks);

// Level values 20 to 29; the index (value - 20) picks the interval.
enum EIdleLevel : u32
{
    kIdleLevel0ms = 20,
    kIdleLevel10ms = 21,
    kIdleLevel20ms = 22,
    kIdleLevel50ms = 23,
    kIdleLevel100ms = 24,
    kIdleLevel200ms = 25,
    kIdleLevel500ms = 26,
    kIdleLevel1s = 27,
    kIdleLevel2s = 28,
    kIdleLevel10s = 29,
};
inline constexpr u32 kIdleLevelCount = 10;
// What GetIdleIntervalMs answers when no level has clients.
inline constexpr u64 kNoIdleClientsIntervalMs = 60000;

// What a client is told when it runs: now (never 0) and the time its level ran
// before (equal to now on the level's first run).
class CIdleInfo
{
public:
    CIdleInfo(TTicks now, TTicks previous);

    TTicks GetNow() const;
    TTicks GetPrevious() const;
    // Whole intervals (> 0) from start (not after now) to now.
    u32 CountIntervals(TTicks interval, TTicks start) const;

private:
    bool Invariant() const;

    TTicks fNow;
    TTicks fPrevious;
};

class IIdleable
{
public:
    virtual void Idle(const CIdleInfo& info) = 0;
    virtual ~IIdleable() = default;
};

class CIdler
{
public:
    CIdler();
    // The disable count must be 0 by now.
    ~CIdler();
    CIdler(const CIdler&) = delete;
    CIdler& operator=(const CIdler&) = delete;

    // Adds the client at the end of its level's list, then tells the
    // application that the idle interval may have changed. A null client or
    // one already in the level is an assertion failure and is not added.
    void AddClient(IIdleable* client, u32 level);
    // Removes the client from whichever level holds it; absent is no failure.
    void RemoveClient(IIdleable* client);
    // Runs every due level. A call from inside a callback is reported on the
    // trace channel and runs all the same. When a client throws, the exception
    // leaves Drive and its level stays due.
    void Drive(TTicks now);

    // The interval of the fastest level that has clients, or
    // kNoIdleClientsIntervalMs; the caller picks its timer period by it.
    u64 GetIdleIntervalMs() const;
    TTicks GetLevelIntervalTicks(u32 level) const;
    // Every level counts as never run.
    void ResetTimes();

    // Drive runs nothing while the count is above 0; see CIdleDisabler.
    void Disable();
    void Enable();
    u32 GetDisableCount() const { return fDisableCount; }

private:
    struct CIdleLevel
    {
        u64 fIntervalMs;
        TTicks fLastRun = 0; // 0: never
        std::vector<IIdleable*> fClients;
    };

    CIdleLevel& LevelFor(u32 level);
    const CIdleLevel& LevelFor(u32 level) const;
    void RunLevel(CIdleLevel& level, TTicks now);

    std::vector<CIdleLevel> fLevels;
    bool fDriving = false;
    u32 fDisableCount = 0;
};

// The process's idler, made on first request.
CIdler& GetIdler();

// Tells the application that the fastest idle interval may have changed. The
// hook answers a GUI status word (12000 is success); anything else is thrown
// as the GUI edge's failure. With no hook, nothing happens.
using TIdleIntervalChangedHook = u32 (*)();
void SetIdleIntervalChangedHook(TIdleIntervalChangedHook hook);

// Registered clients of all idlers, for diagnostics.
i32 GetIdleClientCount();

// Calls fMethod on fTarget at its level for as long as it lives: the
// constructor registers it and the destructor removes it. A client may destroy
// itself in its own callback. A client that is not reentrant is skipped while
// an earlier run of it is still active (its callback called Drive).
template <class T> class CIdleClient : public IIdleable
{
public:
    using TMethod = void (T::*)(const CIdleInfo&);

    CIdleClient(u32 level, T* target, TMethod method, bool reentrant = false,
                CIdler& idler = GetIdler())
        : fLevel(level), fTarget(target), fMethod(method), fReentrant(reentrant),
          fRunCount(std::make_shared<u32>(0)), fIdler(idler)
    {
        try
        {
            fIdler.AddClient(this, fLevel);
        }
        catch (...)
        {
            // The client is in the list before the application hears of it;
            // one that never finished construction must not stay there.
            fIdler.RemoveClient(this);
            throw;
        }
    }

    ~CIdleClient() override { fIdler.RemoveClient(this); }
    CIdleClient(const CIdleClient&) = delete;
    CIdleClient& operator=(const CIdleClient&) = delete;

    void Idle(const CIdleInfo& info) override
    {
        ++*fRunCount;
        // The copy outlives this object if the callback destroys it; while a
        // second owner exists, the object is still there.
        const std::shared_ptr<u32> runCount = fRunCount;
        try
        {
            if (fReentrant || *runCount == 1)
                (fTarget->*fMethod)(info);
        }
        catch (...)
        {
            if (runCount.use_count() > 1)
                --*runCount;
            throw;
        }
        if (runCount.use_count() > 1)
            --*runCount;
    }

    u32 GetLevel() const { return fLevel; }

private:
    u32 fLevel;
    T* fTarget;
    TMethod fMethod;
    bool fReentrant;
    std::shared_ptr<u32> fRunCount;
    CIdler& fIdler;
};

// Counts whole intervals since its first use, for animations.
class CIdleFrameCounter
{
public:
    explicit CIdleFrameCounter(TTicks interval);

    // The first call starts the count at info's now.
    u32 GetCount(const CIdleInfo& info);
    // GetCount minus the value this returned last.
    u32 GetDelta(const CIdleInfo& info);
    // Starts over with a new interval.
    void SetInterval(TTicks interval);

private:
    TTicks fStart = 0; // 0: not started
    TTicks fInterval;
    u32 fLastCount = 0;
};

// Keeps the process's idler from running anything while it lives.
class CIdleDisabler
{
public:
    CIdleDisabler();
    ~CIdleDisabler();
    CIdleDisabler(const CIdleDisabler&) = delete;
    CIdleDisabler& operator=(const CIdleDisabler&) = delete;
};
} // namespace NSCorbelan
