#include "midi/DeliveryThread.h"
#include "midi/MessageRing.h"

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

class CNoPort final : public IMIDIInPort
{
};

TEST(DeliveryTest, WholeMessagesBecomeCallbacks)
{
    const std::vector<std::pair<std::vector<u8>, std::string>> cases = {
        {{0x90, 0x40, 0x7F}, "short 90 40 7f;"},
        {{0xC0, 0x05}, "short c0 5 0;"},
        {{0xF8}, "short f8 0 0;"},
        {{0xF0, 0xF7}, "begin;end;"},
        {{0xF0, 0x7E, 0x01, 0xF7}, "begin;data 7e 1;end;"},
        {{0xF0, 0x7E, 0x01}, "begin;data 7e 1;abort;"},
        {{0x90, 0x40, 0x7F, 0x00}, ""}, // no MIDI message is four bytes long
        {{0x40}, ""},
        {{0xF7}, ""},
    };
    for (const auto& [bytes, expected] : cases)
    {
        CCallbackLog log;
        CNoPort port;
        DeliverMessage(log, port, 5, bytes.data(), bytes.size());
        EXPECT_EQ(expected, log.fText) << expected;
    }
}

// A handler may close its own channel from inside a callback: nothing more
// is delivered to it, and nothing waits.
TEST(DeliveryTest, AHandlerMayCloseItsOwnChannel)
{
    class CClosingHandler final : public CCallbackLog
    {
    public:
        u32 IMIDIInHandler_OnShortMessage(IMIDIInPort*, const TTonewellShortMessage*) override
        {
            if (++fCalls == 1)
                fDelivery->Close(fChannel);
            return kTonewellOK;
        }

        CDeliveryThread* fDelivery = nullptr;
        std::shared_ptr<CInputChannel> fChannel;
        std::atomic<int> fCalls{0};
    };

    CDeliveryThread delivery("bf-test");
    CClosingHandler handler;
    CNoPort port;
    handler.fDelivery = &delivery;
    handler.fChannel = delivery.Open(handler, port, 4096);
    const u8 clock[1] = {0xF8};
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(handler.fChannel->Post(0, clock, 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(1, handler.fCalls.load());
}
} // namespace
