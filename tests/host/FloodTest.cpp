// A flood of 100,000 messages a second for 3 seconds into a running surface, on the run loop of a program without
// a GUI, with the real hub and a panel that takes 20 microseconds an input: what the queue can't hold is counted and
// said once in the log, and nothing is lost without being counted. (How the frames keep their pace meanwhile is
// bench_panel's figure.)

#include "host/HeadlessVistal.h"
#include "host/KinvarHUB.h"
#include "host/MyAppBehavior.h"

#include "HostTestSupport.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;
using std::chrono::steady_clock;

namespace
{
class CSlowPanel final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput*) override
    {
        ++fCount;
        for (const auto until = steady_clock::now() + 20us; steady_clock::now() < until;)
        {
        }
    }
    u64 fCount = 0;
};

TEST(FloodTest, TheQueueCountsWhatItLoses)
{
    CKinvarHUB hub;
    COutputFrameClock clock([&](u32 fps) { hub.DriveOutput(fps); });
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
    // Ports are opened and closed on the loop's thread alone.
    const auto sender = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback A"));
    std::thread flood([&] {
        const auto start = steady_clock::now();
        for (auto tick = start; tick < start + 3s; tick += 1ms)
        {
            for (int i = 0; i < 100; ++i, ++sent)
                sender->Send(nullptr, {0xB0, 0x00, static_cast<u8>(sent & 0x7F)});
            std::this_thread::sleep_until(tick + 1ms);
        }
        // The queue's losses are told once it has lost nothing for a second.
        std::this_thread::sleep_for(kLostInputQuietMs * 1ms + 1500ms);
        vistal.GetRunLoop().RequestQuit();
    });
    EXPECT_EQ(kVistalOK, vistal.Run(behaviour));
    flood.join();
    hub.DriveInput();

    const u64 lost = hub.GetLostInputCount();
    EXPECT_EQ(sent, panel.fCount + lost) << lost << " lost";
    const std::u16string told = NSTextPackage::Text16FromUTF8(std::to_string(lost)) +
                                u" inputs were lost, since they came faster than the panels took them (at most 5000 "
                                u"can wait).\n";
    EXPECT_EQ(lost > 0 ? told : u"", log.Text());
    // The end of the run may have stopped the surface already.
    hub.RemoveInputListener(id, &panel);
    if (hub.GetSurfaceCount() != 0)
        hub.DeleteActiveControlSurface(id);
}
} // namespace
