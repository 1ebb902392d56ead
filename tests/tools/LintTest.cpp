// What brassfold-check adds around the readers: warnings about what the
// formats drop in silence, and the line under a message that names its cause.
// The docs' examples (DocsExamplesTest) cover the cases that they show.

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace NSToolTesting;

namespace
{
const std::string kCodecs =
    std::string(BRASSFOLD_SOURCE_DIR) + "/examples/Thistlemarrow Software/Kinvar/Codecs/MIDI Codecs";

const std::string kDefinitionHeader = "Universal MIDI Codec Control Surface Definition File\n"
                                      "File Format Version\t1.0.0\n"
                                      "Control Surface Manufacturer\tAcme\n"
                                      "Control Surface Model\tProbe\n"
                                      "Codec Version\t1.0.0\n";
const std::string kItems = "Item Header\tName\tType\tMin\tMax\n"
                           "Item\tFader\tvalue\t0\t127\n"
                           "Item\tKeys\tkeyboard\t0\t127\n";
const std::string kMapTitles = "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n";
const std::string kRules = kMapTitles + "Map\tB0 07 xx\tFader\tx*2\t\t\t\n"
                           "Map\t90 xx yy\tKeys\t1\tx\ty*2\n";
const std::string kMapHeader = "Thistlemarrow Kinvar Mapping File\n"
                               "File Format Version\t1.0.0\n"
                               "Control Surface Manufacturer\tQuillfeather Instruments\n"
                               "Control Surface Model\tQF-8 Fader Box\n"
                               "Map Version\t1.0.0\n";

struct TLintCase
{
    const char* fName;
    std::string fText;
    std::string fCommand;
    std::vector<std::string> fArguments; // behind the file
    std::vector<std::string> fPrinted;   // lines that standard output holds
};

TEST(CheckToolLint, WarnsAndNamesTheCause)
{
    const TLintCase cases[] = {
        {"quote.midicodec", kDefinitionHeader + kItems + kMapTitles + "// the 12\" fader\n" + kRules, "definition", {},
         {"Acme, Probe, 2 items, 0 rules", "quote.midicodec:9: warning: the file has no rule",
          "quote.midicodec:10: warning: a double quote opens here and has no partner: "
          "it swallows the rest of the file, 3 lines behind it"}},
        {"span.midicodec", kDefinitionHeader + "// a \"long\n" + kItems + "// comment\"\n" + kRules, "definition", {},
         {"span.midicodec:6: warning: a double quote in this comment opens a quoted text that runs to line 10"}},
        {"blanks.midicodec", kDefinitionHeader + kItems + kRules + "Map B0 08 xx  Fader  x\n", "definition", {},
         {"warning: the rule table ends at this row, which is ignored", "  its cells are separated by blanks"}},
        {"norule.midicodec", kDefinitionHeader + kItems + kMapTitles, "definition", {},
         {"norule.midicodec:9: warning: the file has no rule: no message drives its 2 items"}},
        {"min.midicodec", kDefinitionHeader + "Item Header\tName\tType\tMin\tMax\nItem\tFader\tvalue\tlow\t127\n", "definition", {},
         {"Failed to read .midicodec file: min.midicodec", "  line 7: Min \"low\" of item \"Fader\" is no number"}},
        {"name.midicodec", kDefinitionHeader + kItems + kRules + "Map\tB0 08 xx\tFadr\tx\t\t\t\n", "definition", {},
         {"Error:Unknown item name name.midicodec(12)", "  no item is named \"Fadr\"; did you mean \"Fader\"?"}},
        {"expression.midicodec", kDefinitionHeader + kItems + kRules + "Map\tB0 08 xx\tFader\tx\tx%2\t\t\n", "definition", {},
         {"  in Value2 \"x%2\": an expression knows x, y, z, numbers, + - * / and parentheses"}},
        {"range.midicodec", kDefinitionHeader + kItems + kRules, "decode", {"B0 07 40", "90 3C 7F"},
         {"Fader\t128\t0\t0", "range.midicodec:10: warning: \"Fader\" gets the value 128, outside 0 to 127",
          "  Value1 \"x*2\" of the rule on this line gives it; the host drops such an input", "Keys\t1\t60\t254",
          "range.midicodec:11: warning: \"Keys\" gets the velocity 254, outside 0 to 127"}},
        {"quote.kinvarmap", kMapHeader + "Scope\tHost\tMixer\n// the 12\" faders\nMap\tFader 9\t\tA\nBogus\n", "map",
         {"--codecs", kCodecs},
         {"Kinvar map is ok!", "quote.kinvarmap:7: warning: a double quote opens here and has no partner"}},
        {"tab.kinvarmap", kMapHeader + "Scope\tHost\tMixer\n\tMap\tFader 1\t\tA\n", "map", {"--codecs", kCodecs},
         {"Kinvar map is ok!", "tab.kinvarmap:7: warning: this line's first column is empty, so the line is skipped"}},
        {"span.kinvarmap", kMapHeader + "Scope\tHost\tMixer\nMap\tFader 1\t\t\"two\nlines\"\nMap\tFader 9\t\tB\n", "map",
         {"--codecs", kCodecs, "--format", "gcc"},
         {"span.kinvarmap:9: error: Map entry with unknown control surface item."}},
    };
    const CScratchFolder folder;
    for (const TLintCase& c : cases)
    {
        SCOPED_TRACE(c.fName);
        std::vector<std::string> arguments{c.fCommand, folder.Write(c.fName, c.fText).string()};
        arguments.insert(arguments.end(), c.fArguments.begin(), c.fArguments.end());
        const TRunResult result = RunTool("brassfold-check", arguments);
        for (const std::string& line : c.fPrinted)
            EXPECT_NE(result.fOut.find(line), std::string::npos) << line << "\nin:\n" << result.fOut;
        // A bad number or hex value is the tool's to tell: no assertion report.
        EXPECT_EQ(result.fError.find("ASSERT"), std::string::npos) << result.fError;
    }
}

TEST(CheckToolLint, StrictEndsAWarnedRunWith1AndTraceShowsTheReadersAssertion)
{
    const CScratchFolder folder;
    const auto warned = folder.Write("warned.midicodec", kDefinitionHeader + kItems + kRules).string();
    EXPECT_EQ(RunTool("brassfold-check", {"decode", warned, "B0 07 10"}).fExitCode, 0);
    EXPECT_EQ(RunTool("brassfold-check", {"decode", "--strict", warned, "B0 07 70"}).fExitCode, 1);
    const auto hex = folder.Write("hex.midicodec", kDefinitionHeader + "Setup\tF0 0\n");
    const TRunResult traced = RunShell("BRASSFOLD_TRACE=1 brassfold-check definition hex.midicodec", hex.parent_path());
    EXPECT_EQ(traced.fExitCode, 1);
    EXPECT_NE(traced.fError.find("ASSERT failure"), std::string::npos) << traced.fError;
}
} // namespace
