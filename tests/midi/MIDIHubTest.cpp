// The hub over a library that the test drives by hand: sharing of ports,
// what the open ports make of the library's callbacks, and sending.

#include "midi/MIDIHub.h"

#include "AssertionRecorder.h"
#include "FakeTonewell.h"
#include "MIDITestSupport.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

#include <vector>

using namespace NSMIDIHub;
using namespace NSMIDITesting;

namespace
{
class MIDIHubTest : public testing::Test
{
protected:
    u32 SendShort(u8 a, u8 b, u8 c, u64 time = 0)
    {
        const NSTonewell::TTonewellShortMessage message{time, {a, b, c}, {}};
        return fLibrary.fHandler->IMIDIInHandler_OnShortMessage(fLibrary.fPort, &message);
    }

    // Hands a system exclusive message over as begin, one data call per
    // piece, and end (or abort).
    void SendSysex(const std::vector<std::vector<u8>>& pieces, bool abort = false)
    {
        auto* handler = fLibrary.fHandler;
        const u64 time = 9;
        EXPECT_EQ(kTonewellOK, handler->IMIDIInHandler_OnSysexBegin(fLibrary.fPort));
        for (const auto& piece : pieces)
            EXPECT_EQ(kTonewellOK,
                      handler->IMIDIInHandler_OnSysexData(fLibrary.fPort, &time, piece.data(),
                                                          static_cast<u32>(piece.size())));
        EXPECT_EQ(kTonewellOK, abort ? handler->IMIDIInHandler_OnSysexAbort(fLibrary.fPort)
                                     : handler->IMIDIInHandler_OnSysexEnd(fLibrary.fPort, &time));
    }

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
            EXPECT_EQ(kTonewellOK, SendShort(0x90, 0x40, 0x7F));
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

// Short messages reach the receivers as 3 bytes with their time, active
// sensing never does; sysex pieces (also empty ones) are put together, and an
// aborted sysex is dropped.
TEST_F(MIDIHubTest, CallbacksBecomeWholeMessages)
{
    CRecordingReceiver receiver;
    CMIDIInPort port(fHub, fIns[0], &receiver);
    EXPECT_EQ(kTonewellOK, SendShort(0xFE, 0, 0));
    EXPECT_EQ(kTonewellOK, SendShort(0xC0, 0x05, 0x00, 1234));
    EXPECT_EQ(kTonewellOK, SendShort(0xF8, 0, 0));
    SendSysex({});
    SendSysex({{0x7E, 0x01}, {}, {0x06, 0x02}});
    SendSysex({{0x7E, 0x01}}, true);
    SendSysex({{0x42}});
    const std::vector<TBinary> expected = {{0xC0, 0x05, 0x00},
                                           {0xF8, 0x00, 0x00},
                                           {0xF0, 0xF7},
                                           {0xF0, 0x7E, 0x01, 0x06, 0x02, 0xF7},
                                           {0xF0, 0x42, 0xF7}};
    EXPECT_EQ(expected, receiver.Messages());
    EXPECT_EQ(1234u, receiver.At(0).fTime);
    EXPECT_TRUE(receiver.At(0).fPort == fIns[0]);
    EXPECT_EQ(9u, receiver.At(2).fTime);
}

} // namespace
