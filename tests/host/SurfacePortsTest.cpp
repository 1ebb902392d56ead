// A running surface reaches MIDI only through the ports it is given: a
// recording stand-in sees all of its traffic and all of its wire waits.

#include "host/KinvarHUB.h"

#include "HostTestSupport.h"
#include "midi/PortAddress.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
CMIDIPortSpec Address(NSTonewell::EDirection direction)
{
    return CMIDIPortSpec(NSTonewell::CPortAddress(NSTonewell::EBackend::kLoopback, direction, "Recorded", 0));
}

class CRecordingPorts final : public ISurfacePorts, public NSMIDIHub::IMIDISender
{
public:
    std::shared_ptr<void> Listen(const CMIDIPortSpec&, NSMIDIHub::IMIDIReceiver* receiver) override
    {
        fReceiver = receiver;
        return std::shared_ptr<void>(&fReceiver, [](NSMIDIHub::IMIDIReceiver** listening) { *listening = nullptr; });
    }
    std::shared_ptr<NSMIDIHub::IMIDISender> GetSender(const CMIDIPortSpec&) override
    {
        return std::shared_ptr<NSMIDIHub::IMIDISender>(this, [](NSMIDIHub::IMIDISender*) {});
    }
    void WaitForWire(u32 milliseconds) override { fWaited += milliseconds; }
    void WatchPorts() override {}
    void Send(const u64*, const TBinary& data) override { fSent.push_back(data); }

    NSMIDIHub::IMIDIReceiver* fReceiver = nullptr;
    std::vector<TBinary> fSent;
    u32 fWaited = 0;
};

class CListener final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput* input) override { fInputs.push_back(*input); }
    std::vector<TItemInput> fInputs;
};

TEST(SurfacePorts, CarryTheSurfacesWholeTrafficAndMeterItsStartAndEnd)
{
    CFakeVistal toolkit;
    const CVistalInstallation installation(toolkit);
    CRecordingPorts ports;
    CKinvarHUB hub(ports);
    const CMIDIPortSpec in = Address(NSTonewell::EDirection::kIn);
    const u32 id = hub.CreateActiveControlSurface(StatesCodec(), StateBox({false}, {false, true}), u"Box", {in},
                                                  {Address(NSTonewell::EDirection::kOut), {}});
    // The start comes in two records, one message on the wire: 5 bytes are 1.6 ms.
    EXPECT_EQ(std::vector<TBinary>{TBinary({0xF0, 0x7D, 0x01, 0x00, 0xF7})}, ports.fSent);
    EXPECT_EQ(2u, ports.fWaited);

    CListener listener;
    hub.AddInputListener(id, &listener);
    const u64 time = 4711;
    ASSERT_NE(nullptr, ports.fReceiver);
    ports.fReceiver->Receive(in, &time, {0xB0, 0x00, 0x40});
    hub.DriveInput();
    ASSERT_EQ(1u, listener.fInputs.size());
    EXPECT_EQ(64, listener.fInputs[0].fValue1);
    EXPECT_EQ(time, listener.fInputs[0].fTime);

    hub.RemoveInputListener(id, &listener);
    hub.DeleteActiveControlSurface(id);
    EXPECT_EQ(TBinary({0xF0, 0x7D, 0x02, 0x00, 0xF7}), ports.fSent.back());
    EXPECT_EQ(4u, ports.fWaited);
    EXPECT_EQ(nullptr, ports.fReceiver); // listening ended with the surface
}
} // namespace
