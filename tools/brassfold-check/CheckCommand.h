#pragma once
// The subcommands of brassfold-check. Each lives in its own source file and
// registers itself with a static CCommandRegistration, so that a new
// subcommand is a new file and nothing else.
//
// Exit codes, for codec authors' CI: 0 when all is well, 1 when a file is
// refused, 2 on a usage error or a missing codec.

#include <iosfwd>
#include <string>
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

struct TCommandContext
{
    // The arguments behind the subcommand's name, "--format" taken out.
    std::vector<std::string> fArguments;
    EOutputFormat fFormat = EOutputFormat::kPlain;
    std::ostream& fOut;
    std::ostream& fError;
    std::istream& fIn;
};

struct TCheckCommand
{
    const char* fName;
    // The arguments' synopsis, such as "FILE...".
    const char* fSynopsis;
    int (*fRun)(TCommandContext& context);
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
