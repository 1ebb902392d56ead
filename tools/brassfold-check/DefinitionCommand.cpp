// brassfold-check definition FILE...
//
// Reads each definition file as the generic codec's scan does. A refused file
// prints the scan's message; an accepted one its manufacturer, model, item
// count and rule count. Then the warnings of the file.

#include "CheckCommand.h"
#include "DefinitionReport.h"
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
