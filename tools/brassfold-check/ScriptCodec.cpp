#include "ScriptCodec.h"

#include "foundation/FileHandling.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "host/AppCommands.h"
#include "host/CodecModules.h"

#include <ostream>
#include <regex>

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
    static const std::regex place(R"(^[^\n:]+:(\d+): ([^\n]*))");
    std::smatch match;
    if (std::regex_search(text, match, place))
        out << script.string() << ":" << match[1] << ": error: " << match[2] << "\n";
    else
        out << script.string() << ":1: error: " << text.substr(0, text.find('\n')) << "\n";
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
