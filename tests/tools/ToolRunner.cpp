#include "ToolRunner.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

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

// One word for the shell, whatever it holds.
std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text)
        c == '\'' ? quoted.append("'\\''") : quoted.append(1, c); // appends keep GCC 12 quiet
    return quoted.append("'");
}

// Runs a command line of the shell, standard input from input.
TRunResult RunCommand(std::string command, const std::string& input)
{
    const CScratchFolder scratch;
    const auto out = scratch.Write("out", "");
    const auto error = scratch.Write("error", "");
    command.append(" <").append(Quoted(scratch.Write("in", input))).append(" >").append(Quoted(out));
    command.append(" 2>").append(Quoted(error));
    const int status = std::system(command.c_str());
    if (status == -1)
        throw std::runtime_error("cannot run " + command);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(error)};
}
} // namespace

TRunResult RunTool(const std::string& program, const std::vector<std::string>& arguments, const std::string& input)
{
    std::string command = Quoted(std::string(BRASSFOLD_BINARY_DIR) + "/bin/" + program);
    for (const auto& argument : arguments)
        command.append(" ").append(Quoted(argument));
    return RunCommand(command, input);
}

TRunResult RunShell(const std::string& commandLine, const std::filesystem::path& folder)
{
    const std::string path = "PATH=" + Quoted(std::string(BRASSFOLD_BINARY_DIR) + "/bin") + ":\"$PATH\"";
    return RunCommand("cd " + Quoted(folder.string()) + " && " + path + " sh -c " + Quoted(commandLine), {});
}

} // namespace NSToolTesting
