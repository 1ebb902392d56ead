// A running "State Box" surface of the test module over the loopback ports.

#include "host/ActiveControlSurface.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
// Keeps the sizes of what reached the codec (the module reports them).
class CRecordingHandler final : public IControlSurfaceInputHandler
{
public:
    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput* input) override
    {
        fSizes.push_back(input->fValue2);
        return ::kCodecOK;
    }
    std::vector<i64> fSizes;
};

class ActiveControlSurfaceTest : public testing::Test
{
protected:
    std::unique_ptr<CActiveControlSurface> Start(const TControlSurfaceInfo& info, const std::vector<CMIDIPortSpec>& in,
                                                 const std::vector<CMIDIPortSpec>& out)
    {
        return std::make_unique<CActiveControlSurface>(StatesCodec(), in, out, &fHandler, info);
    }

    CRecordingHandler fHandler;
    CLogCapture fLog;
    NSMIDIHub::CMIDIHub& fPorts = NSMIDIHub::GetMIDIHub();
    const std::size_t fOpenIn = fPorts.GetOpenInPortCount();
    const std::size_t fOpenOut = fPorts.GetOpenOutPortCount();
};

// A refusal leaves no surface and no port open, with its line in the log.
TEST_F(ActiveControlSurfaceTest, RefusalsCloseWhatWasOpenedAndSayWhy)
{
    struct TRefusal
    {
        TControlSurfaceInfo fInfo;
        std::vector<CMIDIPortSpec> fIn;
        std::vector<CMIDIPortSpec> fOut;
        std::u16string fLog;
    };
    const std::u16string required = u"All non-optional MIDI ports need to be chosen!\n";
    TControlSurfaceInfo otherModel = StateBox({false}, {false});
    otherModel.fModel[0] = u'X';
    const TRefusal refusals[] = {
        {StateBox({false}, {}), {{}}, {}, required},
        {StateBox({false}, {false}), {InPort(u"Loopback A")}, {{}}, required},
        {StateBox({false}, {}), {MissingPort(true)}, {},
         u"Could not open MIDI in port! Check if another program is already using it!\n"},
        {StateBox({false}, {false}), {InPort(u"Loopback A")}, {MissingPort(false)},
         u"Could not open MIDI out port! Check if another program is already using it!\n"},
        {otherModel, {InPort(u"Loopback A")}, {OutPort(u"Loopback B")}, u""},
    };
    for (const TRefusal& refusal : refusals)
    {
        EXPECT_ANY_THROW(Start(refusal.fInfo, refusal.fIn, refusal.fOut));
        EXPECT_EQ(refusal.fLog, fLog.Text());
        EXPECT_EQ(fOpenIn, fPorts.GetOpenInPortCount());
        EXPECT_EQ(fOpenOut, fPorts.GetOpenOutPortCount());
    }
    EXPECT_THROW(Start(otherModel, {InPort(u"Loopback A")}, {OutPort(u"Loopback B")}), XBadFormat);
}

// Clock-like bytes and messages over 1024 bytes never reach the codec; its failure is thrown, and logged once.
TEST_F(ActiveControlSurfaceTest, ReceiveFiltersWhatACodecMustNotSee)
{
    const CMIDIPortSpec port = InPort(u"Loopback A");
    auto surface = Start(StateBox({false}, {}), {port}, {});
    surface->DriveOutput(104); // no output port: nothing to do
    TBinary sysex(1024, 0x01);
    sysex.front() = 0xF0;
    sysex.back() = 0xF7;
    TBinary tooLong = sysex;
    tooLong.push_back(0xF7);
    for (const TBinary& message : {TBinary{0xF8}, TBinary{0xFE}, TBinary{0xF1, 0x01}, TBinary{0xF2, 0x01, 0x02},
                                   TBinary{0xFA}, sysex, tooLong, TBinary{0x90, 0x3C, 0x7F}})
        surface->Receive(port, nullptr, message);
    EXPECT_EQ((std::vector<i64>{1, 1024, 3}), fHandler.fSizes);

    for (int twice = 0; twice < 2; ++twice)
        EXPECT_THROW(surface->Receive(port, nullptr, {0xF0, 0x7D, 0x7F, 0xF7}), XBadFormat);
    EXPECT_EQ(u"Brassfold Tests State Box: MIDI messages are lost, since the codec fails to handle them: "
              u"Unknown message (Bad format)\n",
              fLog.Text());
}

// An unassigned optional input port ahead of the sending one is met in the walk.
TEST_F(ActiveControlSurfaceTest, InputBehindAnUnassignedPortIsAFailedAssertion)
{
    const CMIDIPortSpec port = InPort(u"Loopback A");
    auto surface = Start(StateBox({true, false}, {}), {{}, port}, {});
    NSTesting::CExpectAssertions expect;
    EXPECT_THROW(surface->Receive(port, nullptr, {0x90, 0x3C, 0x7F}), XProgrammingError);
    EXPECT_EQ(1u, expect.Count());
    EXPECT_TRUE(fHandler.fSizes.empty());
}
} // namespace
