#include "generic/GenericMidiControlSurface.h"

#include "GenericTestSupport.h"
#include "generic/GenericMidiCodecConfigReader.h"

#include "AssertionRecorder.h"
#include "codec/CodecSupport.h"
#include "codec/TableReader.h"

#include <gtest/gtest.h>

#include <memory>

using namespace NSGenericMidiCodec;
using namespace NSGenericTesting;
using namespace NSKinvarCodec;

namespace
{
using NSKinvarCodec::kCodecOK;

CGenericMidiCodecConfig ReadConfig(const std::string& text)
{
    return CGenericMidiCodecConfigReader().Read(DecodeTableText(text), u"t.midicodec");
}

struct TSurfaceDeleter
{
    void operator()(CGenericMidiControlSurface* surface) const { surface->IControlSurface_Destroy(); }
};
using TSurface = std::unique_ptr<CGenericMidiControlSurface, TSurfaceDeleter>;

TSurface MakeSurface(const std::vector<std::string>& middle, const std::vector<std::string>& items,
                     const std::vector<std::string>& rules)
{
    return TSurface(new CGenericMidiControlSurface(ReadConfig(DefinitionText("Acme", "Box", middle, items, rules))));
}

class GenericSurfaceInput : public testing::Test
{
protected:
    u32 Send(const TBytes& bytes, u32 inPort = 0, u64 time = 0)
    {
        const TMIDIEvent event = MakeEvent(bytes, time);
        CCodecTextGetter messages;
        return fSurface->IControlSurface_HandleMIDIEvent(&event, inPort, messages);
    }

    void Connect() { ASSERT_EQ(fSurface->IControlSurface_SetInputHandler(&fHandler), kCodecOK); }

