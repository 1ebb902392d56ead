// brassfold-check map, run as a whole process.

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace NSToolTesting;

namespace
{
const std::string kKinvar = std::string(BRASSFOLD_SOURCE_DIR) + "/examples/Thistlemarrow Software/Kinvar/";
const std::string kCodecs = kKinvar + "Codecs/MIDI Codecs";

const std::string kHeader = "Thistlemarrow Kinvar Mapping File\n"
                            "File Format Version\t1.0.0\n"
                            "Control Surface Manufacturer\tQuillfeather Instruments\n"
                            "Control Surface Model\tQF-8 Fader Box\n"
                            "Map Version\t1.0.0\n";

class MapCommand : public testing::Test
{
protected:
    std::string Map(const std::string& body) { return fScratch.Write("test.kinvarmap", kHeader + body).string(); }
    CScratchFolder fScratch;
};

TEST_F(MapCommand, AcceptsTheBundledMapsAgainstTheirDefinitions)
{
    for (const auto& entry : std::filesystem::directory_iterator(kKinvar + "Maps"))
    {
        const TRunResult result = RunTool("brassfold-check", {"map", entry.path().string(), "--codecs", kCodecs});
        EXPECT_EQ(result.fExitCode, 0) << entry.path() << "\n" << result.fOut << result.fError;
        EXPECT_EQ(result.fOut, "Kinvar map is ok!\n");
    }
}

TEST_F(MapCommand, PrintsTheErrorTextAsTheLogGetsIt)
{
    const std::string qf8 = kCodecs + "/Quillfeather QF-8.midicodec";
    const std::string map = Map("Scope\tHost\tMixer\nMap\tFader 9\t\tA\nMap\tFader 1\tC3\tB\nBogus\n");
    const std::string badHeader =
        fScratch.Write("bad.kinvarmap", "Thistlemarrow Kinvar Mapping File\nFile Format Version\t9\n").string();
    const struct
    {
        std::vector<std::string> fArguments;
        int fExitCode;
        std::string fOut;
    } cases[] = {
        {{"map", map, "--midicodec", qf8}, 1,
         "Map File Errors:\n"
         "Line  7: Map entry with unknown control surface item.\n"
         "  no item is named \"Fader 9\"; did you mean \"Fader 1\"?\n"
         "Line  8: Map entry with note number for non-keyboard control surface item.\n"
         "  the key is \"C3\"; the item \"Fader 1\" is no keyboard\n"
         "Line  9: Undefined command.\n"
         "  the command is \"Bogus\"\n"},
        {{"map", map, "--codecs", kCodecs, "--format", "gcc"}, 1,
         map + ":7: error: Map entry with unknown control surface item.\n" + map +
             ":7: note: no item is named \"Fader 9\"; did you mean \"Fader 1\"?\n" + map +
             ":8: error: Map entry with note number for non-keyboard control surface item.\n" + map +
             ":8: note: the key is \"C3\"; the item \"Fader 1\" is no keyboard\n" + map +
             ":9: error: Undefined command.\n" + map + ":9: note: the command is \"Bogus\"\n"},
        {{"map", badHeader, "--codecs", kCodecs}, 1,
         "Line  2: Missing: File Format Version.\n  its value is \"9\"; the only version is 1.0.0\n"},
        // A map for a surface that no definition offers.
        {{"map", map, "--midicodec", kCodecs + "/Loambridge Tessera 16.midicodec"}, 2,
         "The codec for this map file has not been loaded yet!\n"
         "  the map is for \"Quillfeather Instruments\" \"QF-8 Fader Box\"; the codecs offer \"Loambridge\" "
         "\"Tessera 16\"\n"},
    };
    for (const auto& c : cases)
    {
        const TRunResult result = RunTool("brassfold-check", c.fArguments);
        EXPECT_EQ(result.fExitCode, c.fExitCode) << testing::PrintToString(c.fArguments);
        EXPECT_EQ(result.fOut, c.fOut);
    }
}

TEST_F(MapCommand, UsageErrorsEndWithExitCode2)
{
    const std::string map = Map("");
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"map", map},
             {"map", "--codecs", kCodecs},
             {"map", map, "--codecs"},
             {"map", map, "--codecs", kCodecs, "--midicodec", kCodecs + "/Quillfeather QF-8.midicodec"},
             {"map", map, "--codecs", fScratch.Write("x", "").string() + "-absent"},
             {"map", map + "-absent", "--codecs", kCodecs}})
    {
        const TRunResult result = RunTool("brassfold-check", arguments);
        EXPECT_EQ(result.fExitCode, 2) << result.fError;
        EXPECT_FALSE(result.fError.empty());
    }
}
} // namespace
