// The hooks that every program links, seen from outside: a child process
// with nothing but the hooks installed at static initialisation.

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace
{
struct TRun
{
    int fStatus = 0;
    std::string fError;
};

// Runs the probe with BRASSFOLD_ASSERT set to mode (or unset for null), with
// its standard error in a file.
TRun RunProbe(const char* mode)
{
    char errorPath[] = "/tmp/brassfold-probe-XXXXXX";
    const int errorFile = mkstemp(errorPath);
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry)
    {
        if (!std::string(*entry).starts_with("BRASSFOLD_ASSERT="))
            environment.emplace_back(*entry);
    }
    if (mode != nullptr)
        environment.push_back(std::string("BRASSFOLD_ASSERT=") + mode);
    std::vector<char*> envp;
    for (std::string& entry : environment)
        envp.push_back(entry.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, errorFile, STDERR_FILENO);
    char program[] = BRASSFOLD_DIAGNOSTICS_PROBE;
    char* argv[] = {program, nullptr};
    pid_t child = 0;
    TRun run;
    EXPECT_EQ(posix_spawn(&child, program, &actions, nullptr, argv, envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    waitpid(child, &run.fStatus, 0);
    close(errorFile);
    std::ifstream in(errorPath);
    std::ostringstream text;
    text << in.rdbuf();
    run.fError = text.str();
    unlink(errorPath);
    return run;
}

std::string ProbeLine(const std::string& error, const char* start)
{
    const auto at = error.find(start);
    if (at == std::string::npos)
        return {};
    return error.substr(at, error.find('\n', at) - at);
}
} // namespace

TEST(DiagnosticHooks, WithoutAGuiTheReportGoesToStandardErrorAndTheProgramGoesOn)
{
    const TRun run = RunProbe(nullptr);
    ASSERT_TRUE(WIFEXITED(run.fStatus)) << run.fError;
    EXPECT_EQ(WEXITSTATUS(run.fStatus), 0);
    EXPECT_NE(run.fError.find("probe trace 42\n"), std::string::npos) << run.fError;
    EXPECT_TRUE(ProbeLine(run.fError, "/").ends_with("ASSERT failure: ASSERT")) << run.fError;
    EXPECT_NE(run.fError.find("Halt execution of program?"), std::string::npos);
    EXPECT_NE(run.fError.find("-> Ignore"), std::string::npos);
    EXPECT_NE(run.fError.find("probe goes on\n"), std::string::npos) << run.fError;
}

TEST(DiagnosticHooks, AbortModeHaltsAtTheFirstAssertion)
{
    const TRun run = RunProbe("abort");
    ASSERT_TRUE(WIFSIGNALED(run.fStatus)) << run.fError;
    EXPECT_EQ(WTERMSIG(run.fStatus), SIGABRT);
    EXPECT_NE(run.fError.find(" **** DEBUG BREAK ****\n"), std::string::npos) << run.fError;
    EXPECT_EQ(run.fError.find("probe goes on"), std::string::npos) << run.fError;
}
