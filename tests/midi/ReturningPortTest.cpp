// Ports that vanish and come back, and ports that don't wait for each other,
// on the loopback cables: an unplugged cable stands for a device that went.

#include "midi/MIDIHub.h"
#include "midi/TonewellLibrary.h"

#include "MIDITestSupport.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

using namespace NSMIDIHub;
using namespace NSMIDITesting;

namespace
{
class ReturningPortTest : public testing::Test
{
protected:
    ReturningPortTest() { TakePendingLog(); }

    void Plug(bool plugged) { ASSERT_TRUE(NSTonewell::SetLoopbackCablePlugged(fLibrary, "Loopback A", plugged)); }
    std::string Log() { return NSTextPackage::UTF8FromText16(TakePendingLog()); }

    NSTonewell::CTonewellLibrary fLibrary{{NSTonewell::EBackend::kLoopback}};
    CMIDIHub fHub{fLibrary};
    CMIDIPortSpec fInA = FindPortNamed(fHub.GetInPorts(), u"Loopback A");
    CMIDIPortSpec fOutA = FindPortNamed(fHub.GetOutPorts(), u"Loopback A");
};

bool SendFails(IMIDISender& sender)
{
    try
    {
        sender.Send(nullptr, {0x90, 0x40, 0x7F});
        return false;
    }
    catch (const std::exception&)
    {
        return true;
    }
}

// Two users share the port that goes: sends fail at once and are counted, and
// when it is back both hear again, whether a watch saw it gone or only its
// sends did.
TEST_F(ReturningPortTest, AVanishedPortOpensAgainForEveryUser)
{
    for (const bool watchedWhileOut : {true, false})
    {
        CRecordingReceiver first;
        CRecordingReceiver second;
        CMIDIInPort a(fHub, fInA, &first);
        CMIDIInPort b(fHub, fInA, &second);
        auto sender = fHub.GetSender(fOutA);
        Plug(false);
        if (watchedWhileOut)
        {
            fHub.WatchPorts();
            EXPECT_EQ("MIDI in port \"Loopback A\" has vanished; it is opened again when it comes back.\n"
                      "MIDI out port \"Loopback A\" has vanished; it is opened again when it comes back.\n",
                      Log());
            EXPECT_FALSE(sender->IsPresent());
        }
        EXPECT_TRUE(SendFails(*sender));
        EXPECT_TRUE(SendFails(*sender));
        Plug(true);
        fHub.WatchPorts();
        const std::string back = Log();
        EXPECT_NE(std::string::npos, back.find("MIDI in port \"Loopback A\" is back.\n")) << back;
        EXPECT_NE(std::string::npos,
                  back.find("MIDI out port \"Loopback A\" is back; 2 messages sent to it while it was away were lost.\n"))
            << back;
        sender->Send(nullptr, {0xB0, 0x01, 0x02});
        EXPECT_TRUE(first.WaitForCount(1));
        EXPECT_TRUE(second.WaitForCount(1));
        EXPECT_EQ(1u, fHub.GetOpenInPortCount());
        fHub.WatchPorts();
        EXPECT_EQ("", Log());
    }
}

// A new user of a port that vanished has it opened anew, or fails as an
// opening fails while the port is still away.
TEST_F(ReturningPortTest, ANewUserOfAVanishedPortOpensItOrFails)
{
    CRecordingReceiver receiver;
    CMIDIInPort port(fHub, fInA, &receiver);
    Plug(false);
    fHub.WatchPorts();
    CRecordingReceiver late;
    EXPECT_ANY_THROW(CMIDIInPort(fHub, fInA, &late));
    EXPECT_ANY_THROW(fHub.GetSender(fOutA));
    Plug(true);
    CMIDIInPort again(fHub, fInA, &late);
    fHub.GetSender(fOutA)->Send(nullptr, {0xC0, 0x01});
    EXPECT_TRUE(receiver.WaitForCount(1));
    EXPECT_TRUE(late.WaitForCount(1));
}

// A receiver that takes long holds up its own port, and no other: each port
// delivers on a thread of its own. Closing the other port doesn't wait for it.
TEST_F(ReturningPortTest, ASlowReceiverHoldsUpItsOwnPortAlone)
{
    class CSlowReceiver final : public IMIDIReceiver
    {
    public:
        void Receive(const CMIDIPortSpec&, const u64*, const TBinary&) override
        {
            fEntered = true;
            while (!fRelease)
                std::this_thread::sleep_for(1ms);
        }
        std::atomic<bool> fEntered{false};
        std::atomic<bool> fRelease{false};
    };
    CSlowReceiver slow;
    CRecordingReceiver quick;
    CMIDIInPort slowPort(fHub, fInA, &slow);
    auto inB = std::make_unique<CMIDIInPort>(fHub, FindPortNamed(fHub.GetInPorts(), u"Loopback B"), &quick);
    fHub.GetSender(fOutA)->Send(nullptr, {0x90, 0x40, 0x7F});
    ASSERT_TRUE(WaitUntil([&] { return slow.fEntered.load(); }));
    fHub.GetSender(FindPortNamed(fHub.GetOutPorts(), u"Loopback B"))->Send(nullptr, {0x90, 0x41, 0x7F});
    EXPECT_TRUE(quick.WaitForCount(1));
    inB.reset();
    slow.fRelease = true;
}
} // namespace
