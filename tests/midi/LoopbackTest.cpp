// The hub on the real loopback cables: messages travel from a hub sender to
// a hub receiver on the backend's delivery thread, and into the buffering
// ports that auto-detection and the MIDI test window read.

#include "midi/AutoDetect.h"
#include "midi/MIDIHub.h"
#include "midi/TonewellLibrary.h"
#include "midi/TonewellSupport.h"

#include "MIDITestSupport.h"
#include "FakePresenter.h"
#include "foundation/Exceptions.h"
#include "midi/MIDIBytes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace NSMIDIHub;
using namespace NSMIDITesting;
using NSKinvarCodec::TMIDIEvent;
using NSKinvarSetupUtils::CBufferingMIDIInPort;

namespace
{
class LoopbackTest : public testing::Test
{
protected:
    NSTonewell::CTonewellLibrary fLibrary{{NSTonewell::EBackend::kLoopback}};
    CMIDIHub fHub{fLibrary};
    CMIDIPortSpec fInA = FindPortNamed(fHub.GetInPorts(), u"Loopback A");
    CMIDIPortSpec fInB = FindPortNamed(fHub.GetInPorts(), u"Loopback B");
    CMIDIPortSpec fOutA = FindPortNamed(fHub.GetOutPorts(), u"Loopback A");
};

// Messages arrive at the cable of the same name only, stamped on arrival; a
// long sysex arrives whole, and the backend refuses a message without status.
// A burst far beyond the room of the port arrives complete and in order: the
// sender waits for the delivery thread instead of losing messages.
TEST_F(LoopbackTest, WhatIsSentArrivesAtTheCableOfTheSameName)
{
    CRecordingReceiver onA;
    CRecordingReceiver onB;
    CMIDIInPort portA(fHub, fInA, &onA);
    CMIDIInPort portB(fHub, fInB, &onB);
    auto sender = fHub.GetSender(fOutA);
    const u64 before = NSTonewell::MonotonicMicroseconds();
    for (const TBinary& message : std::vector<TBinary>{{0x90, 0x40, 0x7F},
                                                       {0xC0, 0x05},
                                                       {0xFE},
                                                       {0xF8},
                                                       MakeSysex(2),
                                                       MakeSysex(1024),
                                                       MakeSysex(60000)})
        sender->Send(nullptr, message);
    std::vector<TBinary> expected = {{0x90, 0x40, 0x7F}, {0xC0, 0x05, 0x00}, {0xF8, 0, 0},
                                     MakeSysex(2),       MakeSysex(1024),    MakeSysex(60000)};
    // The long sysexes of the burst take the receiving side longer than the
    // sender, so that the port's room runs out.
    for (std::size_t n = 0; n < 100000; ++n)
    {
        const TBinary control{0xB0, static_cast<u8>(n & 0x7F), static_cast<u8>((n >> 7) & 0x7F)};
        expected.push_back(n % 500 == 0 ? MakeSysex(60000) : control);
        sender->Send(nullptr, expected.back());
    }
    ASSERT_TRUE(onA.WaitForCount(expected.size()));
    EXPECT_TRUE(expected == onA.Messages()); // not EXPECT_EQ: no printing 100,000 messages
    EXPECT_GE(onA.At(0).fTime, before);
    EXPECT_LE(onA.At(0).fTime, NSTonewell::MonotonicMicroseconds());
    EXPECT_TRUE(onA.At(0).fPort == fInA);
    EXPECT_EQ(0u, onB.Count());
    EXPECT_THROW(sender->Send(nullptr, {0x40, 0x7F}), std::invalid_argument);
    EXPECT_NO_THROW(sender->Send(nullptr, {}));
}

// Receivers come and go on this thread while another thread floods the
// port: nothing crashes, hangs, or arrives at a receiver that has gone. Every
// other round the port loses its last user, closes, and opens again.
TEST_F(LoopbackTest, ReceiversComeAndGoWhileInputFlows)
{
    class CGuardedReceiver final : public IMIDIReceiver
    {
    public:
        void Receive(const CMIDIPortSpec&, const u64*, const TBinary&) override
        {
            if (!fAlive.load())
                fLate.fetch_add(1);
            fCount.fetch_add(1);
        }
        std::atomic<bool> fAlive{true};
        std::atomic<int> fLate{0};
        std::atomic<int> fCount{0};
    };
    std::atomic<bool> stop{false};
    auto sender = fHub.GetSender(fOutA);
    std::thread flood(
        [&]
        {
            while (!stop.load())
                sender->Send(nullptr, {0xF8});
        });
    int late = 0;
    int received = 0;
    // On a loaded machine the delivery thread may sleep through every short
    // window of the first rounds: more rounds follow until something arrived.
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (int round = 0; round < 200 || (received == 0 && std::chrono::steady_clock::now() < giveUp);
         ++round)
    {
        CGuardedReceiver first;
        CGuardedReceiver second;
        {
            auto port = std::make_unique<CMIDIInPort>(fHub, fInA, &first);
            std::unique_ptr<CMIDIInPort> other;
            if (round % 2 == 1)
                other = std::make_unique<CMIDIInPort>(fHub, fInA, &second);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            port.reset();
            first.fAlive.store(false);
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        second.fAlive.store(false);
        late += first.fLate.load() + second.fLate.load();
        received += first.fCount.load();
    }
    stop.store(true);
    flood.join();
    EXPECT_EQ(0, late);
    EXPECT_GT(received, 0);
    EXPECT_EQ(0u, fHub.GetOpenInPortCount());
}

// The buffer takes what the codec boundary takes, clock included, and keeps
// the first 1000 when nobody reads. A receiver that listens ahead of the
// buffer tells when the buffer has had a batch: it sees the message behind
// the batch only after the buffer has taken the batch.
TEST_F(LoopbackTest, BufferingPortsKeepWhatACodecCanTake)
{
    CRecordingReceiver ahead;
    CMIDIInPort watch(fHub, fInA, &ahead);
    auto sender = fHub.GetSender(fOutA);
    const TBinary behind{0xFC};
    {
        CBufferingMIDIInPort port(fHub, fInA);
        for (const TBinary& message : {MakeSysex(1025), MakeSysex(1024), TBinary{0xF8}, behind})
            sender->Send(nullptr, message);
        ASSERT_TRUE(ahead.WaitForCount(4));
        const std::vector<TMIDIEvent> events = port.TakeEvents();
        ASSERT_GE(events.size(), 2u);
        EXPECT_EQ(1024u, events[0].fSize);
        EXPECT_EQ(MakeSysex(1024), TBinary(events[0].fData, events[0].fData + 1024));
        EXPECT_EQ(3u, events[1].fSize);
        EXPECT_EQ(0xF8, events[1].fData[0]);
        EXPECT_NE(0u, events[1].fTime);
    }
    CBufferingMIDIInPort port(fHub, fInA);
    for (int i = 0; i < 1100; ++i)
        sender->Send(nullptr, {0x90, static_cast<u8>(i & 0x7F), static_cast<u8>(i >> 7)});
    sender->Send(nullptr, behind);
    ASSERT_TRUE(ahead.WaitForCount(4 + 1101));
    const std::vector<TMIDIEvent> events = port.TakeEvents();
    ASSERT_EQ(CBufferingMIDIInPort::kCapacity, events.size());
    EXPECT_EQ(0x00, events.front().fData[1]);
    EXPECT_EQ(999 & 0x7F, events.back().fData[1]);
    EXPECT_EQ(999 >> 7, events.back().fData[2]);
}

// A library that can't be made shows the box of last resort once in the
// process, and fails every time.
TEST(ProcessHubTest, ALibraryOfAnotherNameIsRefused)
{
    NSTesting::CFakePresenter presenter;
    EXPECT_THROW(NSTonewellSupport::CreateTonewell("IOther"), XProgrammingError);
    EXPECT_THROW(NSTonewellSupport::CreateTonewell("IOther"), XProgrammingError);
    ASSERT_EQ(1u, presenter.fBoxes.size());
    EXPECT_EQ("Application", presenter.fBoxes[0].fCaption);
    EXPECT_EQ("Failed to open MIDI support library\r\nApplication can not run", presenter.fBoxes[0].fText);
}
} // namespace
