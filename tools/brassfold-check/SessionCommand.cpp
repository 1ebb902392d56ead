// brassfold-check session CODEC SESSION...
//
// Runs each session file against a surface of the codec, made and driven as
// the workbench makes and drives it, and compares what the surface does with
// the file's expectations. See SessionRun.h for what prints, and
// docs/brassfold-check.md for the commands of a session.

#include "CheckCommand.h"
#include "CodecFile.h"
#include "SessionFile.h"
#include "SessionRun.h"

#include "host/HeadlessVistal.h"

#include <algorithm>

namespace NSCheckTool
{
namespace
{
int RunSessions(TCommandContext& context)
{
    if (context.fArguments.size() < 2)
        return UsageError(context, "session needs a CODEC and at least one SESSION file");
    const std::string& codecFile = context.fArguments.front();
    int exitCode = kExitOK;
    const auto codec = LoadCodecFile(
        context, codecFile, [&](const TText16& text) { PrintCodecText(context, codecFile, text); }, exitCode);
    if (!codec)
        return exitCode;
    // The hub tells the toolkit of waiting input; a session drives the input
    // itself, and no window runs.
    CHeadlessVistal toolkit;
    const CVistalInstallation installation(toolkit);
    for (auto file = context.fArguments.begin() + 1; file != context.fArguments.end(); ++file)
    {
        const auto session = ReadSession(context, *file);
        exitCode = std::max(exitCode, session ? RunSession(context, *codec, *session) : int(kExitUsage));
    }
    return exitCode;
}

const CCommandRegistration gRegistration({"session", "CODEC SESSION...", &RunSessions});
} // namespace
} // namespace NSCheckTool
