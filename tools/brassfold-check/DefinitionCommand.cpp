// brassfold-check definition FILE...
//
// Reads each definition file as the generic codec's scan does. A refused file
// prints the scan's message; an accepted one its manufacturer, model and item
// count.

#include "CheckCommand.h"
#include "DefinitionReport.h"

#include "generic/GenericMidiCodec.h"

#include "foundation/TextPackage.h"

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
    const std::size_t count = config.fItems.size();
    context.fOut << file << ": " << NSTextPackage::UTF8FromText16(config.fManufacturer) << ", "
                 << NSTextPackage::UTF8FromText16(config.fModel) << ", " << count
                 << (count == 1 ? " item" : " items") << "\n";
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
        const NSGenericMidiCodec::TDefinitionReadResult result = NSGenericMidiCodec::ReadDefinitionFile(file);
        if (result.fConfig)
        {
            PrintAccepted(context, file, *result.fConfig);
            continue;
        }
        PrintRefusal(context, file, result);
        if (exitCode == kExitOK)
            exitCode = kExitRefused;
    }
    return exitCode;
}

const CCommandRegistration gRegistration({"definition", "FILE...", &RunDefinition});
} // namespace
} // namespace NSCheckTool
