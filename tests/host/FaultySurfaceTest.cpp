// Running surfaces that fail, ports that vanish and come back, and ports that
// don't wait for each other: on the loopback cables, with the process's port
// hub and the faulty models of the test module beside a healthy "State Box".

#include "host/KinvarHUB.h"

#include "HostTestSupport.h"
#include "foundation/TextPackage.h"
#include "host/CodecInstance.h"
#include "midi/TonewellLibrary.h"
#include "midi/TonewellSupport.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
const TCodecPtr& FaultyCodec()
{
    static const auto instance = std::make_shared<NSKinvar::CCodecInstance>(TestCodec("FAULTY"));
    return instance->GetCodec();
}

// The model of that name with one input and one output port.
TControlSurfaceInfo Model(const std::u16string& name)
{
    for (TControlSurfaceInfo info : GetControlSurfacesForCodec(FaultyCodec()))
        if (GetRecordText(info.fModel) == name)
        {
            info.fInPortCount = info.fOutPortCount = 1;
            info.fOutPortOptional[1] = 0;
            return info;
        }
    ADD_FAILURE() << "no such model";
    return {};
}

class CListener final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput* input) override { fValues.push_back(input->fValue1); }
    std::vector<i64> fValues;
};

void Plug(const char* cable, bool plugged)
{
    ASSERT_TRUE(NSTonewell::SetLoopbackCablePlugged(GetTonewell(), cable, plugged));
}

class FaultySurfaceTest : public testing::Test
{
protected:
    u32 Start(const std::u16string& model, const char16_t* in = u"Loopback A", const char16_t* out = u"Loopback B")
    {
        return fHub.CreateActiveControlSurface(FaultyCodec(), Model(model), u"Name", {InPort(in)}, {OutPort(out)});
    }

    // One frame; a surface's failure leaves the hub after the others had theirs, and the frame clock drops it.
    void Frame()
    {
        try
        {
            fHub.DriveOutput(30);
        }
        catch (const std::exception&)
        {
        }
    }

    void SendFader(const char16_t* cable, u8 value)
    {
        NSMIDIHub::GetMIDIHub().GetSender(OutPort(cable))->Send(nullptr, {0xB0, 0x00, value});
    }

    // The log's lines since the last call, each once with its count.
    std::map<std::u16string, int> LogLines()
    {
        std::map<std::u16string, int> lines;
        const TText16 text = fLog.Text();
        for (std::size_t start = 0, end; (end = text.find(u'\n', start)) != TText16::npos; start = end + 1)
            ++lines[text.substr(start, end - start)];
        return lines;
    }

    CFakeVistal fVistal;
    CVistalInstallation fInstallation{fVistal};
    CLogCapture fLog;
    CKinvarHUB fHub;
};

// Each faulty model beside a healthy surface on the same ports: the faulty one
// says each kind of failure once, however often it fails, and the healthy one
// gets all its input and all its frames.
TEST_F(FaultySurfaceTest, EachFaultIsSaidOnceAndTheOtherSurfaceRunsOn)
{
    const std::pair<const char16_t*, std::vector<std::u16string>> cases[] = {
        {u"Bad Status",
         {u"Brassfold Tests Bad Status: MIDI messages are lost, since the codec fails to handle them: the status "
          u"23002, without a word",
          u"Brassfold Tests Bad Status: output frames are lost: the status 23004, without a word "
          u"(Illegal call sequence)"}},
        {u"Thrower",
         {u"Brassfold Tests Thrower: MIDI messages are lost, since the codec fails to handle them: thrown by the codec",
          u"Brassfold Tests Thrower: output frames are lost: thrown by the codec"}},
        {u"Out Of Range",
         {u"Brassfold Tests Out Of Range: inputs of the codec are dropped: item 0: 500 is outside 0 to 127",
          u"Brassfold Tests Out Of Range: inputs of the codec are dropped: item 9 does not exist; the surface has 4 "
          u"items"}},
        {u"Sleeper",
         {u"Brassfold Tests Sleeper: the codec is slow: handling a MIDI message took over 100 ms, and what comes "
          u"after it waits."}},
        {u"Bad Records",
         {u"Brassfold Tests Bad Records: the codec describes item 1 wrongly: an unknown input kind 99",
          u"Brassfold Tests Bad Records: the codec describes item 3 wrongly: a range from 2 to 0",
          u"Brassfold Tests Bad Records: output frames are lost: an empty MIDI message was handed over"}},
    };
    for (const auto& [model, expected] : cases)
    {
        const u32 faulty = Start(model);
        const u32 healthy = Start(u"State Box");
        CListener listener;
        fHub.AddInputListener(healthy, &listener);
        TItemState state{};
        state.fEnabled = 1;
        for (u8 value = 1; value <= 3; ++value)
        {
            SendFader(u"Loopback A", value);
            ASSERT_TRUE(WaitUntil([&] {
                fHub.DriveInput();
                return listener.fValues.size() == value;
            }));
            state.fValue = value;
            fHub.SetItemState(healthy, 0, state);
            fHub.SetItemState(faulty, 0, state);
            Frame();
        }
        EXPECT_EQ((std::vector<i64>{1, 2, 3}), listener.fValues) << NSTextPackage::UTF8FromText16(model);
        EXPECT_EQ(3u, fHub.GetOutputTraffic(healthy, 0, 1000).first) << NSTextPackage::UTF8FromText16(model);
        fHub.RemoveInputListener(healthy, &listener);
        fHub.DeleteActiveControlSurface(faulty);
        fHub.DeleteActiveControlSurface(healthy);
        std::map<std::u16string, int> lines;
        for (const std::u16string& line : expected)
            lines[line] = 1;
        EXPECT_EQ(lines, LogLines()) << NSTextPackage::UTF8FromText16(model);
    }
}

