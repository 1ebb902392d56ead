// brassfold-check: definition and mapping files checked as the workbench reads
// them, for codec authors' own CI. See docs/brassfold-check.md.

#include "CheckCommand.h"

#include "foundation/Debugger.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>

namespace NSCheckTool
{
namespace
{
std::vector<TCheckCommand>& Commands()
{
    static std::vector<TCheckCommand> commands;
    return commands;
}

// The debug channel carries trace lines that only matter when one looks for
// them; a failed assertion is always worth a line.
void QuietDebugOutput(const char* text)
{
    if (std::strstr(text, "ASSERT failure") != nullptr)
        std::fputs(text, stderr);
}

void PrintUsage(std::ostream& out)
{
    out << "usage:\n";
    for (const TCheckCommand& command : GetCommands())
        out << "  brassfold-check " << command.fName << " " << command.fSynopsis << "\n";
    out << "options:\n"
           "  --format gcc   print FILE:LINE: error: MESSAGE lines, for editors\n"
           "environment:\n"
           "  BRASSFOLD_TRACE=1  show the debug channel's trace lines on standard error\n";
}

// Takes "--format gcc" or "--format=gcc" out of the arguments.
bool TakeFormat(std::vector<std::string>& arguments, EOutputFormat& format, std::string& problem)
{
    for (auto it = arguments.begin(); it != arguments.end();)
    {
        std::string value;
        if (*it == "--format")
        {
            if (it + 1 == arguments.end())
            {
                problem = "--format needs a value";
                return false;
            }
            value = *(it + 1);
            it = arguments.erase(it, it + 2);
        }
        else if (it->starts_with("--format="))
        {
            value = it->substr(9);
            it = arguments.erase(it);
        }
        else
        {
            ++it;
            continue;
        }
        if (value == "gcc")
            format = EOutputFormat::kGcc;
        else if (value == "plain")
            format = EOutputFormat::kPlain;
        else
        {
            problem = "unknown format \"" + value + "\"";
            return false;
        }
    }
    return true;
}
} // namespace

CCommandRegistration::CCommandRegistration(const TCheckCommand& command) { Commands().push_back(command); }

const std::vector<TCheckCommand>& GetCommands() { return Commands(); }

int UsageError(TCommandContext& context, const std::string& text)
{
    context.fError << "brassfold-check: " << text << "\n";
    return kExitUsage;
}
} // namespace NSCheckTool

int main(int argc, char** argv)
{
    using namespace NSCheckTool;
    if (std::getenv("BRASSFOLD_TRACE") == nullptr)
        SetDebugOutput(&QuietDebugOutput);

    std::vector<std::string> arguments(argv + 1, argv + argc);
    EOutputFormat format = EOutputFormat::kPlain;
    std::string problem;
    if (!TakeFormat(arguments, format, problem))
    {
        std::cerr << "brassfold-check: " << problem << "\n";
        return kExitUsage;
    }
    if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h")
    {
        PrintUsage(arguments.empty() ? std::cerr : std::cout);
        return arguments.empty() ? kExitUsage : kExitOK;
    }
    const auto& commands = GetCommands();
    const auto command = std::find_if(commands.begin(), commands.end(),
                                      [&](const TCheckCommand& c) { return arguments[0] == c.fName; });
    if (command == commands.end())
    {
        std::cerr << "brassfold-check: unknown command \"" << arguments[0] << "\"\n";
        PrintUsage(std::cerr);
        return kExitUsage;
    }
    TCommandContext context{{arguments.begin() + 1, arguments.end()}, format, std::cout, std::cerr, std::cin};
    try
    {
        return command->fRun(context);
    }
    catch (const std::exception& e)
    {
        std::cerr << "brassfold-check: " << e.what() << "\n";
        return kExitUsage;
    }
}
