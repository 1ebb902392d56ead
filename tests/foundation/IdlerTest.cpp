#include "foundation/Idler.h"

#include "foundation/Assert.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

using namespace NSCorbelan;

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

} // namespace
