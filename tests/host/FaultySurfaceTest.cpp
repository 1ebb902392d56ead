// Running surfaces that fail, ports that vanish and come back, and ports that don't wait for each other: on the
// loopback cables, with the process's port hub and the faulty models of the test module beside a "State Box".

#include "host/KinvarHUB.h"

#include "HostTestSupport.h"
#include "host/CodecInstance.h"
#include "midi/TonewellLibrary.h"
#include "midi/TonewellSupport.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class CListener final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput* input) override { fValues.push_back(input->fValue1); }
    std::vector<i64> fValues;
};

class FaultySurfaceTest : public testing::Test
{
protected:
    u32 Start(const std::u16string& model, const char16_t* in = u"Loopback A", const char16_t* out = u"Loopback B")
    {
        static const auto module = std::make_shared<NSKinvar::CCodecInstance>(TestCodec("FAULTY"));
        for (TControlSurfaceInfo info : GetControlSurfacesForCodec(module->GetCodec()))
            if (GetRecordText(info.fModel) == model)
            {
                info.fOutPortCount = 1;
                return fHub.CreateActiveControlSurface(module->GetCodec(), info, u"Name", {InPort(in)}, {OutPort(out)});
            }
        throw std::logic_error("no such model");
    }

    // A surface's failure leaves the hub after the others had their frames, and the frame clock drops it.
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

    void Send(const char16_t* cable, u8 value)
    {
        NSMIDIHub::GetMIDIHub().GetSender(OutPort(cable))->Send(nullptr, {0xB0, 0x00, value});
    }

    // The log's lines since the last call.
    std::multiset<std::u16string> LogLines()
    {
        std::multiset<std::u16string> lines;
        const TText16 text = fLog.Text();
        for (std::size_t start = 0, end; (end = text.find(u'\n', start)) != TText16::npos; start = end + 1)
            lines.insert(text.substr(start, end - start));
        return lines;
    }

    CFakeVistal fVistal;
    CVistalInstallation fInstallation{fVistal};
    CLogCapture fLog;
    CKinvarHUB fHub;
};

// Each faulty model beside a healthy surface: the faulty one says each kind of failure once, however often it
// fails, and the healthy one gets all its input, without waiting for a slow codec, and all its frames.
TEST_F(FaultySurfaceTest, EachFaultIsSaidOnceAndTheOtherSurfaceRunsOn)
{
    const std::pair<const char16_t*, std::multiset<std::u16string>> cases[] = {
        {u"Bad Status",
         {u"Brassfold Tests Bad Status: MIDI messages are lost, since the codec fails to handle them: the status "
          u"23002, without a word",
          u"Brassfold Tests Bad Status: output frames are lost: the status 23004, without a word (Illegal call "
          u"sequence)"}},
        {u"Thrower",
         {u"Brassfold Tests Thrower: MIDI messages are lost, since the codec fails to handle them: thrown by the codec",
          u"Brassfold Tests Thrower: output frames are lost: thrown by the codec"}},
        {u"Out Of Range",
         {u"Brassfold Tests Out Of Range: inputs of the codec are dropped: item 0: 500 is outside 0 to 127",
          u"Brassfold Tests Out Of Range: inputs of the codec are dropped: item 9 does not exist; the surface has 4 "
          u"items"}},
        {u"Sleeper",
         {u"Brassfold Tests Sleeper: the codec is slow: handling a MIDI message took over 100 ms, and what comes "
          u"after it waits.",
          u"Brassfold Tests Sleeper: the codec is slow: an output frame took over 100 ms, and what comes after it "
          u"waits."}},
        {u"Bad Records",
         {u"Brassfold Tests Bad Records: the codec describes item 1 wrongly: an unknown input kind 99",
          u"Brassfold Tests Bad Records: the codec describes item 3 wrongly: a range from 2 to 0",
          u"Brassfold Tests Bad Records: output frames are lost: an empty MIDI message was handed over"}},
    };
    for (const auto& [model, expected] : cases)
    {
        const u32 faulty = Start(model, u"Loopback A", u"Loopback A");
        const u32 healthy = Start(u"State Box", u"Loopback B", u"Loopback A");
        CListener listener;
        fHub.AddInputListener(healthy, &listener);
        TItemState state{};
        state.fEnabled = 1;
        for (u8 value = 1; value <= 3; ++value)
        {
            Send(u"Loopback A", value);
            Send(u"Loopback B", value);
            const auto sent = std::chrono::steady_clock::now();
            ASSERT_TRUE(WaitUntil([&] {
                fHub.DriveInput();
                return listener.fValues.size() == value;
            }));
            EXPECT_LT(std::chrono::steady_clock::now() - sent, 200ms);
            state.fValue = value;
            fHub.SetItemState(faulty, 0, state);
            Frame();
        }
        EXPECT_EQ((std::vector<i64>{1, 2, 3}), listener.fValues);
        EXPECT_EQ(3u, fHub.GetOutputTraffic(healthy, 0, 1000).first);
        fHub.RemoveInputListener(healthy, &listener);
        fHub.DeleteActiveControlSurface(faulty);
        fHub.DeleteActiveControlSurface(healthy);
        EXPECT_EQ(expected, LogLines());
    }
}

// Both cables go while a surface runs on them and come back: the log says so, sends fail at once and are counted,
// what the panel set meanwhile goes out when the port is back, and input flows again, with no user action.
TEST_F(FaultySurfaceTest, ASurfaceGetsItsPortsBackAfterARePlug)
{
    const u32 id = Start(u"State Box");
    CListener listener;
    fHub.AddInputListener(id, &listener);
    CRecordingReceiver wire;
    NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback B"), &wire);
    const auto sender = NSMIDIHub::GetMIDIHub().GetSender(OutPort(u"Loopback B"));
    for (const bool plugged : {false, true})
    {
        for (const char* cable : {"Loopback A", "Loopback B"})
            ASSERT_TRUE(NSTonewell::SetLoopbackCablePlugged(GetTonewell(), cable, plugged));
        std::multiset<std::u16string> lines;
        ASSERT_TRUE(WaitUntil([&] {
            Frame();
            return !(lines = LogLines()).empty();
        }));
        EXPECT_EQ(3u, lines.size());
        EXPECT_EQ(plugged ? 1u : 0u, lines.count(u"MIDI in port \"Loopback B\" is back."));
        EXPECT_EQ(plugged ? 1u : 0u, lines.count(u"MIDI out port \"Loopback B\" is back; 2 messages sent to it while "
                                                 u"it was away were lost."));
        for (int i = 0; i < 2 && !plugged; ++i)
            EXPECT_ANY_THROW(sender->Send(nullptr, {0xC0, 0x01}));
        TItemState state{};
        state.fEnabled = 1;
        state.fValue = 77;
        fHub.SetItemState(id, 0, state);
    }
    ASSERT_TRUE(wire.WaitForCount(1));
    EXPECT_EQ((TBinary{0xB0, 0x00, 77}), wire.Messages().back());
    Send(u"Loopback A", 5);
    EXPECT_TRUE(WaitUntil([&] {
        fHub.DriveInput();
        return !listener.fValues.empty();
    }));
    fHub.RemoveInputListener(id, &listener);
    fHub.DeleteActiveControlSurface(id);
}

} // namespace