    TSurface fSurface;
    CRecordingInputHandler fHandler;
};

// Without a handler a message is dropped unbuffered and can't combine with a
// later one; with one, the second message completes the rule.
TEST_F(GenericSurfaceInput, CompletesARuleWithTheSecondMessageOnlyWhileHandled)
{
    for (const bool handled : {false, true})
    {
        fSurface = MakeSurface({}, {"Deep\tvalue\t0\t127"}, {"B0 01 02 B0 03 xx\tDeep\tx\t\t\t"});
        if (handled)
            Connect();
        EXPECT_EQ(Send({0xB0, 0x01, 0x02}), kCodecOK);
        EXPECT_EQ(fSurface->GetBufferedCount(0), handled ? 1u : 0u);
        Connect();
        EXPECT_EQ(Send({0xB0, 0x03, 0x04}), kCodecOK);
        EXPECT_EQ(fHandler.fInputs.size(), handled ? 1u : 0u);
    }
    ASSERT_EQ(fHandler.fInputs.size(), 1u);
    EXPECT_EQ(fHandler.fInputs[0].fValue1, 4);
    EXPECT_EQ(fSurface->GetBufferedCount(0), 0u);
}

TEST_F(GenericSurfaceInput, KeepsAtMostTheLatestTwoWhenTheNextMessageComes)
{
    fSurface = MakeSurface({}, {"Four\tvalue\t0\t127", "Late\tvalue\t0\t127"},
                           {"C0 01 C0 02 C0 03 C0 xx\tFour\tx\t\t\t", "C0 02 C0 03 C0 xx\tLate\tx\t\t\t"});
    Connect();
    for (const TBytes& message : {TBytes{0xC0, 0x01}, TBytes{0xC0, 0x02}, TBytes{0xC0, 0x03}})
        Send(message);
    EXPECT_EQ(fSurface->GetBufferedCount(0), 3u) << "three that matched nothing all wait";
    ASSERT_EQ(fHandler.fInputs.size(), 0u) << "a rule never spans more than three messages";
    Send({0xC0, 0x04});
    ASSERT_EQ(fHandler.fInputs.size(), 1u);
    EXPECT_EQ(fHandler.fInputs[0].fItemIndex, 1u);
    EXPECT_EQ(fHandler.fInputs[0].fValue1, 4);
}

TEST_F(GenericSurfaceInput, KeepsEachPortsMessagesApart)
{
    fSurface = MakeSurface({"MIDI Input Ports\t2"}, {"Deep\tvalue\t0\t127"}, {"B0 01 02 B0 03 xx\tDeep\tx\t\t\t"});
    Connect();
    Send({0xB0, 0x01, 0x02}, 0);
    Send({0xB0, 0x03, 0x09}, 1);
    EXPECT_TRUE(fHandler.fInputs.empty());
    Send({0xB0, 0x03, 0x05}, 0);
    ASSERT_EQ(fHandler.fInputs.size(), 1u);
    EXPECT_EQ(fHandler.fInputs[0].fValue1, 5);
}

TEST_F(GenericSurfaceInput, SettlesOverlapByItemOrderThenRuleOrder)
{
    fSurface = MakeSurface({}, {"Clock\tbutton\t0\t1", "First\tvalue\t0\t127", "Second\tvalue\t0\t127"},
                           {"90 xx yy\tSecond\ty\t\t\t", "90 10 xx\tFirst\tx\t\t\t", "F8\tClock\t1\t\t\t",
                            "90 xx ??\tFirst\t0\t\t\t"});
    Connect();
    for (const TBytes& message : {TBytes{0xF8, 0x00, 0x00}, TBytes{0x90, 0x10, 0x22}, TBytes{0x90, 0x11, 0x22}})
        Send(message);
    ASSERT_EQ(fHandler.fInputs.size(), 3u);
    EXPECT_EQ(fHandler.fInputs[0].fItemIndex, 0u) << "a one-byte rule matches a longer message";
    EXPECT_EQ(fHandler.fInputs[1].fItemIndex, 1u);
    EXPECT_EQ(fHandler.fInputs[1].fValue1, 0x22);
    EXPECT_EQ(fHandler.fInputs[2].fItemIndex, 1u) << "the earlier item wins over an earlier row";
    EXPECT_EQ(fHandler.fInputs[2].fValue1, 0);
}

TEST_F(GenericSurfaceInput, FindsTheFirstMatchAmongManyRulesOfOneStatus)
{
    std::vector<std::string> items, rules;
    for (int i = 0; i <= 40; ++i)
    {
        char row[64];
        std::snprintf(row, sizeof row, i < 40 ? "I%d\tvalue\t0\t127" : "Catch\tvalue\t0\t127", i);
        items.emplace_back(row);
        std::snprintf(row, sizeof row, i < 40 ? "B0 %02X xx\tI%d\tx\t\t\t" : "B? ?? xx\tCatch\tx\t\t\t", i, i);
        rules.emplace_back(row);
    }
    fSurface = MakeSurface({}, items, rules);
    Connect();
    for (const TBytes& message : {TBytes{0xB0, 0x27, 0x11}, TBytes{0xB0, 0x28, 0x12}, TBytes{0xB1, 0x01, 0x13}})
        Send(message);
    ASSERT_EQ(fHandler.fInputs.size(), 3u);
    EXPECT_EQ(fHandler.fInputs[0].fItemIndex, 39u);
    EXPECT_EQ(fHandler.fInputs[1].fItemIndex, 40u);
    EXPECT_EQ(fHandler.fInputs[2].fItemIndex, 40u);
}

TEST(GenericSurface, DescribesItsModelAndItems)
{
    TSurface surface = MakeSurface({"MIDI Input Ports\t3", "Setup Info Text\tPlug in", "Setup\tB0 00 00"},
                                   {"Keys\tkeyboard\t0\t127", "Wheel\tdelta\t-1\t1"}, {});
    TControlSurfaceInfo info;
    ASSERT_EQ(surface->IControlSurface_GetInfo(&info), kCodecOK);
    EXPECT_EQ(GetRecordText(info.fManufacturer), u"Acme");
    EXPECT_EQ(info.fInPortCount, 3u);
    EXPECT_EQ(GetRecordText(info.fInPortNames[0]), u"MIDI Input 1");
    EXPECT_EQ(GetRecordText(info.fInPortNames[2]), u"MIDI Input 3");
    EXPECT_EQ(info.fInPortOptional[0], 0u);
    EXPECT_EQ(info.fInPortOptional[1], 1u);
    EXPECT_EQ(info.fOutPortCount, 1u);
    EXPECT_EQ(info.fOutPortOptional[0], 1u);
    EXPECT_EQ(GetRecordText(info.fOutPortNames[0]), u"MIDI Output (optional)");
    EXPECT_EQ(GetRecordText(info.fSetupInfoText), u"Plug in");
    EXPECT_EQ(info.fHasKeyboard, 1u);

    u32 count = 0;
    ASSERT_EQ(surface->IControlSurface_GetItemCount(&count), kCodecOK);
    EXPECT_EQ(count, 2u);
    TItemInfo item;
    ASSERT_EQ(surface->IControlSurface_GetItemInfo(1, &item), kCodecOK);
    EXPECT_EQ(GetRecordText(item.fName), u"Wheel");
    EXPECT_EQ(item.fInputKind, kInputDelta);
    EXPECT_EQ(item.fOutputKind, kOutputNone);
    EXPECT_EQ(item.fMin, -1);
    EXPECT_EQ(item.fStateCount, 0u);
    EXPECT_EQ(surface->IControlSurface_GetItemInfo(2, &item), kCodecInvalidArgument);
    char16 name[65];
    EXPECT_EQ(surface->IControlSurface_GetItemStateName(0, 0, name), kCodecProgrammingError);

    char unique[kUniqueNameBufferSize];
    ASSERT_EQ(surface->IControlSurface_GetUniqueName(unique), kCodecOK);
    EXPECT_STREQ(unique, "GenericMIDICodec/Acme/Box");
}

TEST(GenericSurface, NeedsAnOutputPortOnlyForWhatItSends)
{
    TControlSurfaceInfo info;
    ASSERT_EQ(MakeSurface({}, {}, {})->IControlSurface_GetInfo(&info), kCodecOK);
    EXPECT_EQ(info.fOutPortCount, 0u);
    EXPECT_EQ(GetRecordText(info.fInPortNames[0]), u"MIDI Input");
    ASSERT_EQ(MakeSurface({"Identity Request\tF0 7E 7F 06 01 F7", "Identity Response\tF0 7E"}, {}, {})
                  ->IControlSurface_GetInfo(&info),
              kCodecOK);
    EXPECT_EQ(info.fOutPortCount, 1u);

    // Sixteen input ports pass the reader but not the record.
    NSTesting::CExpectAssertions expect;
    EXPECT_EQ(MakeSurface({"MIDI Input Ports\t16"}, {}, {})->IControlSurface_GetInfo(&info), kCodecOK);
    EXPECT_EQ(expect.Count(), 1u);
    EXPECT_EQ(GetRecordText(info.fInPortNames[15]), u"MIDI Input 16");
}

TEST(GenericSurface, SendsTheSetupRowsAtStartAndNothingLater)
{
    CCodecTextGetter messages;
    CRecordingEventGetter quiet;
    TSurface plain = MakeSurface({}, {}, {});
    EXPECT_EQ(plain->IControlSurface_GetStartupEvents(quiet, 0, messages), kCodecOK);
    EXPECT_TRUE(quiet.fCalls.empty()) << "no Setup rows: the getter is never called";

    TSurface surface = MakeSurface({"Setup\tF0 00 01 F7", "Setup\tb0 7f 00"}, {}, {});
    CRecordingEventGetter startup;
    EXPECT_EQ(surface->IControlSurface_GetStartupEvents(startup, 0, messages), kCodecOK);
    ASSERT_EQ(startup.fCalls.size(), 1u);
    EXPECT_EQ(startup.fCalls[0], (std::vector<TBytes>{{0xF0, 0x00, 0x01, 0xF7}, {0xB0, 0x7F, 0x00}}));

    CRecordingEventGetter frame;
    TItemState state{};
    EXPECT_EQ(surface->IControlSurface_SetItemStates(1, &state, messages), kCodecOK);
    EXPECT_EQ(surface->IControlSurface_GetOutputEvents(100, 0, frame, messages), kCodecOK);
    EXPECT_TRUE(frame.fCalls.empty());

    CRecordingEventGetter shutdown;
    EXPECT_EQ(surface->IControlSurface_GetShutdownEvents(shutdown, 0, messages), kCodecOK);
    ASSERT_EQ(shutdown.fCalls.size(), 1u);
    EXPECT_TRUE(shutdown.fCalls[0].empty());
}

} // namespace
