// The sink of a surface's outgoing MIDI: whole messages, the byte count, and the metering.

#include "host/MIDIEventGetter.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class CRecordingSender final : public NSMIDIHub::IMIDISender
{
public:
    void Send(const u64* time, const TBinary& data) override
    {
        if (fFail)
            throw std::runtime_error("port gone");
        fSent.push_back(data);
        fTimes.push_back(*time);
    }
    std::vector<TBinary> fSent;
    std::vector<u64> fTimes;
    bool fFail = false;
};

std::vector<TMIDIEvent> Events(const std::vector<TBinary>& messages)
{
    std::vector<TMIDIEvent> events(messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i)
    {
        events[i].fTime = 100 + i;
        events[i].fSize = static_cast<u32>(messages[i].size());
        std::copy(messages[i].begin(), messages[i].end(), events[i].fData);
    }
    return events;
}

// Faults end the call with a status, no exception reaches the codec, and the getter keeps the first for the log.
TEST(MIDIEventGetterTest, FaultsBecomeTheCodecsStatus)
{
    auto sender = std::make_shared<CRecordingSender>();
    std::vector<TMIDIEvent> faulty = Events({{0xF0, 0x01}, {0xF0, 0x02, 0xF7}, {0x90}, {0x90}});
    faulty[2].fSize = 0;
    faulty[3].fSize = 1025;
    const std::tuple<std::size_t, u32, std::u16string> cases[] = {
        {0, 23005, u"a system exclusive message was begun inside another"},
        {2, 23002, u"an empty MIDI message was handed over"},
        {3, 23002, u"a MIDI message of 1025 bytes was handed over, more than 1024"}};
    for (const auto& [first, status, failure] : cases)
    {
        CMIDIEventGetter getter(sender, kThrottleOff);
        EXPECT_EQ(status, getter.IMIDIEventGetter_Take(&faulty[first], first == 0 ? 2 : 1));
        EXPECT_EQ(failure, getter.GetFailure());
    }
    sender->fFail = true;
    const std::vector<TMIDIEvent> note = Events({{0x90, 0x3C, 0x7F}});
    CMIDIEventGetter refused(sender, kThrottleOff);
    EXPECT_EQ(::kCodecUnknown, refused.IMIDIEventGetter_Take(note.data(), 1));
    EXPECT_EQ(0u, refused.GetByteCount());
    EXPECT_EQ(0u, refused.GetFailure().find(u"the port refused a message: "));
}

// 3125 bytes a second; sleeps are whole milliseconds, the rest is carried as debt. Frames are not metered.
TEST(MIDIEventGetterTest, MeteringSleepsTheWireTimeWithTheRoundingCarried)
{
    CMIDIEventGetter frame(std::make_shared<CRecordingSender>(), kThrottleOff, [](u32) { ADD_FAILURE(); });
    const std::vector<TMIDIEvent> large = Events({TBinary(1000, 0x90)});
    frame.IMIDIEventGetter_Take(large.data(), 1);

    auto sender = std::make_shared<CRecordingSender>();
    std::vector<u32> sleeps;
    CMIDIEventGetter getter(sender, kThrottleOn, [&](u32 ms) { sleeps.push_back(ms); });
    const TBinary note{0x90, 0x3C, 0x7F}; // 0.96 ms each
    const std::vector<TMIDIEvent> events = Events({note, note, note});
    getter.IMIDIEventGetter_Take(events.data(), 3);
    EXPECT_EQ((std::vector<u32>{1, 1, 1}), sleeps);
    EXPECT_NEAR(-0.12, getter.GetThrottleDebtMs(), 1e-4);

    sleeps.clear();
    const TBinary one{0xF8}; // 0.32 ms: below half, nothing sleeps
    const std::vector<TMIDIEvent> tiny = Events({one});
    getter.IMIDIEventGetter_Take(tiny.data(), 1);
    EXPECT_TRUE(sleeps.empty());
    EXPECT_NEAR(0.2, getter.GetThrottleDebtMs(), 1e-4);

    std::vector<TMIDIEvent> big = Events({TBinary(1000, 0x01)});
    big[0].fData[0] = 0x90;
    getter.IMIDIEventGetter_Take(big.data(), 1); // 320 ms plus the debt
    EXPECT_EQ(std::vector<u32>{320}, sleeps);
}
} // namespace
