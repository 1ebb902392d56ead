// The hub of active surfaces with "State Box" surfaces on the loopback cables.

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
    // A surface listening on one cable, sending on another if given.
    u32 Start(const char16_t* in, const char16_t* out = nullptr)
    {
        if (out == nullptr)
            return fHub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {}), u"Name", {InPort(in)}, {});
        return fHub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false}), u"Name", {InPort(in)},
                                               {OutPort(out)});
    }

    // Sends the fader's value on a cable and waits until it is queued.
    void Send(const char16_t* cable, u8 value)
    {
        const std::size_t queued = fHub.GetQueuedInputCount();
        NSMIDIHub::GetMIDIHub().GetSender(OutPort(cable))->Send(nullptr, {0xB0, 0x00, value});
        ASSERT_TRUE(WaitUntil([&] { return fHub.GetQueuedInputCount() > queued; }));
    }

    CFakeVistal fVistal;
    CVistalInstallation fInstallation{fVistal};
    CKinvarHUB fHub;
};

TEST_F(KinvarHUBTest, ListenersHearTheirOwnSurfaceAndInputOfDeletedSurfacesIsDropped)
{
    const u32 first = Start(u"Loopback A");
    const u32 second = Start(u"Loopback B");
    CListener hearsFirst;
    CListener hearsSecond;
    fHub.AddInputListener(first, &hearsFirst);
    fHub.AddInputListener(second, &hearsSecond);
    Send(u"Loopback A", 10);
    Send(u"Loopback B", 20);
    Send(u"Loopback A", 11);
    fHub.DriveInput();
    EXPECT_EQ((std::vector<i64>{10, 11}), hearsFirst.fValues);
    EXPECT_EQ(std::vector<i64>{20}, hearsSecond.fValues);

    Send(u"Loopback B", 21);
    fHub.DeleteActiveControlSurface(second);
    fHub.DriveInput();
    EXPECT_EQ(std::vector<i64>{20}, hearsSecond.fValues);
    fHub.RemoveInputListener(second, &hearsSecond);
    fHub.RemoveInputListener(first, &hearsFirst);
    fHub.DeleteActiveControlSurface(first);
}

TEST_F(KinvarHUBTest, IdsAreNeverGivenOutTwiceAndMisusesAreFailedAssertions)
{
    for (int attempt = 0; attempt < 2; ++attempt)
        EXPECT_THROW(fHub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {}), u"Name", {{}}, {}),
                     std::logic_error);
    const u32 id = Start(u"Loopback A", u"Loopback B");
    EXPECT_EQ(3u, id);
    EXPECT_EQ(u"Name", fHub.GetName(id));
    fHub.DriveOutput(30);
    EXPECT_EQ(1u, fHub.GetOutputTraffic(id, 0, 1000).first);
    fHub.DeleteActiveControlSurface(id);
    fHub.DriveOutput(30); // no surfaces: nothing to do

    const u32 next = Start(u"Loopback A");
    EXPECT_EQ(4u, next);
    CListener listener;
    fHub.AddInputListener(next, &listener);
    {
        NSTesting::CExpectAssertions expect;
        EXPECT_THROW(fHub.AddInputListener(next, &listener), XProgrammingError);
        EXPECT_THROW(fHub.AddInputListener(next, nullptr), XProgrammingError);
        fHub.RemoveInputListener(next + 1, &listener);
        EXPECT_THROW(fHub.GetName(next + 1), NSException::XNotFound);
        EXPECT_EQ(4u, expect.Count());
    }
    CListener stranger;
    fHub.RemoveInputListener(next, &stranger); // unknown: passed over
    fHub.DeleteActiveControlSurface(next);
}
} // namespace
