#pragma once
// The subcommands of brassfold-check. Each lives in its own source file and
// registers itself with a static CCommandRegistration, so that a new
// subcommand is a new file and nothing else. Main parses the options that all
// commands share and those that a command declares; a command reports what it
// finds through Diagnostics.h, which knows both output formats.
//
// Exit codes, for codec authors' CI: 0 when all is well, 1 when a file is
// refused (or, with --strict, when anything was warned about), 2 on a usage
// error or a missing codec.

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace NSCheckTool
{
enum EExitCode : int
{
    kExitOK = 0,
    kExitRefused = 1,
    kExitUsage = 2,
};

enum class EOutputFormat
{
    kPlain, // the messages as the workbench shows them
    kGcc,   // "FILE:LINE: error: MESSAGE" lines, for editors
};

// An option of one command, such as "--codecs DIR".
struct TOptionSpec
{
    const char* fName;
    // What its value is, such as "DIR"; null for an option without a value.
    const char* fValueName;
};

struct TCommandContext
{
    // The arguments behind the subcommand's name that are no options.
    std::vector<std::string> fArguments;
    // The command's own options in the order given; an option without a value
    // has an empty one.
    std::vector<std::pair<std::string, std::string>> fOptions;
    EOutputFormat fFormat = EOutputFormat::kPlain;
    // Warnings end the run with kExitRefused.
    bool fStrict = false;
    // BRASSFOLD_TRACE is set: the debug channel's lines are all wanted.
    bool fTrace = false;
    unsigned fWarningCount = 0;
    std::ostream& fOut;
    std::ostream& fError;
    std::istream& fIn;

    bool HasOption(const std::string& name) const;
};

struct TCheckCommand
{
    const char* fName;
    // The arguments' synopsis, such as "FILE...", options included.
    const char* fSynopsis;
    int (*fRun)(TCommandContext& context);
    std::vector<TOptionSpec> fOptions = {};
};

class CCommandRegistration
{
public:
    explicit CCommandRegistration(const TCheckCommand& command);
};

// In the order of registration.
const std::vector<TCheckCommand>& GetCommands();

// Prints "brassfold-check: <text>" on the error stream and gives kExitUsage.
int UsageError(TCommandContext& context, const std::string& text);
} // namespace NSCheckTool
