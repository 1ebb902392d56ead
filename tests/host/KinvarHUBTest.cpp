// The hub of active surfaces: ids, listeners, the input queue with its one
// post per transition from empty, and its overflow.

#include "host/KinvarHUB.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class CListener final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput* input) override { fValues.push_back(input->fValue1); }
    std::vector<i64> fValues;
};

class KinvarHUBTest : public testing::Test
{
protected:
    // A surface of the scripted codec with no ports; its script is kept.
    u32 Start(std::shared_ptr<TScript>& script)
    {
        script = std::make_shared<TScript>();
        script->fInfo = MakeInfo(u"Acme", u"Box", {}, {false});
        return fHub.CreateActiveControlSurface(MakeScriptedCodec(script), script->fInfo, u"Name", {},
                                               {OutPort(u"Loopback B")});
    }

    u32 Input(IControlSurface* surface, i64 value)
    {
        TItemInput input{};
        input.fValue1 = value;
        return fHub.IControlSurfaceInputHandler_HandleInput(surface, &input);
    }

    CFakeVistal fVistal;
    CVistalInstallation fInstallation{fVistal};
    CKinvarHUB fHub;
};

TEST_F(KinvarHUBTest, OnePostStandsForEverythingQueuedSinceTheQueueWasEmpty)
{
    EXPECT_EQ(::kCodecOK, Input(nullptr, 1));
    EXPECT_EQ(::kCodecOK, Input(nullptr, 2));
    EXPECT_EQ((std::vector<std::pair<u32, u32>>{{0x10000001, 0}}), fVistal.Posts());
    fHub.DriveInput();
    EXPECT_EQ(0u, fHub.GetQueuedInputCount());
    Input(nullptr, 3);
    EXPECT_EQ(2u, fVistal.PostCount());
}

// With no reader running, the 5001st input is lost, its codec hears 23021,
// and nothing is posted for it.
TEST_F(KinvarHUBTest, AFullQueueLosesTheInputAndTellsTheCodec)
{
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(::kCodecOK, Input(nullptr, i));
    EXPECT_EQ(::kCodecUnknown, Input(nullptr, 5000));
    EXPECT_EQ(5000u, fHub.GetQueuedInputCount());
    EXPECT_EQ(1u, fVistal.PostCount());
    fHub.DriveInput();
    EXPECT_EQ(0u, fHub.GetQueuedInputCount());
}

TEST_F(KinvarHUBTest, AFailedPostIsTheCodecsFailure)
{
    fVistal.fPostStatus = 12005;
    EXPECT_EQ(NSKinvarCodec::kCodecBadFormat, Input(nullptr, 1));
}

// A listener hears its own surface; input of a surface that has gone is
// dropped without a word.
TEST_F(KinvarHUBTest, ListenersHearTheirOwnSurfaceAndInputOfDeletedSurfacesIsDropped)
{
    std::shared_ptr<TScript> first;
    std::shared_ptr<TScript> second;
    const u32 firstId = Start(first);
    const u32 secondId = Start(second);
    CListener hearsFirst;
    CListener hearsSecond;
    fHub.AddInputListener(firstId, &hearsFirst);
    fHub.AddInputListener(secondId, &hearsSecond);
    Input(first->fSurface, 10);
    Input(second->fSurface, 20);
    Input(first->fSurface, 11);
    fHub.DriveInput();
    EXPECT_EQ((std::vector<i64>{10, 11}), hearsFirst.fValues);
    EXPECT_EQ(std::vector<i64>{20}, hearsSecond.fValues);

    Input(second->fSurface, 21);
    fHub.RemoveInputListener(secondId, &hearsSecond);
    fHub.DeleteActiveControlSurface(secondId);
    fHub.DriveInput();
    EXPECT_EQ(std::vector<i64>{20}, hearsSecond.fValues);
    EXPECT_EQ(1u, fHub.GetSurfaceCount());
    fHub.RemoveInputListener(firstId, &hearsFirst);
    fHub.DeleteActiveControlSurface(firstId);
}

TEST_F(KinvarHUBTest, IdsAreNeverGivenOutTwiceNotEvenAfterFailedStarts)
{
    auto script = std::make_shared<TScript>();
    script->fInfo = MakeInfo(u"Acme", u"Box", {false}, {});
    for (int attempt = 0; attempt < 2; ++attempt)
        EXPECT_THROW(fHub.CreateActiveControlSurface(MakeScriptedCodec(script), script->fInfo, u"Name", {{}}, {}),
                     std::logic_error);
    std::shared_ptr<TScript> started;
    const u32 id = Start(started);
    EXPECT_EQ(3u, id);
    EXPECT_EQ(u"Name", fHub.GetName(id));
    fHub.DeleteActiveControlSurface(id);
    EXPECT_EQ(4u, Start(started));
    fHub.DeleteActiveControlSurface(4);
}

TEST_F(KinvarHUBTest, FramesAskEachSurfaceForTheWiresShareOfAFrame)
{
    fHub.DriveOutput(30); // no surfaces: nothing to do
    std::shared_ptr<TScript> script;
    const u32 id = Start(script);
    fHub.DriveOutput(30);
    fHub.DriveOutput(25);
    const auto calls = script->Calls();
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "GetOutputEvents 0 104"));
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "GetOutputEvents 0 125"));
    EXPECT_EQ(2u, fHub.GetOutputTraffic(id, 0, 1000).first);
    fHub.DeleteActiveControlSurface(id);
}

TEST_F(KinvarHUBTest, MisusesAreFailedAssertions)
{
    std::shared_ptr<TScript> script;
    const u32 id = Start(script);
    CListener listener;
    fHub.AddInputListener(id, &listener);
    {
        NSTesting::CExpectAssertions expect;
        EXPECT_THROW(fHub.AddInputListener(id, &listener), XProgrammingError);
        EXPECT_THROW(fHub.AddInputListener(id, nullptr), XProgrammingError);
        fHub.RemoveInputListener(id + 1, &listener);
        EXPECT_THROW(fHub.GetName(id + 1), NSException::XNotFound);
        EXPECT_EQ(4u, expect.Count());
    }
    CListener stranger;
    fHub.RemoveInputListener(id, &stranger);
    fHub.DeleteActiveControlSurface(id);
}
} // namespace
