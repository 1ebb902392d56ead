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
    NSKinvarCodec::TMIDIEvent event{};
    event.fTime = time;
    event.fSize = static_cast<u32>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), event.fData);
    return event;
}

std::string ReadFile(const std::filesystem::path& file)
{
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return bytes.str();
}
} // namespace

TEST(MIDITestModelTest, ReadsTwoCharactersAByteAndSkipsOneSeparator)
{
    std::string long4000;
    for (int i = 0; long4000.size() < 4000; ++i)
        long4000 += i % 2 == 0 ? "01 " : "02-";
    const struct
    {
        std::string fText;
        TBinary fBytes;
    } cases[] = {
        {"90 3c 7f", {0x90, 0x3C, 0x7F}},
        {"90 3c 7f ", {0x90, 0x3C, 0x7F}},
        {"   90 3C,7f", {0x90, 0x3C, 0x7F}},
        {"90  3c", {0x90, 0x03}},  // the second blank shifts the reading
        {"9 3c", {0x09}},          // so does a single digit
        {"zz 7f", {0x00, 0x7F}},   // what does not read gives 0
        {"9", {}},
        {"   ", {}},
        {"", {}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.fBytes, ReadHexMessage(test.fText)) << '"' << test.fText << '"';
    const TBinary stored = ReadHexMessage(long4000);
    ASSERT_EQ(CMIDITestModel::kMaxSendBytes, stored.size());
    EXPECT_EQ(0x02, stored.back());
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
    EXPECT_TRUE(received.HasSysex());

    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    received.SaveSysex(folder / "brassfold-received.syx");
    EXPECT_EQ(std::string("\xF0\x7E\xF7"), ReadFile(folder / "brassfold-received.syx"));
    received.SaveText(folder / "brassfold-received.txt");
    EXPECT_EQ(received.GetShownLines(), ReadFile(folder / "brassfold-received.txt"));
    std::filesystem::remove(folder / "brassfold-received.syx");
    std::filesystem::remove(folder / "brassfold-received.txt");
    EXPECT_THROW(received.SaveText(folder / "missing-folder" / "x.txt"), std::exception);
}
