// brassfold-check with scripts, which it runs through the scripted codec host.

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace NSToolTesting;

namespace
{
const std::string kKinvar = std::string(BRASSFOLD_SOURCE_DIR) + "/examples/Thistlemarrow Software/Kinvar/";
const std::string kKeystage = kKinvar + "Codecs/Lua Codecs/Copperlane Keystage 49.luacodec";

TEST(CheckToolScripts, DefinitionDecodeAndMapTakeScripts)
{
    const CScratchFolder scratch;
    const std::string broken = scratch.Write("Broken.luacodec", "return {\n  models = 5 }\n").string();
    const struct
    {
        std::vector<std::string> fArguments;
        int fExitCode;
        std::string fOut;
    } cases[] = {
        {{"definition", kKeystage}, 0, kKeystage + ": Copperlane Audio, Keystage 49, 10 items\n"},
        {{"definition", broken}, 1,
         "Broken.luacodec:2: the table that the script returns needs a list \"models\"\n"},
        {{"definition", broken, "--format", "gcc"}, 1,
         broken + ":2: error: the table that the script returns needs a list \"models\"\n"},
        {{"decode", kKeystage, "90 3C 64", "F0 7F 7F 06 02 F7", "E0 00 40"}, 0,
         "Keys\t1\t60\t100\nPlay\t1\t0\t0\nPlay\t0\t0\t0\nPitch Bend\t0\t0\t0\n"},
        {{"map", kKinvar + "Maps/Copperlane Keystage 49.kinvarmap", "--codecs", kKinvar + "Codecs/MIDI Codecs"}, 0,
         "Kinvar map is ok!\n"},
        {{"map", kKinvar + "Maps/Copperlane Keystage 49.kinvarmap", "--midicodec", broken}, 2,
         "The codec for this map file has not been loaded yet!\n"
         "  the map is for \"Copperlane Audio\" \"Keystage 49\"; the codecs offer is no model\n"},
    };
    for (const auto& test : cases)
    {
        const TRunResult result = RunTool("brassfold-check", test.fArguments);
        EXPECT_EQ(result.fExitCode, test.fExitCode) << test.fArguments[1] << "\n" << result.fError;
        EXPECT_EQ(result.fOut, test.fOut);
    }
}
} // namespace
