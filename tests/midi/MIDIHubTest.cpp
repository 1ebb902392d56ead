// The hub over a library that the test drives by hand: sharing of ports.

#include "midi/MIDIHub.h"

#include "AssertionRecorder.h"
#include "FakeTonewell.h"
#include "MIDITestSupport.h"
#include "foundation/Exceptions.h"
#include "midi/DeliveryThread.h"

#include <gtest/gtest.h>

#include <vector>

using namespace NSMIDIHub;
using namespace NSMIDITesting;

namespace
{
class MIDIHubTest : public testing::Test
{
protected:
    CFakeTonewell fLibrary;
    CMIDIHub fHub{fLibrary};
    std::vector<CMIDIPortSpec> fIns = fHub.GetInPorts();
    std::vector<CMIDIPortSpec> fOuts = fHub.GetOutPorts();
};

// Two users of one port share the library's port: one open, and one close
// after both have gone. Another port is a port of its own. An empty address
// equals only another empty one.
TEST_F(MIDIHubTest, UsersOfOnePortShareIt)
{
    const CMIDIPortSpec empty;
    EXPECT_TRUE(empty == CMIDIPortSpec());
    EXPECT_FALSE(empty == fIns[0]);
    EXPECT_FALSE(fIns[0] == empty);
    EXPECT_EQ(u"", empty.GetDisplayName());
    CMIDIPortSpec copy = fIns[0];
    copy = empty;
    EXPECT_TRUE(copy.IsEmpty());
    CRecordingReceiver first;
    CRecordingReceiver second;
    {
        CMIDIInPort a(fHub, fIns[0], &first);
        {
            CMIDIInPort b(fHub, fHub.GetInPorts()[0], &second);
            EXPECT_EQ(1, fLibrary.fInOpens);
            EXPECT_EQ(1u, fHub.GetOpenInPortCount());
            const u8 note[] = {0x90, 0x40, 0x7F};
            NSTonewell::DeliverMessage(*fLibrary.fHandler, *fLibrary.fPort, 0, note, 3);
            EXPECT_EQ(1u, first.Count());
            EXPECT_EQ(1u, second.Count());
        }
        EXPECT_EQ(0, fLibrary.fInCloses);
        CMIDIInPort other(fHub, fIns[1], &second);
        EXPECT_EQ(2, fLibrary.fInOpens);
    }
    EXPECT_EQ(2, fLibrary.fInCloses);
    EXPECT_EQ(0u, fHub.GetOpenInPortCount());
    {
        auto sender1 = fHub.GetSender(fOuts[0]);
        auto sender2 = fHub.GetSender(fOuts[0]);
        EXPECT_EQ(1, fLibrary.fOutOpens);
        sender1.reset();
        EXPECT_EQ(0, fLibrary.fOutCloses);
    }
    EXPECT_EQ(1, fLibrary.fOutCloses);
    EXPECT_EQ(0u, fHub.GetOpenOutPortCount());
}

} // namespace
