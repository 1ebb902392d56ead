// Four input ports flood while frames run and surfaces come and go: no deadlock, no stranded input, no
// race under tsan. Two floods go through the loopback delivery thread, two straight to surfaces of their own.

#include "host/KinvarHUB.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class CCountingListener final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput*) override { ++fCount; }
    int fCount = 0;
};

// A full queue makes the codec fail, a full cable the sender: a flood loses what doesn't fit.
template <class Body> void EdgeOfPort(Body&& body)
{
    try
    {
        body();
    }
    catch (const std::exception&)
    {
    }
}

TEST(StressTest, FloodingInputWhileFramesRunAndSurfacesComeAndGo)
{
    CFakeVistal vistal;
    CVistalInstallation installation(vistal);
    CKinvarHUB hub;
    const auto start = [&](const char16_t* in, const char16_t* out) {
        return hub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false}), u"Name", {InPort(in)},
                                              {OutPort(out)});
    };
    // Surfaces of the hub's queue but not its list: their input is queued and then dropped.
    std::vector<std::unique_ptr<CActiveControlSurface>> direct;
    for (int i = 0; i < 2; ++i)
        direct.push_back(std::make_unique<CActiveControlSurface>(StatesCodec(), std::vector{InPort(u"Loopback A")},
                                                                 std::vector<CMIDIPortSpec>{}, &hub,
                                                                 StateBox({false}, {})));
    std::atomic<bool> stop{false};
    std::vector<std::thread> floods;
    for (const char16_t* cable : {u"Loopback A", u"Loopback B"})
        floods.emplace_back([&stop, sender = NSMIDIHub::GetMIDIHub().GetSender(OutPort(cable))] {
            for (u8 value = 0; !stop; value = (value + 1) & 0x7F)
            {
                EdgeOfPort([&] { sender->Send(nullptr, {0xB0, 0x00, value}); });
                std::this_thread::sleep_for(20us);
            }
        });
    for (auto& surface : direct)
        floods.emplace_back([&stop, &surface, port = InPort(u"Loopback A")] {
            for (u8 value = 0; !stop; value = (value + 1) & 0x7F)
            {
                const u64 time = value;
                EdgeOfPort([&] { surface->Receive(port, &time, {0xB0, 0x00, value}); });
                std::this_thread::yield();
            }
        });

    CCountingListener listener;
    const u32 steady = start(u"Loopback A", u"Loopback B");
    hub.AddInputListener(steady, &listener);
    TItemState state{};
    state.fEnabled = 1;
    for (int round = 0; round < 100; ++round)
    {
        const u32 passing = start(round % 2 ? u"Loopback A" : u"Loopback B", u"Loopback A");
        state.fValue = round & 0x7F;
        hub.SetItemState(passing, 0, state);
        hub.DriveOutput(30);
        hub.DriveInput();
        hub.DeleteActiveControlSurface(passing);
    }
    stop = true;
    for (std::thread& flood : floods)
        flood.join();
    direct.clear();
    hub.RemoveInputListener(steady, &listener);
    hub.DeleteActiveControlSurface(steady);
    hub.DriveInput();
    EXPECT_EQ(0u, hub.GetQueuedInputCount());
    EXPECT_GT(listener.fCount, 0);
    EXPECT_GT(vistal.fPostCount, 0u);
}
} // namespace
