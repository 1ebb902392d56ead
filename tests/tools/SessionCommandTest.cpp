// brassfold-check session, run as a whole process: on the host tests' module
// whose "State Box" sends MIDI for item states, and on the bundled examples.

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace NSToolTesting;
namespace fs = std::filesystem;

namespace
{
// Runs the session in a scratch folder, where its name is "box.session".
TRunResult RunBoxSession(const std::string& session, const std::string& options = {})
{
    const CScratchFolder folder;
    const fs::path file = folder.Write("box.session", session);
    return RunShell("brassfold-check " + options + " session '" BRASSFOLD_STATES_CODEC "' box.session",
                    file.parent_path());
}

TEST(CheckToolSession, EachCommandDrivesTheSurfaceAsThePanelDoes)
{
    const TRunResult result = RunBoxSession("model State Box\n"
                                            "ports in 1 out 1\n"
                                            "start\n"
                                            "in B0 00 40\n"
                                            "value Fader = 300\n"
                                            "value Lamp = 1\n"
                                            "text Display = \" Hi \"\n"
                                            "# A state index alone leaves the state off, as the panel's popup does.\n"
                                            "state Mode = Fast\n"
                                            "frame\n"
                                            "frames 2\n"
                                            "disable Lamp\n"
                                            "value Lamp = 0\n"
                                            "frame\n"
                                            "enable all\n"
                                            "frame\n"
                                            "end\n");
    EXPECT_EQ(result.fExitCode, 0) << result.fError;
    EXPECT_EQ(result.fOut, "> model State Box\n"
                           "> ports in 1 out 1\n"
                           "> start\n"
                           "out 1: F0 7D 01 00 F7\n"
                           "> in B0 00 40\n"
                           "input: Fader\t64\t0\t0\n"
                           "> value Fader = 300\n"
                           "box.session:5: warning: \"Fader\" takes 0 to 127: the panel sends 127\n"
                           "> value Lamp = 1\n"
                           "> text Display = \" Hi \"\n"
                           "> state Mode = Fast\n"
                           "> frame\n"
                           "out 1: B0 00 7F\n"
                           "out 1: B0 01 01\n"
                           "out 1: B0 02 00\n"
                           "> frames 2\n"
                           "> disable Lamp\n"
                           "> value Lamp = 0\n"
                           "> frame\n"
                           "> enable all\n"
                           "> frame\n"
                           "out 1: B0 01 00\n"
                           "out 1: B0 03 01\n"
                           "> end\n"
                           "out 1: F0 7D 02 00 F7\n");
}

TEST(CheckToolSession, AFailedExpectationNamesItsLine)
{
    const std::string session = "start\n"
                                "expect out 1: F0 7D 01 00 F7\n"
                                "expect out 2: F0 7D 01 02 F7\n"
                                "in B0 00 05\n"
                                "expect nothing\n"
                                "in b0 00 06\n"
                                "expect input: Fader 6 0 0\n"
                                "expect input: Fader 6 0 0\n"
                                "value Fader = 6\n"
                                "frame\n"
                                "expect OUT 1:  b0 00 06\n";
    const TRunResult gcc = RunBoxSession(session, "--format gcc");
    EXPECT_EQ(gcc.fExitCode, 1) << gcc.fError;
    EXPECT_EQ(gcc.fOut, "box.session:3: error: expected \"out 2: F0 7D 01 02 F7\", came \"out 2: F0 7D 01 01 F7\"\n"
                        "box.session:5: error: expected nothing, came \"input: Fader 5 0 0\"\n"
                        "box.session:8: error: expected \"input: Fader 6 0 0\", came nothing more\n"
                        "box.session:11: error: expected nothing more, came \"out 2: B0 00 06\"\n");
    const TRunResult plain = RunBoxSession(session);
    EXPECT_EQ(plain.fExitCode, 1);
    EXPECT_NE(plain.fOut.find("input: Fader\t5\t0\t0\n"
                              "box.session:5: error: expected nothing, came \"input: Fader 5 0 0\"\n"),
              std::string::npos)
        << plain.fOut;
}

TEST(CheckToolSession, ReportsTheCodecsFaultsAndGoesOn)
{
    const TRunResult result = RunBoxSession("start\n"
                                            "in F0 7D 7F F7\n"
                                            "in B1 00 05\n"
                                            "text Display = fail\n"
                                            "frame\n");
    EXPECT_EQ(result.fExitCode, 1) << result.fError;
    EXPECT_EQ(result.fOut, "> start\n"
                           "out 1: F0 7D 01 00 F7\n"
                           "out 2: F0 7D 01 01 F7\n"
                           "> in F0 7D 7F F7\n"
                           "log: Brassfold Tests State Box: MIDI messages are lost, since the codec fails to handle "
                           "them: Unknown message (Bad format)\n"
                           "box.session:2: error: the surface failed on the message: status 23014 (kCodecBadFormat)\n"
                           "> in B1 00 05\n"
                           "log: Brassfold Tests State Box: inputs of the codec are dropped: item 0: 133 is outside 0 "
                           "to 127\n"
                           "input: Fader\t133\t0\t0\n"
                           "box.session:3: error: \"Fader\" gets the value 133, outside 0 to 127, which the host "
                           "refuses\n"
                           "  the host drops such an input\n"
                           "> text Display = fail\n"
                           "> frame\n"
                           "log: Brassfold Tests State Box: output frames are lost: Cannot show fail\n"
                           "box.session:5: error: the surface failed in the frame: status 23002 "
                           "(kCodecInvalidArgument)\n"
                           "> end\n"
                           "out 1: F0 7D 02 00 F7\n"
                           "out 2: F0 7D 02 01 F7\n");

    // A surface that can't start ends the session.
    const TRunResult unstarted = RunBoxSession("ports out 1\nstart\nframe\n", "--format gcc");
    EXPECT_EQ(unstarted.fExitCode, 1);
    EXPECT_EQ(unstarted.fOut,
              "box.session:2: error: the surface did not start: All non-optional MIDI ports need to be chosen!\n"
              "box.session:2: note: log: All non-optional MIDI ports need to be chosen!\n");
}

// What a script prints and its errors, with the script's line, show where
// they happen.
TEST(CheckToolSession, AScriptsWordsShowWhereTheyCome)
{
    const CScratchFolder folder;
    folder.Write("Broken.luacodec",
                 "return {\n"
                 "  models = { { manufacturer = 'Acme', model = 'Broken', inputs = { 'In' },\n"
                 "    outputs = { 'Out' }, items = { { name = 'Lamp', output = 'value', min = 0, max = 1 } } } },\n"
                 "  start = function(surface, port) print('starting on ' .. port) end,\n"
                 "  output = function(surface, port) error('no lamp today') end,\n"
                 "}\n");
    const fs::path session = folder.Write("lamp.session", "start\nvalue Lamp = 1\nframe\n");
    const TRunResult result = RunShell("brassfold-check session Broken.luacodec lamp.session", session.parent_path());
    EXPECT_EQ(result.fExitCode, 1) << result.fError;
    EXPECT_EQ(result.fOut, "> start\n"
                           "log: [Lua] starting on 1\n"
                           "> value Lamp = 1\n"
                           "> frame\n"
                           "log: Acme Broken: output frames are lost: Broken.luacodec:5: no lamp today\n"
                           "log: Broken.luacodec: output is switched off for this surface until the script is "
                           "saved again. (Bad format)\n"
                           "lamp.session:3: error: the surface failed in the frame: status 23014 (kCodecBadFormat)\n"
                           "> end\n");
}

TEST(CheckToolSession, RefusesAFaultySessionFileWithExitCode2)
{
    struct TFaultCase
    {
        const char* fSession;
        const char* fFirstLine;
    };
    const TFaultCase cases[] = {
        {"strat\n", "box.session:1: error: unknown command \"strat\"\n  did you mean \"start\"?"},
        {"# first\n\nin 90 3C 7F\n", "box.session:3: error: in needs a running surface\n  start it first"},
        {"expect nothing\nstart\n", "box.session:1: error: expect stands before any command"},
        {"start\nend\nframe\n", "box.session:3: error: frame needs a running surface\n  line 2 ends it"},
        {"start\nmodel State Box\n", "box.session:2: error: model stands after start"},
        {"start\nin 2: 9\n", "box.session:2: error: \"9\" is no MIDI message of hex bytes (at most 1024)"},
        {"start\nin 0: 90 3C 7F\n", "box.session:2: error: the input port before \":\" is a number from 1 to 16"},
        {"ports in 1 2 out\nports 3\n", "box.session:2: error: ports reads \"in\" and \"out\""},
        {"start\nvalue Fader 3\n", "box.session:2: error: write ITEM = NUMBER"},
        {"start\nvalue Fader = 0x10\n", "box.session:2: error: \"0x10\" is no whole number"},
        {"start\nframes 0\n", "box.session:2: error: frames needs a count from 1 to 100000"},
        {"start\nexpect nothing\nexpect out 1: F0\n", "box.session:3: error: \"expect nothing\" stands alone"},
    };
    for (const TFaultCase& c : cases)
    {
        SCOPED_TRACE(c.fSession);
        const TRunResult result = RunBoxSession(c.fSession);
        EXPECT_EQ(result.fExitCode, 2);
        EXPECT_TRUE(result.fOut.starts_with(c.fFirstLine)) << result.fOut;
    }
    EXPECT_EQ(RunTool("brassfold-check", {"session", BRASSFOLD_STATES_CODEC}).fExitCode, 2);
}

// Every bundled codec has a session beside it, which holds.
TEST(CheckToolSession, TheBundledSessionsHold)
{
    const fs::path codecs = fs::path(BRASSFOLD_SOURCE_DIR) / "examples/Thistlemarrow Software/Kinvar/Codecs";
    std::size_t sessions = 0;
    for (const auto& entry : fs::recursive_directory_iterator(codecs))
    {
        const fs::path& codec = entry.path();
        if (codec.extension() != ".midicodec" && codec.extension() != ".luacodec")
            continue;
        SCOPED_TRACE(codec.filename());
        fs::path session = codec;
        session.replace_extension(".session");
        ASSERT_TRUE(fs::exists(session));
        const TRunResult result = RunTool("brassfold-check", {"--format", "gcc", "session", codec, session});
        EXPECT_EQ(result.fExitCode, 0) << result.fOut << result.fError;
        ++sessions;
    }
    EXPECT_GE(sessions, 3u);
}
} // namespace
