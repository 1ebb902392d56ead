// brassfold-check: definition and mapping files checked as the workbench reads
// them, for codec authors' own CI. See docs/brassfold-check.md.

#include "Assertions.h"
#include "CheckCommand.h"
#include "Diagnostics.h"

#include "foundation/Debugger.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
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
           "  --strict       end with exit code 1 when anything was warned about\n"
           "environment:\n"
           "  BRASSFOLD_TRACE=1  show the debug channel's trace lines and every failed assertion\n";
}

const TCheckCommand* FindCommand(const std::string& name)
{
    const auto& commands = GetCommands();
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const TCheckCommand& c) { return name == c.fName; });
    return found == commands.end() ? nullptr : &*found;
}

// What the command line asks for, before a command runs.
struct TCommandLine
{
    const TCheckCommand* fCommand = nullptr;
    std::vector<std::string> fArguments;
    std::vector<std::pair<std::string, std::string>> fOptions;
    EOutputFormat fFormat = EOutputFormat::kPlain;
    bool fStrict = false;
    bool fHelp = false;
};

class CCommandLineParser
{
public:
    explicit CCommandLineParser(std::vector<std::string> words) : fWords(std::move(words)) {}

    // Empty on success; else what is wrong.
    std::string Parse(TCommandLine& line)
    {
        for (fPosition = 0; fPosition < fWords.size(); ++fPosition)
        {
            const std::string& word = fWords[fPosition];
            if (word == "--")
            {
                fOptionsEnded = true;
                continue;
            }
            const std::string problem = fOptionsEnded || !IsOption(word) ? TakeArgument(line, word) : TakeOption(line);
            if (!problem.empty())
                return problem;
        }
        return {};
    }

private:
    static bool IsOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

    std::string TakeArgument(TCommandLine& line, const std::string& word)
    {
        if (line.fCommand != nullptr)
        {
            line.fArguments.push_back(word);
            return {};
        }
        line.fCommand = FindCommand(word);
        return line.fCommand == nullptr ? "unknown command \"" + word + "\"" : std::string();
    }

    // "--name value" or "--name=value" when the option takes a value.
    std::string TakeOption(TCommandLine& line)
    {
        std::string name = fWords[fPosition];
        std::optional<std::string> value;
        if (const std::size_t equals = name.find('='); equals != std::string::npos)
        {
            value = name.substr(equals + 1);
            name.erase(equals);
        }
        if (name == "--help" || name == "-h")
            line.fHelp = true;
        else if (name == "--strict" && !value)
            line.fStrict = true;
        else if (name == "--format")
            return TakeFormat(line, value);
        else if (const TOptionSpec* option = FindCommandOption(line, name))
        {
            if (option->fValueName != nullptr && !value && !TakeValue(value))
                return name + " needs a " + option->fValueName;
            if (option->fValueName == nullptr && value)
                return name + " takes no value";
            line.fOptions.emplace_back(name, value.value_or(""));
        }
        else
            return "unknown option \"" + name + "\"" + (line.fCommand ? std::string(" for ") + line.fCommand->fName : "");
        return {};
    }

    std::string TakeFormat(TCommandLine& line, std::optional<std::string> value)
    {
        if (!value && !TakeValue(value))
            return "--format needs a value";
        if (*value == "gcc")
            line.fFormat = EOutputFormat::kGcc;
        else if (*value == "plain")
            line.fFormat = EOutputFormat::kPlain;
        else
            return "unknown format \"" + *value + "\"";
        return {};
    }

    bool TakeValue(std::optional<std::string>& value)
    {
        if (fPosition + 1 >= fWords.size())
            return false;
        value = fWords[++fPosition];
        return true;
    }

    // A command's option may stand before the command's name too.
    const TOptionSpec* FindCommandOption(const TCommandLine& line, const std::string& name) const
    {
        const TCheckCommand* command = line.fCommand;
        for (std::size_t i = fPosition + 1; command == nullptr && i < fWords.size(); ++i)
            command = FindCommand(fWords[i]);
        if (command == nullptr)
            return nullptr;
        const auto found = std::find_if(command->fOptions.begin(), command->fOptions.end(),
                                        [&](const TOptionSpec& option) { return name == option.fName; });
        return found == command->fOptions.end() ? nullptr : &*found;
    }

    std::vector<std::string> fWords;
    std::size_t fPosition = 0;
    bool fOptionsEnded = false;
};
} // namespace

CCommandRegistration::CCommandRegistration(const TCheckCommand& command) { Commands().push_back(command); }

const std::vector<TCheckCommand>& GetCommands() { return Commands(); }

bool TCommandContext::HasOption(const std::string& name) const
{
    return std::any_of(fOptions.begin(), fOptions.end(), [&](const auto& option) { return option.first == name; });
}

int UsageError(TCommandContext& context, const std::string& text)
{
    context.fError << "brassfold-check: " << text << "\n";
    return kExitUsage;
}
} // namespace NSCheckTool

int main(int argc, char** argv)
{
    using namespace NSCheckTool;
    const bool trace = std::getenv("BRASSFOLD_TRACE") != nullptr;
    if (!trace)
        SetDebugOutput(&QuietDebugOutput);

    TCommandLine line;
    const std::string problem = CCommandLineParser({argv + 1, argv + argc}).Parse(line);
    if (!problem.empty())
    {
        std::cerr << "brassfold-check: " << problem << "\n";
        PrintUsage(std::cerr);
        return kExitUsage;
    }
    if (line.fHelp || line.fCommand == nullptr)
    {
        PrintUsage(line.fHelp ? std::cout : std::cerr);
        return line.fHelp ? kExitOK : kExitUsage;
    }
    TCommandContext context{std::move(line.fArguments), std::move(line.fOptions), line.fFormat, line.fStrict, trace,
                            0, std::cout, std::cerr, std::cin};
    const CAssertionFilter assertions;
    try
    {
        return WithWarnings(context, line.fCommand->fRun(context));
    }
    catch (const std::exception& e)
    {
        std::cerr << "brassfold-check: " << e.what() << "\n";
        return kExitUsage;
    }
}
