#include "foundation/Idler.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NSCorbelan;
using NSTesting::CExpectAssertions;

namespace
{
// A target that records the times it ran and may do more in its callback.
struct TProbe
{
    std::vector<TTicks> fRuns;
    std::vector<TTicks> fPrevious;
    std::function<void()> fThen;

    void OnIdle(const CIdleInfo& info)
    {
        fRuns.push_back(info.GetNow());
        fPrevious.push_back(info.GetPrevious());
        if (fThen)
            fThen();
    }
};

using CProbeClient = CIdleClient<TProbe>;

std::unique_ptr<CProbeClient> MakeClient(CIdler& idler, u32 level, TProbe& probe,
                                         bool reentrant = false)
{
    return std::make_unique<CProbeClient>(level, &probe, &TProbe::OnIdle, reentrant, idler);
}

std::vector<std::string> gTraces;
void RecordTrace(const char*, i32, const char* text)
{
    gTraces.emplace_back(text);
}

TEST(Idler, IntervalIsThatOfTheFastestLevelWithClients)
{
    CIdler idler;
    EXPECT_EQ(idler.GetIdleIntervalMs(), 60000u);
    TProbe probe;
    auto slow = MakeClient(idler, kIdleLevel100ms, probe);
    EXPECT_EQ(idler.GetIdleIntervalMs(), 100u);
    {
        auto fast = MakeClient(idler, kIdleLevel10ms, probe);
        EXPECT_EQ(idler.GetIdleIntervalMs(), 10u);
    }
    EXPECT_EQ(idler.GetIdleIntervalMs(), 100u);
    const i32 count = GetIdleClientCount();
    idler.RemoveClient(slow.get());
    EXPECT_EQ(idler.GetIdleIntervalMs(), 60000u);
    idler.RemoveClient(slow.get());
    EXPECT_EQ(GetIdleClientCount(), count - 1) << "a second removal is harmless";
}

TEST(Idler, ClientsAtLevels24And21RunOnTheirScheduleUntilAReset)
{
    CIdler idler;
    TProbe slow, fast;
    auto slowClient = MakeClient(idler, kIdleLevel100ms, slow);
    auto fastClient = MakeClient(idler, kIdleLevel10ms, fast);
    for (const TTicks now : {500, 501, 502, 503, 508, 511, 540, 580, 590, 599, 600, 601, 604, 605,
                             609, 614, 690, 703, 901})
        idler.Drive(now);
    EXPECT_EQ(slow.fRuns, (std::vector<TTicks>{500, 600, 703, 901}));
    EXPECT_EQ(slow.fPrevious, (std::vector<TTicks>{500, 500, 600, 703}));
    EXPECT_EQ(fast.fRuns, (std::vector<TTicks>{500, 511, 540, 580, 590, 600, 614, 690, 703, 901}));

    // A reset makes every level due from scratch, even at an earlier time.
    idler.ResetTimes();
    idler.Drive(500);
    idler.Drive(611);
    EXPECT_EQ(slow.fRuns, (std::vector<TTicks>{500, 600, 703, 901, 500, 611}));
    EXPECT_EQ(slow.fPrevious, (std::vector<TTicks>{500, 500, 600, 703, 500, 500}))
        << "a level that never ran reports now as previous";
}

TEST(Idler, ClientDeletingItselfOrOneThatHasNotRunYetIsSafeAndTheOthersStillRun)
{
    CIdler idler;
    TProbe first, doomed, victim, last;
    auto firstClient = MakeClient(idler, kIdleLevel10ms, first);
    auto doomedClient = MakeClient(idler, kIdleLevel10ms, doomed);
    auto victimClient = MakeClient(idler, kIdleLevel10ms, victim);
    auto lastClient = MakeClient(idler, kIdleLevel10ms, last);
    doomed.fThen = [&]
    {
        victimClient.reset();
        doomedClient.reset();
    };
    idler.Drive(100);
    idler.Drive(200);
    EXPECT_EQ(first.fRuns, (std::vector<TTicks>{100, 200}));
    EXPECT_EQ(doomed.fRuns, (std::vector<TTicks>{100}));
    EXPECT_TRUE(victim.fRuns.empty());
    EXPECT_EQ(last.fRuns, (std::vector<TTicks>{100, 200}));
}

TEST(Idler, ClientAddedDuringAPassRunsInTheSamePassOnce)
{
    CIdler idler;
    TProbe parent, child;
    std::unique_ptr<CProbeClient> childClient;
    auto parentClient = MakeClient(idler, kIdleLevel10ms, parent);
    parent.fThen = [&]
    {
        if (!childClient)
            childClient = MakeClient(idler, kIdleLevel10ms, child);
    };
    idler.Drive(100);
    EXPECT_EQ(parent.fRuns.size(), 1u);
    EXPECT_EQ(child.fRuns, (std::vector<TTicks>{100}));
}

TEST(Idler, NonReentrantClientIsSkippedInANestedDriveAndRunsAgainLater)
{
    gTraces.clear();
    const TTraceHook savedHook = GetTraceHook();
    SetTraceHook(&RecordTrace);

    CIdler idler;
    TProbe plain, reentrant;
    auto plainClient = MakeClient(idler, kIdleLevel0ms, plain);
    auto reentrantClient = MakeClient(idler, kIdleLevel0ms, reentrant, true);
    bool nested = false;
    plain.fThen = [&]
    {
        if (nested)
            return;
        nested = true;
        idler.Drive(150);
    };
    idler.Drive(100);
    // The nested pass ran the reentrant client only; the outer pass then ran it
    // once more, since the nested pass's runs are not the outer pass's.
    EXPECT_EQ(plain.fRuns, (std::vector<TTicks>{100}));
    EXPECT_EQ(reentrant.fRuns, (std::vector<TTicks>{150, 100}));

    idler.Drive(200);
    EXPECT_EQ(plain.fRuns, (std::vector<TTicks>{100, 200})) << "its run count came back to 0";

    SetTraceHook(savedHook);
    EXPECT_EQ(std::count(gTraces.begin(), gTraces.end(), "CIdler::Drive() called recursively!"), 1);
}

TEST(Idler, ThrowingClientLeavesDriveAndItsLevelStaysDue)
{
    CIdler idler;
    TProbe probe;
    auto client = MakeClient(idler, kIdleLevel100ms, probe);
    probe.fThen = [&]
    {
        if (probe.fRuns.size() == 1)
            throw std::runtime_error("first run fails");
    };
    EXPECT_THROW(idler.Drive(500), std::runtime_error);
    idler.Drive(501);
    EXPECT_EQ(probe.fRuns, (std::vector<TTicks>{500, 501}));
    idler.Drive(502);
    EXPECT_EQ(probe.fRuns.size(), 2u) << "the second run counted";
}

TEST(Idler, DisabledIdlerRunsNothingAndTheDisablerGuardsTheProcessIdler)
{
    CIdler& idler = GetIdler();
    idler.ResetTimes();
    TProbe probe;
    CProbeClient client(kIdleLevel10ms, &probe, &TProbe::OnIdle);
    idler.Disable();
    idler.Drive(100);
    idler.Enable();
    {
        CIdleDisabler disabler;
        EXPECT_EQ(idler.GetDisableCount(), 1u);
        idler.Drive(100);
    }
    EXPECT_EQ(idler.GetDisableCount(), 0u);
    EXPECT_TRUE(probe.fRuns.empty());
    idler.Drive(100);
    EXPECT_EQ(probe.fRuns.size(), 1u);
}

TEST(Idler, BadRegistrationsAssertAndChangeNothing)
{
    CIdler idler;
    TProbe probe;
    auto client = MakeClient(idler, kIdleLevel50ms, probe);
    const i32 count = GetIdleClientCount();
    CExpectAssertions expect;
    idler.AddClient(client.get(), kIdleLevel50ms);
    idler.AddClient(nullptr, kIdleLevel50ms);
    EXPECT_EQ(expect.Count(), 2u);
    EXPECT_EQ(GetIdleClientCount(), count);
}

TEST(Idler, IntervalChangeIsReportedOnEachRegistration)
{
    static int calls = 0;
    calls = 0;
    SetIdleIntervalChangedHook(
        []() -> u32
        {
            ++calls;
            return 12000;
        });
    CIdler idler;
    TProbe probe;
    {
        auto a = MakeClient(idler, kIdleLevel10ms, probe);
        auto b = MakeClient(idler, kIdleLevel1s, probe);
    }
    EXPECT_EQ(calls, 2);

    SetIdleIntervalChangedHook([]() -> u32 { return 12003; });
    EXPECT_THROW(MakeClient(idler, kIdleLevel10ms, probe), XIllegalCallSequence)
        << "the GUI's status word is thrown as its failure";
    SetIdleIntervalChangedHook(nullptr);
    EXPECT_EQ(idler.GetIdleIntervalMs(), 60000u) << "the failed client is not left behind";
    idler.Drive(100);
    EXPECT_TRUE(probe.fRuns.empty());
}

TEST(IdleFrameCounter, CountsWholeIntervalsSinceItsFirstUse)
{
    CIdleFrameCounter counter(33);
    EXPECT_EQ(counter.GetCount(CIdleInfo(1000, 990)), 0u);
    EXPECT_EQ(counter.GetCount(CIdleInfo(1032, 1000)), 0u);
    EXPECT_EQ(counter.GetCount(CIdleInfo(1033, 1032)), 1u);
    EXPECT_EQ(counter.GetDelta(CIdleInfo(1100, 1033)), 3u);
    EXPECT_EQ(counter.GetDelta(CIdleInfo(1140, 1100)), 1u);
    EXPECT_EQ(counter.GetDelta(CIdleInfo(1150, 1140)), 0u);

    counter.SetInterval(10);
    EXPECT_EQ(counter.GetDelta(CIdleInfo(2000, 1150)), 0u) << "a new interval starts over";
    EXPECT_EQ(counter.GetDelta(CIdleInfo(2025, 2000)), 2u);
}
} // namespace
