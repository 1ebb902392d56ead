// A flood of 100,000 messages a second for 10 seconds into a running surface,
// on the run loop of a program without a GUI, with the real hub and a panel
// that takes 20 microseconds an input: the frames keep their pace, what the
// queue can't hold is counted and said once in the log, and nothing is lost
// without being counted.

#include "host/HeadlessVistal.h"
#include "host/KinvarHUB.h"
#include "host/MyAppBehavior.h"

#include "HostTestSupport.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
constexpr int kMessagesPerMillisecond = 100;
constexpr auto kFloodTime = 10s;

class CSlowPanel final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput*) override
    {
        ++fCount;
        const auto until = std::chrono::steady_clock::now() + 20us;
        while (std::chrono::steady_clock::now() < until)
        {
        }
    }
    u64 fCount = 0;
};

TEST(FloodTest, TheLoopKeepsItsPaceAndTheQueueCountsWhatItLoses)
{
    CKinvarHUB hub;
    std::vector<std::chrono::steady_clock::time_point> frames;
    COutputFrameClock clock([&](u32 fps) {
        frames.push_back(std::chrono::steady_clock::now());
        hub.DriveOutput(fps);
    });
    CHeadlessVistal vistal(clock);
    CVistalInstallation installation(vistal);
    CFakeWindows windows;
    CMyAppBehavior behaviour(windows, hub, clock);
    CLogCapture log;
    const u32 id = hub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false}), u"Name",
                                                  {InPort(u"Loopback A")}, {OutPort(u"Loopback B")});
    CSlowPanel panel;
    hub.AddInputListener(id, &panel);

    u64 sent = 0;
    std::chrono::steady_clock::time_point floodStart;
    std::chrono::steady_clock::time_point floodEnd;
    std::thread flood([&, sender = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback A"))] {
        floodStart = std::chrono::steady_clock::now();
        for (auto tick = floodStart; tick < floodStart + kFloodTime; tick += 1ms)
        {
            for (int i = 0; i < kMessagesPerMillisecond; ++i, ++sent)
                sender->Send(nullptr, {0xB0, 0x00, static_cast<u8>(sent & 0x7F)});
            std::this_thread::sleep_until(tick + 1ms);
        }
        floodEnd = std::chrono::steady_clock::now();
        // The queue's losses are told once it has lost nothing for a second.
        std::this_thread::sleep_for(kLostInputQuietMs * 1ms + 1500ms);
        vistal.GetRunLoop().RequestQuit();
    });
    EXPECT_EQ(kVistalOK, vistal.Run(behaviour));
    flood.join();
    hub.DriveInput();

    std::chrono::steady_clock::duration longestGap{};
    for (std::size_t i = 1; i < frames.size(); ++i)
        if (frames[i] > floodStart && frames[i - 1] < floodEnd)
            longestGap = std::max(longestGap, frames[i] - frames[i - 1]);
    const u64 lost = hub.GetLostInputCount();
    std::printf("flood: %llu messages in %lld ms, %llu heard, %llu lost, longest frame gap %lld ms\n",
                static_cast<unsigned long long>(sent),
                static_cast<long long>((floodEnd - floodStart) / 1ms), static_cast<unsigned long long>(panel.fCount),
                static_cast<unsigned long long>(lost), static_cast<long long>(longestGap / 1ms));
    EXPECT_LT(longestGap, 300ms);
    EXPECT_EQ(sent, panel.fCount + lost);
    const std::string text = NSTextPackage::UTF8FromText16(log.Text());
    const std::string told = std::to_string(lost) + " inputs were lost, since they came faster than the panels took "
                                                    "them (at most 5000 can wait).\n";
    EXPECT_EQ(lost > 0 ? told : "", text);
    // The end of the run may have stopped the surface already.
    hub.RemoveInputListener(id, &panel);
    if (hub.GetSurfaceCount() != 0)
        hub.DeleteActiveControlSurface(id);
}
} // namespace
