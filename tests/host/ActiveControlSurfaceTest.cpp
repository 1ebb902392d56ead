// A running surface over the loopback ports with a scripted codec: the order
// of start and end, the refusals with their log lines, the filters of input,
// the frames with their traffic record.

#include "host/ActiveControlSurface.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class CRecordingHandler final : public IControlSurfaceInputHandler
{
public:
    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput*) override
    {
        ++fCount;
        return ::kCodecOK;
    }
    std::atomic<int> fCount{0};
};

class ActiveControlSurfaceTest : public testing::Test
{
protected:
    std::unique_ptr<CActiveControlSurface> Start(const std::vector<CMIDIPortSpec>& inPorts,
                                                 const std::vector<CMIDIPortSpec>& outPorts)
    {
        return std::make_unique<CActiveControlSurface>(MakeScriptedCodec(fScript), inPorts, outPorts, &fHandler,
                                                       fScript->fInfo);
    }

    std::shared_ptr<TScript> fScript = std::make_shared<TScript>();
    CRecordingHandler fHandler;
    CLogCapture fLog;
    std::size_t fOpenInPorts = NSMIDIHub::GetMIDIHub().GetOpenInPortCount();
    std::size_t fOpenOutPorts = NSMIDIHub::GetMIDIHub().GetOpenOutPortCount();
};

// Ports open first, the surface is made, and the start messages go to the
// assigned output ports; at the end the handler is withdrawn, the end
// messages go, the ports close, and the surface is destroyed last.
TEST_F(ActiveControlSurfaceTest, StartAndEndRunInOrderOnAssignedPortsOnly)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {false}, {false, true});
    fScript->fStartupMessages = {{0xF0, 0x7D, 0x01, 0xF7}};
    CRecordingReceiver wire;
    {
        NSMIDIHub::CMIDIInPort watch(InPort(u"Loopback B"), &wire);
        auto surface = Start({InPort(u"Loopback A")}, {OutPort(u"Loopback B"), {}});
        EXPECT_EQ(u"Box", surface->GetName());
        EXPECT_EQ(2u, surface->GetItemCount());
        EXPECT_EQ(u"High", surface->GetItemStateName(0, 1));
        surface.reset();
        ASSERT_TRUE(wire.WaitForCount(2));
    }
    EXPECT_EQ((std::vector<std::string>{"CreateControlSurface", "SetInputHandler", "GetStartupEvents 0",
                                        "SetInputHandler null", "GetShutdownEvents 0", "Destroy"}),
              fScript->Calls());
    EXPECT_EQ((std::vector<TBinary>{{0xF0, 0x7D, 0x01, 0xF7}, {0xF0, 0x7D, 0x02, 0xF7}}), wire.Messages());
    EXPECT_EQ(fOpenInPorts + 1, fScript->fOpenInPortsAtDestroy); // the watch's port alone
    EXPECT_EQ(fOpenOutPorts, NSMIDIHub::GetMIDIHub().GetOpenOutPortCount());
}

TEST_F(ActiveControlSurfaceTest, AFrameHandsTheStatesToTheSurfaceAndRecordsEveryAssignedPort)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {}, {false, true});
    fScript->fFrameMessages = {{0xB0, 0x01, 0x02}, {0xF0, 0x01, 0x02, 0xF7}};
    auto surface = Start({}, {OutPort(u"Loopback B"), {}});
    TItemState state{};
    state.fEnabled = 1;
    state.fValue = 1500;
    surface->SetItemState(1, state);
    EXPECT_EQ(1500, surface->GetItemState(1).fValue);
    for (int frame = 0; frame < 3; ++frame)
        surface->DriveOutput(104);

    const auto calls = fScript->Calls();
    EXPECT_EQ(3, std::count(calls.begin(), calls.end(), "GetOutputEvents 0 104"));
    ASSERT_EQ(3u, fScript->fStates.size());
    EXPECT_EQ(1500, fScript->fStates[0].at(1).fValue);
    EXPECT_EQ(0u, fScript->fStates[0].at(0).fEnabled);
    EXPECT_EQ(std::make_pair(3u, 21u), surface->GetOutputTraffic(0, 1000));
    EXPECT_EQ(std::make_pair(0u, 0u), surface->GetOutputTraffic(1, 1000));
}

TEST_F(ActiveControlSurfaceTest, ASurfaceWithoutOutputPortsHasNoFrames)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {false}, {});
    auto surface = Start({InPort(u"Loopback A")}, {});
    surface->DriveOutput(104);
    surface.reset();
    EXPECT_EQ((std::vector<std::string>{"CreateControlSurface", "SetInputHandler", "SetInputHandler null",
                                        "Destroy"}),
              fScript->Calls());
}

struct TRefusal
{
    const char* fName;
    std::vector<bool> fInOptional;
    std::vector<bool> fOutOptional;
    std::vector<CMIDIPortSpec> fIn;
    std::vector<CMIDIPortSpec> fOut;
    u32 fCreateStatus;
    std::u16string fLog;
};

