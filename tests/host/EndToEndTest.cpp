// The workbench's main road without a window, over the loopback cables and the headless run loop.

#include "host/HeadlessVistal.h"
#include "host/MyAppBehavior.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <future>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class EndToEndTest : public testing::Test
{
protected:
    // Runs the loop until something requests the quit, or ten seconds pass.
    void Run()
    {
        std::promise<void> finished;
        std::thread watchdog([this, done = finished.get_future()] {
            if (done.wait_for(10s) == std::future_status::timeout)
                fVistal.IVistal_RequestQuit();
        });
        fVistal.Run(fBehavior);
        finished.set_value();
        watchdog.join();
    }

    CKinvarHUB fHub;
    COutputFrameClock fFrames{[this](u32 framesPerSecond) { fHub.DriveOutput(framesPerSecond); }};
    CHeadlessVistal fVistal{fFrames};
    CVistalInstallation fInstallation{fVistal};
    CFakeWindows fWindows;
    struct CBehavior final : CMyAppBehavior
    {
        using CMyAppBehavior::CMyAppBehavior;
        u32 OnEnd() override
        {
            if (fBeforeEnd)
                fBeforeEnd();
            return CMyAppBehavior::OnEnd();
        }
        std::function<void()> fBeforeEnd;
    } fBehavior{fWindows, fHub, fFrames};
};

// Decoded on the delivery thread, input reaches the listener on the loop's thread through the posted event; an item
// state leaves as MIDI at the next frame; the end of the run stops the surface, whose shutdown message goes out last.
TEST_F(EndToEndTest, InputAndItemStatesCrossTheLoop)
{
    // Quits the run once it has heard the input and seen the item state on the wire.
    class CProbe final : public IInputListener, public NSMIDIHub::IMIDIReceiver
    {
    public:
        explicit CProbe(IVistal& vistal) : fVistal(vistal) {}
        void IInputListener_OnInput(const TItemInput* input) override
        {
            fInputs.push_back(*input);
            fThread = std::this_thread::get_id();
            QuitWhen(fHeard);
        }
        void Receive(const CMIDIPortSpec& port, const u64* time, const TBinary& data) override
        {
            fWire.Receive(port, time, data);
            if (data == TBinary{0xB0, 0x00, 100})
                QuitWhen(fSeen);
        }
        void QuitWhen(std::atomic<bool>& done)
        {
            done = true;
            if (fHeard && fSeen)
                fVistal.IVistal_RequestQuit();
        }
        IVistal& fVistal;
        std::atomic<bool> fHeard{false};
        std::atomic<bool> fSeen{false};
        std::vector<TItemInput> fInputs;
        std::thread::id fThread;
        CRecordingReceiver fWire;
    } probe(fVistal);
    NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback B"), &probe);
    const u32 id = fHub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false}), u"Name",
                                                   {InPort(u"Loopback A")}, {OutPort(u"Loopback B")});
    fHub.AddInputListener(id, &probe);
    TItemState state{};
    state.fEnabled = 1;
    state.fValue = 100;
    fHub.SetItemState(id, 0, state);
    std::pair<u32, u32> traffic;
    fBehavior.fBeforeEnd = [&] { traffic = fHub.GetOutputTraffic(id, 0, 1000); };
    // Ports are opened and closed on the loop's thread alone.
    const auto port = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback A"));
    std::thread sender([&port] {
        std::this_thread::sleep_for(20ms);
        port->Send(nullptr, {0xB0, 0x00, 0x40});
    });
    Run();
    sender.join();
    ASSERT_EQ(1u, probe.fInputs.size());
    EXPECT_EQ(std::this_thread::get_id(), probe.fThread);
    EXPECT_EQ(64, probe.fInputs[0].fValue1);
    EXPECT_NE(0u, probe.fInputs[0].fTime);
    EXPECT_GE(traffic.first, 1u);
    EXPECT_EQ(3u, traffic.second);
    EXPECT_FALSE(fHub.HasActiveControlSurface(id));
    ASSERT_TRUE(probe.fWire.WaitForCount(3));
    EXPECT_EQ((std::vector<TBinary>{{0xF0, 0x7D, 0x01, 0x00, 0xF7}, {0xB0, 0x00, 100}, {0xF0, 0x7D, 0x02, 0x00, 0xF7}}),
              probe.fWire.Messages());
}

// With nobody reading, the 5001st input is lost, and one post stands for them all.
TEST_F(EndToEndTest, TheQueueHoldsFiveThousandInputs)
{
    CFakeVistal fake;
    CVistalInstallation installation(fake);
    // Hears each message before the surface: when it has the last, the surface has had them all.
    CRecordingReceiver ahead;
    NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback A"), &ahead);
    const u32 id =
        fHub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {}), u"Name", {InPort(u"Loopback A")}, {});
    const auto sender = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback A"));
    for (int i = 0; i < 5002; ++i)
        sender->Send(nullptr, {0xB0, 0x07, static_cast<u8>(i & 0x7F)});
    ASSERT_TRUE(ahead.WaitForCount(5002));
    EXPECT_EQ(5000u, fHub.GetQueuedInputCount());
    EXPECT_EQ(1u, fake.fPostCount);
    fHub.DriveInput();
    fHub.DeleteActiveControlSurface(id);
}
} // namespace
