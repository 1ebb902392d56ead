// The MIDI test window's reading of typed hex and its list of what came in,
// without the window.

#include "gui/MIDITestModel.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using NSMIDIHub::TBinary;

namespace
{
NSKinvarCodec::TMIDIEvent Event(const TBinary& bytes, u64 time = 0)
{
    NSKinvarCodec::TMIDIEvent event{time, static_cast<u32>(bytes.size()), {}};
    std::copy(bytes.begin(), bytes.end(), event.fData);
    return event;
}
} // namespace

TEST(MIDITestModelTest, ReadsTwoCharactersAByteAndSkipsOneSeparator)
{
    const std::pair<std::string, TBinary> cases[] = {
        {"90 3c 7f", {0x90, 0x3C, 0x7F}},
        {"90 3c 7f ", {0x90, 0x3C, 0x7F}},
        {"   90 3C,7f", {0x90, 0x3C, 0x7F}},
        {"90  3c", {0x90, 0x03}}, // the second blank shifts the reading
        {"9 3c", {0x09}},         // so does a single digit
        {"zz 7f", {0x00, 0x7F}},  // what does not read gives 0
        {"9", {}},
        {"   ", {}},
    };
    for (const auto& [text, bytes] : cases)
        EXPECT_EQ(bytes, ReadHexMessage(text)) << '"' << text << '"';
    std::string text4000;
    while (text4000.size() < 4000)
        text4000 += "7f ";
    EXPECT_EQ(TBinary(CMIDITestModel::kMaxSendBytes, 0x7F), ReadHexMessage(text4000));
}

TEST(MIDITestModelTest, KeepsThirtyLinesAndSaysWhenOneWasAdded)
{
    CReceivedMessages received;
    EXPECT_FALSE(received.Add({}, 0));
    EXPECT_TRUE(received.Add({Event({0x90, 0x3C, 0x7F})}, 0));
    EXPECT_EQ("Msg: 90 3c 7f \n", received.GetShownText());
    for (u8 i = 1; i <= 30; ++i)
        received.Add({Event({0xB0, 0x07, i})}, 0);
    const std::string shown = received.GetShownText();
    EXPECT_EQ(30 * std::string("Msg: b0 07 01 \n").size(), shown.size());
    EXPECT_EQ(0u, shown.find("Msg: b0 07 01 \n")) << "the 31st line drops the first";

    // Clock and active sensing count as nothing until they are asked for.
    EXPECT_FALSE(received.Add({Event({0xF8, 0, 0}), Event({0xFE, 0, 0})}, 0));
    received.SetHideClock(false);
    EXPECT_TRUE(received.Add({Event({0xF8, 0, 0})}, 0));

    // A long message is cut, in the shown text only.
    received.Add({Event(TBinary(400, 0x11))}, 0);
    EXPECT_EQ(CReceivedMessages::kShownTextLimit, received.GetShownText().size());
    EXPECT_EQ('\n', received.GetShownLines().back());
}

TEST(MIDITestModelTest, StampsLinesFromThePortsOpeningAndSavesTextAndSysex)
{
    CReceivedMessages received;
    received.Add({Event({0xF0, 0x7E, 0xF7}, 5'000'000), Event({0x90, 0x3C, 0x7F}, 6'234'999)},
                 5'000'000);
    received.SetShowTimeStamps(true);
    EXPECT_EQ("       0 ms  Msg: f0 7e f7 \n    1234 ms  Msg: 90 3c 7f \n",
              received.GetShownText());

    const std::filesystem::path file = std::filesystem::temp_directory_path() / "bf-received";
    for (const bool sysex : {true, false})
    {
        sysex ? received.SaveSysex(file) : received.SaveText(file);
        std::ostringstream saved;
        saved << std::ifstream(file, std::ios::binary).rdbuf();
        EXPECT_EQ(sysex ? std::string("\xF0\x7E\xF7") : received.GetShownLines(), saved.str());
    }
    std::filesystem::remove(file);
    EXPECT_THROW(received.SaveText(file / "missing-folder" / "x.txt"), std::exception);
}
