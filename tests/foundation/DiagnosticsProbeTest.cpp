// The hooks that every program links, seen from outside: a child process
// with nothing but the hooks installed at static initialisation.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace
{
// Runs the probe under the shell with the given environment assignment and
// returns its standard error followed by "exit <status>".
std::string RunProbe(const std::string& environment)
{
    const std::string command = "env -u BRASSFOLD_ASSERT " + environment + " '" +
                                BRASSFOLD_DIAGNOSTICS_PROBE + "' 2>&1 >/dev/null; echo \"exit $?\"";
    std::string output;
    if (std::FILE* pipe = popen(command.c_str(), "r"))
    {
        char buffer[4096];
        while (std::fgets(buffer, sizeof buffer, pipe) != nullptr)
            output += buffer;
        pclose(pipe);
    }
    return output;
}
} // namespace

TEST(DiagnosticHooks, WithoutAGuiTheReportGoesToStandardErrorAndTheProgramGoesOn)
{
    const std::string output = RunProbe("");
    EXPECT_NE(output.find("probe trace 42\n"), std::string::npos) << output;
    EXPECT_NE(output.find("DiagnosticsProbe.cpp(10): ASSERT failure: ASSERT\n"), std::string::npos)
        << output;
    EXPECT_NE(output.find("Halt execution of program?\n-> Ignore"), std::string::npos) << output;
    EXPECT_TRUE(output.ends_with("probe goes on\nexit 0\n")) << output;
}

TEST(DiagnosticHooks, AbortModeHaltsAtTheFirstAssertion)
{
    const std::string output = RunProbe("BRASSFOLD_ASSERT=abort");
    EXPECT_NE(output.find("DiagnosticsProbe.cpp(10): ASSERT failure **** DEBUG BREAK ****\n"),
              std::string::npos)
        << output;
    EXPECT_EQ(output.find("probe goes on"), std::string::npos) << output;
    EXPECT_TRUE(output.ends_with("exit 134\n")) << output; // 128 + SIGABRT
}
