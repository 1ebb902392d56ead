#include "ToolRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace NSToolTesting
{
namespace
{
std::string ReadFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
} // namespace

TRunResult RunTool(const std::string& program, const std::vector<std::string>& arguments, const std::string& input)
{
    const CScratchFolder scratch;
    const auto in = scratch.Write("in", input);
    const auto out = scratch.Write("out", "");
    const auto error = scratch.Write("error", "");

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&actions, 2, error.c_str(), O_WRONLY | O_TRUNC, 0);

    const std::string path = std::string(BRASSFOLD_BINARY_DIR) + "/bin/" + program;
    std::vector<char*> argv{const_cast<char*>(path.c_str())};
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, path.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        throw std::runtime_error("cannot start " + path);
    int status = 0;
    waitpid(pid, &status, 0);
    TRunResult result;
    result.fExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.fOut = ReadFile(out);
    result.fError = ReadFile(error);
    return result;
}

CScratchFolder::CScratchFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "brassfold-tools-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    fPath = pattern;
}

CScratchFolder::~CScratchFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(fPath, ignored);
}

std::filesystem::path CScratchFolder::Write(const std::string& name, const std::string& content) const
{
    const auto file = fPath / name;
    std::ofstream(file, std::ios::binary) << content;
    return file;
}
} // namespace NSToolTesting