// Both cables go while a surface runs on them and come back: the log says so,
// what the panel set meanwhile goes out when the port is back, and input flows
// again, with no user action.
TEST_F(FaultySurfaceTest, ASurfaceGetsItsPortsBackAfterARePlug)
{
    const u32 id = Start(u"State Box");
    CListener listener;
    fHub.AddInputListener(id, &listener);
    CRecordingReceiver wire;
    NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback B"), &wire);
    Plug("Loopback A", false);
    Plug("Loopback B", false);
    ASSERT_TRUE(WaitUntil([&] {
        fHub.DriveOutput(30);
        return !LogLines().empty();
    }));
    TItemState state{};
    state.fEnabled = 1;
    state.fValue = 77;
    fHub.SetItemState(id, 0, state);
    fHub.DriveOutput(30);
    Plug("Loopback A", true);
    Plug("Loopback B", true);
    std::map<std::u16string, int> back;
    ASSERT_TRUE(WaitUntil([&] {
        fHub.DriveOutput(30);
        back = LogLines();
        return !back.empty();
    }));
    EXPECT_EQ((std::map<std::u16string, int>{{u"MIDI in port \"Loopback A\" is back.", 1},
                                             {u"MIDI in port \"Loopback B\" is back.", 1},
                                             {u"MIDI out port \"Loopback B\" is back.", 1}}),
              back);
    ASSERT_TRUE(wire.WaitForCount(1));
    EXPECT_EQ((TBinary{0xB0, 0x00, 77}), wire.Messages().back());
    SendFader(u"Loopback A", 5);
    ASSERT_TRUE(WaitUntil([&] {
        fHub.DriveInput();
        return !listener.fValues.empty();
    }));
    fHub.RemoveInputListener(id, &listener);
    fHub.DeleteActiveControlSurface(id);
}

// A codec that takes 300 ms for a message holds up its own port alone, and
// ending it while it is at it holds up no other port either.
TEST_F(FaultySurfaceTest, ASlowCodecHoldsUpNoOtherPort)
{
    const u32 slow = Start(u"Sleeper", u"Loopback A", u"Loopback A");
    const u32 quick = Start(u"State Box", u"Loopback B", u"Loopback B");
    SendFader(u"Loopback A", 1);
    SendFader(u"Loopback A", 2);
    std::this_thread::sleep_for(50ms);
    const auto sent = std::chrono::steady_clock::now();
    SendFader(u"Loopback B", 3);
    ASSERT_TRUE(WaitUntil([&] { return fHub.GetQueuedInputCount() > 0; }));
    EXPECT_LT(std::chrono::steady_clock::now() - sent, 200ms);
    std::thread other([port = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback B"))] {
        port->Send(nullptr, {0xB0, 0x00, 4});
    });
    fHub.DeleteActiveControlSurface(slow);
    other.join();
    EXPECT_TRUE(WaitUntil([&] { return fHub.GetQueuedInputCount() >= 2; }));
    fHub.DeleteActiveControlSurface(quick);
    fHub.DriveInput();
}
} // namespace
