// brassfold-check definition FILE...
//
// Reads each definition file as the generic codec's scan does. A refused file
// prints the scan's message; an accepted one its manufacturer, model, item
// count and rule count. Then the warnings of the file. A script (".luacodec")
// goes through the scripted codec host: the host's message, or a line for
// each of its models with its item count.

#include "CheckCommand.h"
#include "DefinitionReport.h"
#include "ScriptCodec.h"
#include "TextHints.h"

#include "generic/GenericMidiCodec.h"

#include <ostream>

namespace NSCheckTool
{
namespace
{
void PrintAccepted(TCommandContext& context, const std::string& file,
                   const NSGenericMidiCodec::CGenericMidiCodecConfig& config)
{
    if (context.fFormat == EOutputFormat::kGcc)
        return; // editors want faults only
    const std::size_t rules = RuleCount(config);
    context.fOut << file << ": " << UTF8(config.fManufacturer) << ", " << UTF8(config.fModel) << ", "
                 << CountOf(config.fItems.size(), "item", "items") << ", " << CountOf(rules, "rule", "rules") << "\n";
}

// A script's models, each made into a surface for its item count.
int CheckScript(TCommandContext& context, const std::string& file)
{
    int exitCode = kExitOK;
    const auto surfaces = LoadScriptCodec(context, file, context.fOut, exitCode);
    for (const auto& [codec, info] : surfaces.value_or(TCodecSurfaceList()))
    {
        NSKinvarCodec::u32 status = NSKinvarCodec::kCodecOK;
        const TControlSurfacePtr surface(codec->ICodec2_CreateControlSurface(info, &status), codecsurface_deleter());
        ThrowCodecResult(status);
        if (context.fFormat != EOutputFormat::kGcc)
            context.fOut << file << ": " << UTF8(GetRecordText(info.fManufacturer)) << ", "
                         << UTF8(GetRecordText(info.fModel)) << ", "
                         << CountOf(GetItemInfos(*surface)->size(), "item", "items") << "\n";
    }
    FlushScriptPrints(context);
    return exitCode;
}

int RunDefinition(TCommandContext& context)
{
    if (context.fArguments.empty())
        return UsageError(context, "definition needs at least one FILE");
    int exitCode = kExitOK;
    for (const std::string& file : context.fArguments)
    {
        if (!IsReadableFile(context, file))
        {
            exitCode = kExitUsage;
            continue;
        }
        if (IsScriptFile(file))
        {
            const int result = CheckScript(context, file);
            exitCode = result == kExitUsage || exitCode == kExitOK ? result : exitCode;
            continue;
        }
        const TDefinitionCheck check = CheckDefinition(context, file, ERefusalStream::kOutput);
        if (check.fConfig)
            PrintAccepted(context, file, *check.fConfig);
        else if (exitCode == kExitOK)
            exitCode = kExitRefused;
        ReportDefinitionWarnings(context, file, check.fRows, check.fConfig ? &*check.fConfig : nullptr);
    }
    return exitCode;
}

const CCommandRegistration gRegistration({"definition", "FILE...", &RunDefinition});
} // namespace
} // namespace NSCheckTool
