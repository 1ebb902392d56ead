#include "generic/GenericMidiControlSurface.h"

#include "GenericTestSupport.h"
#include "generic/GenericMidiCodecConfigReader.h"

#include "AssertionRecorder.h"
#include "codec/CodecSupport.h"
#include "codec/TableReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

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

using TInputs = std::vector<std::pair<u32, i64>>; // item, value1

// Sends the messages on their ports, setting a handler before message `connectAt`; answers the inputs it got.
TInputs Feed(const TSurface& surface, const std::vector<std::pair<u32, TBytes>>& messages, std::size_t connectAt = 0)
{
    CRecordingInputHandler handler;
    CCodecTextGetter texts;
    for (std::size_t m = 0; m < messages.size(); ++m)
    {
        if (m == connectAt)
        {
            EXPECT_EQ(surface->IControlSurface_SetInputHandler(&handler), kCodecOK);
        }
        const TMIDIEvent event = MakeEvent(messages[m].second);
        EXPECT_EQ(surface->IControlSurface_HandleMIDIEvent(&event, messages[m].first, texts), kCodecOK);
    }
    TInputs inputs;
    for (const TItemInput& input : handler.fInputs)
        inputs.emplace_back(input.fItemIndex, input.fValue1);
    return inputs;
}

// A rule may span up to three messages of one port, which come one by one; a message that completes nothing waits,
// but only while a handler is set, and a match starts the port's messages afresh.
TEST(GenericSurfaceInput, RulesSpanUpToThreeMessagesOfOnePort)
{
    struct TCase
    {
        std::vector<std::string> fPatterns; // one item each, whose value1 is x
        std::vector<std::pair<u32, TBytes>> fMessages; // port, bytes
        TInputs fInputs;
        std::size_t fConnectAt = 0; // the handler is set before this message
    };
    const TCase cases[] = {
        {{"B0 01 02 B0 03 xx"}, {{0, {0xB0, 0x01, 0x02}}, {0, {0xB0, 0x03, 0x04}}, {0, {0xB0, 0x03, 0x05}}}, {{0, 4}}},
        {{"B0 01 02 B0 03 xx"}, {{0, {0xB0, 0x01, 0x02}}, {0, {0xB0, 0x03, 0x04}}}, {}, 1},
        {{"B0 01 02 B0 03 xx"}, {{0, {0xB0, 0x01, 0x02}}, {1, {0xB0, 0x03, 0x09}}, {0, {0xB0, 0x03, 0x05}}}, {{0, 5}}},
        {{"C0 01 C0 02 C0 03 C0 xx", "C0 02 C0 03 C0 xx"},
         {{0, {0xC0, 0x01}}, {0, {0xC0, 0x02}}, {0, {0xC0, 0x03}}, {0, {0xC0, 0x04}}},
         {{1, 4}}},
    };
    for (const TCase& c : cases)
    {
        std::vector<std::string> items, rules;
        for (std::size_t i = 0; i < c.fPatterns.size(); ++i)
        {
            std::string item = "I";
            item += std::to_string(i);
            items.push_back(item + "\tvalue\t0\t127");
            rules.push_back(c.fPatterns[i] + "\t" + item + "\tx\t\t\t");
        }
        const TInputs inputs = Feed(MakeSurface({"MIDI Input Ports\t2"}, items, rules), c.fMessages, c.fConnectAt);
        EXPECT_EQ(inputs, c.fInputs) << c.fPatterns[0];
    }
}

// Where rules overlap, the earlier item wins, then the earlier row; a one-byte rule matches a longer message.
TEST(GenericSurfaceInput, SettlesOverlapByItemOrderThenRuleOrder)
{
    const TSurface surface =
        MakeSurface({}, {"Clock\tbutton\t0\t1", "First\tvalue\t0\t127", "Second\tvalue\t0\t127"},
                    {"90 xx yy\tSecond\ty\t\t\t", "90 10 xx\tFirst\tx\t\t\t", "F8\tClock\t1\t\t\t", "90 xx ??\tFirst\t0\t\t\t"});
    EXPECT_EQ(Feed(surface, {{0, {0xF8, 0x00, 0x00}}, {0, {0x90, 0x10, 0x22}}, {0, {0x90, 0x11, 0x22}}}),
              (TInputs{{0, 1}, {1, 0x22}, {1, 0}}));
}

// The rule index narrows by status; the first matching row still wins among many of one status.
TEST(GenericSurfaceInput, FindsTheFirstMatchAmongManyRulesOfOneStatus)
{
    std::vector<std::string> items, rules;
    for (int i = 0; i < 40; ++i)
    {
        char row[64];
        std::snprintf(row, sizeof row, "I%d\tvalue\t0\t127", i);
        items.emplace_back(row);
        std::snprintf(row, sizeof row, "B0 %02X xx\tI%d\tx\t\t\t", i, i);
        rules.emplace_back(row);
    }
    items.emplace_back("Catch\tvalue\t0\t127");
    rules.emplace_back("B? ?? xx\tCatch\tx\t\t\t");
    EXPECT_EQ(Feed(MakeSurface({}, items, rules), {{0, {0xB0, 0x27, 0x11}}, {0, {0xB0, 0x28, 0x12}}, {0, {0xB1, 0x01, 0x13}}}),
              (TInputs{{39, 0x11}, {40, 0x12}, {40, 0x13}}));
}

TEST(GenericSurface, DescribesItsModelAndItemsAndSendsItsSetupRows)
{
    TSurface surface =
        MakeSurface({"MIDI Input Ports\t3", "Setup Info Text\tPlug in", "Setup\tF0 00 01 F7", "Setup\tb0 7f 00"},
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

    // The setup rows go out at start, in their order, in one call.
    CCodecTextGetter messages;
    CRecordingEventGetter startup;
    EXPECT_EQ(surface->IControlSurface_GetStartupEvents(startup, 0, messages), kCodecOK);
    EXPECT_EQ(startup.fCalls, (std::vector<std::vector<TBytes>>{{{0xF0, 0x00, 0x01, 0xF7}, {0xB0, 0x7F, 0x00}}}));
    // Without setup rows or an identity request, a surface sends nothing and needs no output port.
    ASSERT_EQ(MakeSurface({}, {}, {})->IControlSurface_GetInfo(&info), kCodecOK);
    EXPECT_EQ(info.fOutPortCount, 0u);
    EXPECT_EQ(GetRecordText(info.fInPortNames[0]), u"MIDI Input");
}

} // namespace
