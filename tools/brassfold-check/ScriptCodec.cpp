#include "ScriptCodec.h"

#include "foundation/FileHandling.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "host/AppCommands.h"
#include "host/CodecModules.h"

#include <ostream>

namespace NSCheckTool
{
namespace
{
// The host's message as the workbench's log shows it, or in gcc's form: the
// host names the script by its file name, an editor wants the path given.
void PrintRefusal(TCommandContext& context, std::ostream& out, const std::filesystem::path& script,
                  const std::string& text)
{
    if (context.fFormat == EOutputFormat::kPlain)
    {
        out << text << (text.empty() || text.back() != '\n' ? "\n" : "");
        return;
    }
    // "NAME:LINE: MESSAGE", the first line of the text.
    const std::string first = text.substr(0, text.find('\n'));
    const std::size_t colon = first.find(':');
    const std::size_t end = colon == std::string::npos ? colon : first.find_first_not_of("0123456789", colon + 1);
    if (end != std::string::npos && end > colon + 1 && first.compare(end, 2, ": ") == 0)
        out << script.string() << first.substr(colon, end - colon) << ": error: " << first.substr(end + 2) << "\n";
    else
        out << script.string() << ":1: error: " << first << "\n";
}
} // namespace

bool IsScriptFile(const std::filesystem::path& file) { return HasLuaExtension(file.filename()); }

void FlushScriptPrints(TCommandContext& context)
{
    const TText16 printed = TakePendingLog();
    if (!printed.empty())
        context.fError << NSTextPackage::UTF8FromText16(printed) << (printed.back() == u'\n' ? "" : "\n");
}

std::optional<TCodecSurfaceList> LoadScriptCodec(TCommandContext& context, const std::filesystem::path& script,
                                                 std::ostream& refusals, int& exitCode)
{
    const std::filesystem::path host = GetScriptHostModule();
    FlushScriptPrints(context);
    try
    {
        const TCodecPtr codec = LoadCodec(host, script);
        if (!codec)
        {
            exitCode = UsageError(context, host.string() + ": the scripted codec host cannot be loaded");
            return std::nullopt;
        }
        TCodecSurfaceList surfaces;
        for (const NSKinvarCodec::TControlSurfaceInfo& info : GetControlSurfacesForCodec(codec))
            surfaces.emplace_back(codec, info);
        FlushScriptPrints(context);
        return surfaces;
    }
    catch (const std::exception&)
    {
        PrintRefusal(context, refusals, script, NSTextPackage::UTF8FromText16(TakePendingLog()));
        exitCode = kExitRefused;
        return std::nullopt;
    }
}
} // namespace NSCheckTool
