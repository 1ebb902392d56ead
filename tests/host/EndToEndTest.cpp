// The workbench's main road without a window, over the loopback cables and the headless run loop.

#include "host/HeadlessVistal.h"
#include "host/MyAppBehavior.h"

#include "HostTestSupport.h"
#include "generic/GenericMidiCodec.h"
#include "host/CodecModules.h"

#include <gtest/gtest.h>

#include <future>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class EndToEndTest : public testing::Test
{
protected:
    EndToEndTest()
    {
        const std::filesystem::path definition = std::filesystem::path(BRASSFOLD_TEST_DATA_DIR) / "map" / "Acme Box.midicodec";
        fGeneric = TCodecPtr(NSGenericMidiCodec::CreateGenericMidiCodec({{}, {definition}}), codec_deleter());
        fAcmeBox = GetControlSurfacesForCodec(fGeneric).at(0);
    }

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

    TCodecPtr fGeneric;
    TControlSurfaceInfo fAcmeBox;
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

// Decoded on the delivery thread, input reaches the listener on the loop's thread through the posted event.
TEST_F(EndToEndTest, InputReachesTheListenerOnTheMainThread)
{
    class CListener final : public IInputListener
    {
    public:
        explicit CListener(IVistal& vistal) : fVistal(vistal) {}
        void IInputListener_OnInput(const TItemInput* input) override
        {
            fInputs.push_back(*input);
            fThread = std::this_thread::get_id();
            fVistal.IVistal_RequestQuit();
        }
        IVistal& fVistal;
        std::vector<TItemInput> fInputs;
        std::thread::id fThread;
    } listener(fVistal);
    const u32 id = fHub.CreateActiveControlSurface(fGeneric, fAcmeBox, u"Name", {InPort(u"Loopback A")}, {});
    fHub.AddInputListener(id, &listener);
    // Ports are opened and closed on the loop's thread alone.
    const auto port = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback A"));
    std::thread sender([&port] {
        std::this_thread::sleep_for(20ms);
        port->Send(nullptr, {0xB0, 0x07, 0x40});
    });
    Run();
    sender.join();
    ASSERT_EQ(1u, listener.fInputs.size());
    EXPECT_EQ(std::this_thread::get_id(), listener.fThread);
    EXPECT_EQ(64, listener.fInputs[0].fValue1);
    EXPECT_NE(0u, listener.fInputs[0].fTime);
    EXPECT_FALSE(fHub.HasActiveControlSurface(id)); // the end of the run stopped it
}

TEST_F(EndToEndTest, ItemStatesLeaveAsMIDIAtTheNextFrame)
{
    class CWire final : public NSMIDIHub::IMIDIReceiver
    {
    public:
        explicit CWire(IVistal& vistal) : fVistal(vistal) {}
        void Receive(const CMIDIPortSpec&, const u64*, const TBinary& data) override
        {
            fMessages.Receive({}, nullptr, data);
            if (data == TBinary{0xB0, 0x00, 100})
                fVistal.IVistal_RequestQuit();
        }
        IVistal& fVistal;
        CRecordingReceiver fMessages;
    } wire(fVistal);
    NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback B"), &wire);
    const u32 id = fHub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false}), u"Name",
                                                   {InPort(u"Loopback A")}, {OutPort(u"Loopback B")});
    TItemState state{};
    state.fEnabled = 1;
    state.fValue = 100;
    fHub.SetItemState(id, 0, state);
    std::pair<u32, u32> traffic;
    fBehavior.fBeforeEnd = [&] { traffic = fHub.GetOutputTraffic(id, 0, 1000); };
    Run();
    EXPECT_GE(traffic.first, 1u);
    EXPECT_EQ(3u, traffic.second);
    // The end of the run stops the surface, whose shutdown message goes out last.
    ASSERT_TRUE(wire.fMessages.WaitForCount(3));
    EXPECT_EQ((std::vector<TBinary>{{0xF0, 0x7D, 0x01, 0x00, 0xF7}, {0xB0, 0x00, 100}, {0xF0, 0x7D, 0x02, 0x00, 0xF7}}),
              wire.fMessages.Messages());
}

// With nobody reading, the 5001st input is lost, and one post stands for them all.
TEST_F(EndToEndTest, TheQueueHoldsFiveThousandInputs)
{
    CFakeVistal fake;
    CVistalInstallation installation(fake);
    // Hears each message before the surface: when it has the last, the surface has had them all.
    CRecordingReceiver ahead;
    NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback A"), &ahead);
    const u32 id = fHub.CreateActiveControlSurface(fGeneric, fAcmeBox, u"Name", {InPort(u"Loopback A")}, {});
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
