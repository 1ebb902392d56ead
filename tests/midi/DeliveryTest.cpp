#include "midi/DeliveryThread.h"
#include "midi/MessageRing.h"

#include "FakeTonewell.h"
#include "MIDITestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace NSTonewell;
using namespace NSMIDITesting;

namespace
{
// An empty message, one too long, and one without room now are refused.
// (Messages that straddle the ring's end are the loopback burst's.)
TEST(MessageRingTest, MessagesWrapWholeAndWhatDoesNotFitIsRefused)
{
    std::vector<u8> out;
    u64 time = 0;
    CMessageRing small(64);
    const std::vector<u8> three = {0x90, 0x40, 0x7F};
    EXPECT_FALSE(small.TryPush(0, three.data(), 0));
    const std::vector<u8> tooLong(small.GetMaxMessageSize() + 1, 0);
    EXPECT_FALSE(small.TryPush(0, tooLong.data(), tooLong.size()));
    int pushed = 0;
    while (small.TryPush(pushed, three.data(), three.size()))
        ++pushed;
    EXPECT_EQ(64 / 24, pushed); // a 16-byte header and 8 bytes of message each
    ASSERT_TRUE(small.TryPop(time, out));
    EXPECT_EQ(0u, time);
    EXPECT_TRUE(small.TryPush(99, three.data(), three.size()));
}

class DeliveryTest : public testing::Test
{
protected:
    CFakeTonewell fLibrary;
    NSMIDIHub::CMIDIHub fHub{fLibrary};
    NSMIDIHub::CMIDIPortSpec fIn = fHub.GetInPorts().at(0);
};

// What the delivery thread hands over reaches the hub's receivers as whole
// messages with their time; what is no MIDI message for a codec never does.
TEST_F(DeliveryTest, WholeMessagesReachTheReceivers)
{
    CRecordingReceiver receiver;
    NSMIDIHub::CMIDIInPort port(fHub, fIn, &receiver);
    const std::vector<std::pair<TBinary, TBinary>> cases = {
        {{0x90, 0x40, 0x7F}, {0x90, 0x40, 0x7F}},
        {{0xC0, 0x05}, {0xC0, 0x05, 0x00}},
        {{0xF8}, {0xF8, 0x00, 0x00}},
        {{0xFE}, {}},             // active sensing
        {{0xF0, 0x7E, 0x01}, {}}, // a sysex that broke off
        {{0xF0, 0xF7}, {0xF0, 0xF7}},
        {{0xF0, 0x7E, 0x01, 0xF7}, {0xF0, 0x7E, 0x01, 0xF7}},
        {{0x90, 0x40, 0x7F, 0x00}, {}}, // no MIDI message is four bytes long
        {{0x40}, {}},
        {{0xF7}, {}},
    };
    for (const auto& [bytes, expected] : cases)
    {
        const std::size_t before = receiver.Count();
        DeliverMessage(*fLibrary.fHandler, *fLibrary.fPort, 5, bytes.data(), bytes.size());
        EXPECT_EQ(expected, receiver.Count() > before ? receiver.Messages().back() : TBinary())
            << testing::PrintToString(bytes);
    }
    for (std::size_t i = 0; i < receiver.Count(); ++i)
        EXPECT_TRUE(receiver.At(i).fTime == 5 && receiver.At(i).fPort == fIn);
}

// A handler may close its own channel from inside a callback: nothing more
// is delivered to it, and nothing waits.
TEST_F(DeliveryTest, AHandlerMayCloseItsOwnChannel)
{
    struct TClosingReceiver final : public NSMIDIHub::IMIDIReceiver
    {
        void Receive(const NSMIDIHub::CMIDIPortSpec&, const u64*, const TBinary&) override
        {
            if (++fCalls == 1)
                fDelivery->Close(fChannel);
        }
        CDeliveryThread* fDelivery = nullptr;
        std::shared_ptr<CInputChannel> fChannel;
        std::atomic<int> fCalls{0};
    } receiver;
    NSMIDIHub::CMIDIInPort port(fHub, fIn, &receiver);
    CDeliveryThread delivery("bf-test");
    receiver.fDelivery = &delivery;
    receiver.fChannel = delivery.Open(*fLibrary.fHandler, *fLibrary.fPort, 4096);
    const u8 clock[1] = {0xF8};
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(receiver.fChannel->Post(0, clock, 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(1, receiver.fCalls.load());
}
} // namespace
