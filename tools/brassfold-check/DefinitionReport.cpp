#include "DefinitionReport.h"

#include "Assertions.h"
#include "Diagnostics.h"
#include "TextHints.h"

#include "foundation/TextPackage.h"

#include <filesystem>
#include <numeric>
#include <ostream>

namespace NSCheckTool
{
namespace
{
bool HasKey(const TRow& row, std::u16string_view key)
{
    return !row.fFields.empty() && NSTextPackage::EqualTexts(row.fFields.front(), key);
}

void ReportRefusal(TCommandContext& context, const std::string& file,
                   const NSGenericMidiCodec::TDefinitionReadResult& result, const CFileRows& rows)
{
    const auto& fault = result.fFault;
    const i32 readerLine = fault.fLine > 0 ? fault.fLine : 1;
    const i32 line = rows.PhysicalLine(readerLine);
    // A bad hex value or number names no line in the reader's text.
    const std::string note = NoteWithLine(context, !IsBareFault(fault), readerLine, line, ExplainRefusal(fault, rows));
    // An expression such as "1+" fails with an empty message.
    const std::string message = !fault.fMessage.empty() ? UTF8(fault.fMessage)
                                : fault.fDetail.empty() ? "cannot be read"
                                                        : "the reader gives no message";
    Report(context, {ESeverity::kError, file, line, message, note, UTF8(result.fMessage)});
}
} // namespace

bool IsReadableFile(TCommandContext& context, const std::string& file)
{
    std::error_code error;
    if (std::filesystem::is_regular_file(file, error))
        return true;
    context.fError << "brassfold-check: " << file << ": no such file\n";
    return false;
}

TDefinitionCheck CheckDefinition(TCommandContext& context, const std::string& file, ERefusalStream stream)
{
    NSGenericMidiCodec::TDefinitionReadResult result;
    {
        CHeldAssertions held(CHeldAssertions::EKind::kOwnRead);
        result = NSGenericMidiCodec::ReadDefinitionFile(file);
        // A bad hex value or number: the tool names its line and text instead.
        if (!result.fConfig && IsBareFault(result.fFault) && !context.fTrace)
            held.DropLast();
    }
    TDefinitionCheck check{std::move(result.fConfig), CFileRows(CFileRows::ReadText(file), kDefinitionTableOptions)};
    if (check.fConfig)
        return check;
    if (stream == ERefusalStream::kOutput)
    {
        ReportRefusal(context, file, result, check.fRows);
        return check;
    }
    TCommandContext side{{}, {}, context.fFormat, false, context.fTrace, 0, context.fError, context.fError, context.fIn};
    ReportRefusal(side, file, result, check.fRows);
    return check;
}

bool IsBareFault(const NSGenericMidiCodec::TDefinitionFault& fault)
{
    return fault.fDetail.empty() && fault.fMessage == u"syntax error";
}

TDefinitionLayout LayoutOf(const NSGenericMidiCodec::CGenericMidiCodecConfig& config, const CFileRows& rows)
{
    TDefinitionLayout layout;
    layout.fRuleRows.resize(config.fItems.size());
    const auto& all = rows.Rows();
    std::size_t at = 0;
    while (at < all.size() && !HasKey(all[at], u"Item Header"))
        ++at;
    for (++at; at < all.size() && layout.fItemRows.size() < config.fItems.size() && HasKey(all[at], u"Item"); ++at)
        layout.fItemRows.push_back(&all[at]);
    while (at < all.size() && !HasKey(all[at], u"Map Header"))
        ++at;
    layout.fMapHeader = at < all.size() ? &all[at] : nullptr;
    for (++at; at < all.size() && HasKey(all[at], u"Map"); ++at)
    {
        for (std::size_t item = 0; item < config.fItems.size() && all[at].fFields.size() > 2; ++item)
        {
            if (NSTextPackage::EqualTexts(config.fItems[item].fName, all[at].fFields[2]))
            {
                layout.fRuleRows[item].push_back(&all[at]);
                break;
            }
        }
    }
    layout.fFirstIgnoredRow = std::min(at, all.size());
    return layout;
}

std::size_t RuleCount(const NSGenericMidiCodec::CGenericMidiCodecConfig& config)
{
    return std::accumulate(config.fItems.begin(), config.fItems.end(), std::size_t(0),
                           [](std::size_t sum, const auto& item) { return sum + item.fRules.size(); });
}

const std::vector<TText16>& DefinitionKeys()
{
    static const std::vector<TText16> keys = {
        u"Universal MIDI Codec Control Surface Definition File", u"File Format Version",
        u"Control Surface Manufacturer", u"Control Surface Model", u"Codec Version", u"MIDI Input Ports",
        u"Identity Request", u"Identity Response", u"Setup Info Text", u"Setup Warning Text",
        u"Setup User Action Text", u"Setup", u"Item Header", u"Item", u"Map Header", u"Map"};
    return keys;
}
} // namespace NSCheckTool
