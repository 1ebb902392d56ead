#include "DefinitionReport.h"

#include "foundation/TextPackage.h"

#include <filesystem>
#include <ostream>

namespace NSCheckTool
{
bool IsReadableFile(TCommandContext& context, const std::string& file)
{
    std::error_code error;
    if (std::filesystem::is_regular_file(file, error))
        return true;
    context.fError << "brassfold-check: " << file << ": no such file\n";
    return false;
}

void PrintRefusal(TCommandContext& context, const std::string& file,
                  const NSGenericMidiCodec::TDefinitionReadResult& result)
{
    using NSTextPackage::UTF8FromText16;
    if (context.fFormat == EOutputFormat::kGcc)
    {
        const auto& fault = result.fFault;
        const std::string message = fault.fMessage.empty() ? "cannot be read" : UTF8FromText16(fault.fMessage);
        context.fOut << file << ":" << (fault.fLine > 0 ? fault.fLine : 1) << ": error: " << message << "\n";
        return;
    }
    std::string text = UTF8FromText16(result.fMessage);
    if (text.empty() || text.back() != '\n')
        text.push_back('\n');
    context.fOut << text;
}
} // namespace NSCheckTool