// A refusal leaves no surface and no port open, with its line in the log.
TEST_F(ActiveControlSurfaceTest, RefusalsCloseWhatWasOpenedAndSayWhy)
{
    const std::u16string required = u"All non-optional MIDI ports need to be chosen!\n";
    const TRefusal refusals[] = {
        {"in port left out", {false}, {}, {{}}, {}, ::kCodecOK, required},
        {"out port left out", {false}, {false}, {InPort(u"Loopback A")}, {{}}, ::kCodecOK, required},
        {"in port gone", {false}, {}, {MissingPort(true)}, {}, ::kCodecOK,
         u"Could not open MIDI in port! Check if another program is already using it!\n"},
        {"out port gone", {false}, {false}, {InPort(u"Loopback A")}, {MissingPort(false)}, ::kCodecOK,
         u"Could not open MIDI out port! Check if another program is already using it!\n"},
        {"codec refuses", {false}, {false}, {InPort(u"Loopback A")}, {OutPort(u"Loopback B")},
         NSKinvarCodec::kCodecBadFormat, u""},
    };
    for (const TRefusal& refusal : refusals)
    {
        SCOPED_TRACE(refusal.fName);
        fScript = std::make_shared<TScript>();
        fScript->fInfo = MakeInfo(u"Acme", u"Box", refusal.fInOptional, refusal.fOutOptional);
        fScript->fCreateStatus = refusal.fCreateStatus;
        EXPECT_ANY_THROW(Start(refusal.fIn, refusal.fOut));
        EXPECT_EQ(refusal.fLog, fLog.Text());
        EXPECT_EQ(fOpenInPorts, NSMIDIHub::GetMIDIHub().GetOpenInPortCount());
        EXPECT_EQ(fOpenOutPorts, NSMIDIHub::GetMIDIHub().GetOpenOutPortCount());
        const auto calls = fScript->Calls();
        EXPECT_EQ(refusal.fCreateStatus != ::kCodecOK, !calls.empty());
    }
    fScript = std::make_shared<TScript>();
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {}, {});
    fScript->fCreateStatus = NSKinvarCodec::kCodecBadFormat;
    EXPECT_THROW(Start({}, {}), XBadFormat);
}

// Clock-like status bytes and messages over 1024 bytes never reach the codec.
TEST_F(ActiveControlSurfaceTest, ReceiveFiltersWhatACodecMustNotSee)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {false}, {});
    const CMIDIPortSpec port = InPort(u"Loopback A");
    auto surface = Start({port}, {});
    TBinary sysex1024(1024, 0x01);
    sysex1024.front() = 0xF0;
    sysex1024.back() = 0xF7;
    TBinary sysex1025 = sysex1024;
    sysex1025.insert(sysex1025.begin() + 1, 0x02);
    const std::vector<TBinary> messages = {{0xF8}, {0xFE}, {0xF1, 0x01}, {0xF2, 0x01, 0x02},
                                           {0xFA}, sysex1024, sysex1025, {0x90, 0x3C, 0x7F}};
    const u64 time = 77;
    for (const TBinary& message : messages)
        surface->Receive(port, &time, message);
    const auto events = fScript->Events();
    ASSERT_EQ(3u, events.size());
    EXPECT_EQ(TBinary{0xFA}, events[0].second);
    EXPECT_EQ(sysex1024, events[1].second);
    EXPECT_EQ((TBinary{0x90, 0x3C, 0x7F}), events[2].second);
    EXPECT_EQ(0u, events[0].first);
}

TEST_F(ActiveControlSurfaceTest, ACodecFailingOnInputHasItsTextLoggedAndItsStatusThrown)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {false}, {});
    fScript->fInputStatus = NSKinvarCodec::kCodecBadFormat;
    fScript->fInputText = u"Unknown message";
    const CMIDIPortSpec port = InPort(u"Loopback A");
    auto surface = Start({port}, {});
    EXPECT_THROW(surface->Receive(port, nullptr, {0x90, 0x3C, 0x7F}), XBadFormat);
    EXPECT_EQ(u"Unknown message", fLog.Text());
}

// An unassigned optional input port ahead of the sending one is met in the
// walk, and the message goes nowhere.
TEST_F(ActiveControlSurfaceTest, InputBehindAnUnassignedPortIsAFailedAssertion)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {true, false}, {});
    const CMIDIPortSpec port = InPort(u"Loopback A");
    auto surface = Start({{}, port}, {});
    NSTesting::CExpectAssertions expect;
    EXPECT_THROW(surface->Receive(port, nullptr, {0x90, 0x3C, 0x7F}), XProgrammingError);
    EXPECT_EQ(1u, expect.Count());
    EXPECT_TRUE(fScript->Events().empty());
}

// A failure of the end messages ends that step alone.
TEST_F(ActiveControlSurfaceTest, AFailureAtTheEndStopsTheEndMessagesOnly)
{
    fScript->fInfo = MakeInfo(u"Acme", u"Box", {}, {false, false});
    fScript->fShutdownStatus = NSKinvarCodec::kCodecBadFormat;
    auto surface = Start({}, {OutPort(u"Loopback A"), OutPort(u"Loopback B")});
    surface.reset();
    const auto calls = fScript->Calls();
    EXPECT_EQ((std::vector<std::string>{"SetInputHandler null", "GetShutdownEvents 0", "Destroy"}),
              std::vector<std::string>(calls.end() - 3, calls.end()));
}
} // namespace
