// brassfold-check definition and decode, run as whole processes.

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace NSToolTesting;

namespace
{
const std::string kExamples =
    std::string(BRASSFOLD_SOURCE_DIR) + "/examples/Thistlemarrow Software/Kinvar/Codecs/MIDI Codecs/";

// A definition of one item of type value, with one rule. The item takes every
// 32-bit value, so that the host would refuse none of the values decoded.
std::string OneRuleDefinition(const std::string& pattern, const std::string& value1, const std::string& value2,
                              const std::string& value3)
{
    return "Universal MIDI Codec Control Surface Definition File\n"
           "File Format Version\t1.0.0\n"
           "Control Surface Manufacturer\tAcme\n"
           "Control Surface Model\tProbe\n"
           "Codec Version\t1.0.0\n"
           "Item Header\tName\tType\tMin\tMax\n"
           "Item\tValue\tvalue\t-2147483648\t2147483647\n"
           "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n"
           "Map\t" +
           pattern + "\tValue\t" + value1 + "\t" + value2 + "\t" + value3 + "\t\n";
}

TEST(CheckToolDecode, PrintsTheValuesOfTheRule)
{
    struct TDecodeCase
    {
        const char *fPattern, *fValue1, *fValue2, *fValue3, *fMessage;
        const char* fPrinted; // empty: no input at all
    };
    const TDecodeCase cases[] = {
        {"80 xx yy", "x", "y", "7", "80 1B 7F", "Value\t27\t127\t7\n"},
        {"<1000 0000> <0000 01xx> yy", "1+x*2", "y / 2", "-0", "80 07 2A", "Value\t7\t21\t0\n"},
        {"80 <0-xxx xxxx> yz", "x", "y", "z", "80 7F 12", "Value\t-1\t1\t2\n"},
        {"80 -xx -yy", "x", "y", "-18453", "80 8F EF", "Value\t-113\t-17\t-18453\n"},
        {"<0xxx xxxx> xx xx", "x", "0", "0", "12 34 56", "Value\t1193046\t0\t0\n"},
        {"10xxxx 20yyyy 30zzzz", "x", "y", "z", "10 10 10 20 20 20 30 30 30", "Value\t4112\t8224\t12336\n"},
        {"<0??x xxxx> xx xx", "x", "0", "0", "37 34 56", "Value\t1520726\t0\t0\n"},
        {"<0??x xxxx> xx xx", "x", "0", "0", "F7 34 56", ""},
        {"12 ?4 56", "1", "0", "0", "12 64 56", "Value\t1\t0\t0\n"},
        {"12 ?4 56", "1", "0", "0", "12 64 65", ""},
        {"12 34 56", "1", "0", "0", "12 34 57", ""},
        // The expression examples, with x = 15, y = 77 and z = 931 from "80 0F 4D 03 A3".
        {"80 xx yy zzzz", "5", "z", "-y", "80 0F 4D 03 A3", "Value\t5\t931\t-77\n"},
        {"80 xx yy zzzz", "1+8", "7+-1", "((110+3)-(7*7))/8", "80 0F 4D 03 A3", "Value\t9\t6\t8\n"},
        {"80 xx yy zzzz", "1+2*3", "2*3+1", "-0", "80 0F 4D 03 A3", "Value\t7\t7\t0\n"},
        {"80 xx yy zzzz", "x+y-z", "((x + y) / 3) * z - 7", "2*3*4", "80 01 02 00 03", "Value\t0\t-4\t24\n"},
        {"80 xx yy zzzz", "((x + y) / 3) * z - 7", "1-2*3-4", "x y", "80 16 08 00 02", "Value\t13\t-1\t8\n"},
        {"80 xx yy zzzz", "x/(y-y)", "", "z/0", "80 0F 4D 03 A3", "Value\t2147483647\t0\t2147483647\n"},
    };
    const CScratchFolder folder;
    for (const TDecodeCase& c : cases)
    {
        SCOPED_TRACE(std::string(c.fPattern) + " / " + c.fMessage);
        const auto file = folder.Write("probe.midicodec", OneRuleDefinition(c.fPattern, c.fValue1, c.fValue2, c.fValue3));
        const TRunResult result = RunTool("brassfold-check", {"decode", file.string(), c.fMessage});
        EXPECT_EQ(result.fExitCode, 0) << result.fError;
        EXPECT_EQ(result.fOut, std::string(c.fPrinted));
    }
}

TEST(CheckToolDecode, CombinesTwoRulesOfOneItemAndReadsStandardInput)
{
    const CScratchFolder folder;
    const auto file = folder.Write("two.midicodec", OneRuleDefinition("12 34 56", "0", "0", "0") +
                                                        "Map\t12 34 <xxxy yyzz>\tValue\tx\ty\tz\n");
    const TRunResult result = RunTool("brassfold-check", {"decode", file.string()}, "12 34 56\n\n12 34 57\n");
    EXPECT_EQ(result.fExitCode, 0) << result.fError;
    EXPECT_EQ(result.fOut, "Value\t0\t0\t0\nValue\t2\t5\t3\n");
}

TEST(CheckToolDefinition, AcceptsTheBundledExamples)
{
    const TRunResult result =
        RunTool("brassfold-check", {"definition", kExamples + "Quillfeather QF-8.midicodec",
                                    kExamples + "Loambridge Tessera 16.midicodec",
                                    kExamples + "Harrowgate Wheelhouse 8.midicodec"});
    EXPECT_EQ(result.fExitCode, 0) << result.fOut << result.fError;
    EXPECT_NE(result.fOut.find("Loambridge Tessera 16.midicodec: Loambridge, Tessera 16, 20 items, 54 rules\n"),
              std::string::npos)
        << result.fOut;
}

TEST(CheckToolDefinition, PrintsTheScansMessageForARefusedFile)
{
    const CScratchFolder folder;
    const auto good = folder.Write("good.midicodec", OneRuleDefinition("B0 xx", "x", "", ""));
    std::string text = OneRuleDefinition("B0 xx", "x", "", "");
    text.replace(text.find("1.0.0"), 5, "1.0.1");
    const auto version = folder.Write("version.midicodec", text);
    const auto pattern = folder.Write("pattern.midicodec", "// a comment first\n\n" + OneRuleDefinition("12 3", "x", "", ""));

    const TRunResult result =
        RunTool("brassfold-check", {"definition", good.string(), version.string(), pattern.string()});
    EXPECT_EQ(result.fExitCode, 1);
    EXPECT_EQ(result.fOut, good.string() + ": Acme, Probe, 1 item, 1 rule\n"
                           "Failed to read .midicodec file: version.midicodec\n"
                           "Line  2: Missing: File Format Version.\n"
                           "  its value is \"1.0.1\"; the only version is 1.0.0\n"
                           "Failed to read .midicodec file: pattern.midicodec\n"
                           "Error:Map error: Bad message length pattern.midicodec(11)\n"
                           "  in the pattern \"12 3\"\n");

    const TRunResult gcc = RunTool("brassfold-check", {"--format", "gcc", "definition", good.string(),
                                                       version.string(), pattern.string()});
    EXPECT_EQ(gcc.fExitCode, 1);
    EXPECT_EQ(gcc.fOut, version.string() + ":2: error: Missing: File Format Version.\n" + version.string() +
                            ":2: note: its value is \"1.0.1\"; the only version is 1.0.0\n" + pattern.string() +
                            ":11: error: Map error: Bad message length\n" + pattern.string() +
                            ":11: note: in the pattern \"12 3\"\n");
}

TEST(CheckToolDecode, RefusesABrokenFileWithTheScansMessage)
{
    const CScratchFolder folder;
    const auto file = folder.Write("broken.midicodec", OneRuleDefinition("<<", "x", "", ""));
    const TRunResult result = RunTool("brassfold-check", {"decode", file.string(), "B0 00"});
    EXPECT_EQ(result.fExitCode, 1);
    EXPECT_EQ(result.fOut, "Failed to read .midicodec file: broken.midicodec\n"
                           "Error:Map error: Nested <:s broken.midicodec(9)\n"
                           "  in the pattern \"<<\"\n");
}

TEST(CheckToolUsage, EndsWithExitCode2)
{
    const CScratchFolder folder;
    const std::string file = folder.Write("ok.midicodec", OneRuleDefinition("B0 xx", "x", "", "")).string();
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {}, {"inspect", file}, {"definition"}, {"definition", "/nonexistent/x.midicodec"},
             {"--format", "xml", "definition", file}, {"decode", file, "B0 0"}, {"decode", file, "note on"}})
    {
        const TRunResult result = RunTool("brassfold-check", arguments);
        EXPECT_EQ(result.fExitCode, 2) << testing::PrintToString(arguments) << "\n" << result.fOut;
        EXPECT_FALSE(result.fError.empty());
    }
}
} // namespace
