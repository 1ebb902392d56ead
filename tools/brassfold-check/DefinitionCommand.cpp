// brassfold-check definition FILE...
//
// Reads each definition file as the generic codec's scan does, and each script
// (".luacodec") through the scripted codec host. A refused file prints the
// scan's or the host's message; an accepted one its manufacturer, model and
// item count, a script one line for each of its models.

#include "CheckCommand.h"
#include "DefinitionReport.h"
#include "ScriptCodec.h"

#include "generic/GenericMidiCodec.h"

#include "foundation/TextPackage.h"

#include <ostream>

namespace NSCheckTool
{
namespace
{
void PrintAccepted(TCommandContext& context, const std::string& file, std::u16string_view manufacturer,
                   std::u16string_view model, std::size_t count)
{
    if (context.fFormat == EOutputFormat::kGcc)
        return; // editors want faults only
    context.fOut << file << ": " << NSTextPackage::UTF8FromText16(manufacturer) << ", "
                 << NSTextPackage::UTF8FromText16(model) << ", " << count << (count == 1 ? " item" : " items") << "\n";
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
        PrintAccepted(context, file, GetRecordText(info.fManufacturer), GetRecordText(info.fModel),
                      GetItemInfos(*surface)->size());
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
        const NSGenericMidiCodec::TDefinitionReadResult result = NSGenericMidiCodec::ReadDefinitionFile(file);
        if (result.fConfig)
        {
            const auto& config = *result.fConfig;
            PrintAccepted(context, file, config.fManufacturer, config.fModel, config.fItems.size());
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
