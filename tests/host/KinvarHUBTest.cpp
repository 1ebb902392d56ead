// The hub of active surfaces: its ids, the misuses of its interface and the input of a surface that has gone, with
// "State Box" surfaces on the loopback cables. (How input reaches the listeners is the faulty surfaces' and the
// flood's test.)

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
    void IInputListener_OnInput(const TItemInput*) override { ++fHeard; }
    int fHeard = 0;
};

TEST(KinvarHUBTest, IdsAreNeverGivenOutTwiceMisusesAreFailedAssertionsAndGoneSurfacesHearNothing)
{
    CFakeVistal vistal;
    CVistalInstallation installation(vistal);
    CKinvarHUB hub;
    for (int attempt = 0; attempt < 2; ++attempt)
        EXPECT_THROW(hub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {}), u"Name", {{}}, {}),
                     std::logic_error);
    const u32 id = hub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false}), u"Name",
                                                  {InPort(u"Loopback A")}, {OutPort(u"Loopback B")});
    EXPECT_EQ(3u, id);
    EXPECT_EQ(u"Name", hub.GetName(id));
    hub.DriveOutput(30);
    EXPECT_EQ(1u, hub.GetOutputTraffic(id, 0, 1000).first);
    hub.DeleteActiveControlSurface(id);
    hub.DriveOutput(30); // no surfaces: nothing to do

    const u32 next =
        hub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {}), u"Name", {InPort(u"Loopback A")}, {});
    EXPECT_EQ(4u, next);
    CListener listener;
    hub.AddInputListener(next, &listener);
    {
        NSTesting::CExpectAssertions expect;
        EXPECT_THROW(hub.AddInputListener(next, &listener), XProgrammingError);
        EXPECT_THROW(hub.AddInputListener(next, nullptr), XProgrammingError);
        hub.RemoveInputListener(next + 1, &listener);
        EXPECT_THROW(hub.GetName(next + 1), NSException::XNotFound);
        EXPECT_EQ(4u, expect.Count());
    }
    CListener stranger;
    hub.RemoveInputListener(next, &stranger); // unknown: passed over
    // Input still queued for a surface that has gone reaches nobody.
    CListener late;
    hub.AddInputListener(next, &late);
    NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback A"))->Send(nullptr, {0xB0, 0x00, 0x01});
    ASSERT_TRUE(WaitUntil([&] { return hub.GetQueuedInputCount() == 1; }));
    hub.DeleteActiveControlSurface(next);
    hub.DriveInput();
    EXPECT_EQ(0, late.fHeard);
}
} // namespace
