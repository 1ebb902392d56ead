// The warnings about a definition file: what its format lets pass in silence,
// so that a green run can be trusted.

#include "DefinitionReport.h"
#include "Diagnostics.h"
#include "TextHints.h"

#include "generic/MapRule.h"

#include "foundation/TextPackage.h"

#include <algorithm>

namespace NSCheckTool
{
namespace
{
using NSGenericMidiCodec::CGenericMidiCodecConfig;
using NSTextPackage::EqualTexts;

void Warn(TDiagnostics& warnings, const std::string& file, i32 line, std::string message, std::string note)
{
    warnings.push_back({ESeverity::kWarning, file, line, std::move(message), std::move(note), {}});
}

// The rule table ends at the first row that is no "Map" row, and the reader
// ignores everything behind it: worth a word when that row looks as if it
// were meant as a row of the format.
void WarnEarlyEnd(TDiagnostics& warnings, const std::string& file, const CFileRows& rows,
                  const TDefinitionLayout& layout)
{
    const auto& all = rows.Rows();
    if (layout.fFirstIgnoredRow >= all.size())
        return;
    const TRow& row = all[layout.fFirstIgnoredRow];
    std::string why = DescribeStrayRow(row.fFields, DefinitionKeys());
    const auto& keys = DefinitionKeys();
    const auto key = std::find_if(keys.begin(), keys.end(), [&](const TText16& k) { return EqualTexts(row.fFields.front(), k); });
    if (key != keys.end())
        why = Quoted(*key) + " rows are read only at their own place, further up";
    if (why.empty())
        return;
    const std::size_t behind = all.size() - layout.fFirstIgnoredRow - 1;
    Warn(warnings, file, row.fPhysical,
         behind == 0 ? "the rule table ends at this row, which is ignored"
                     : "the rule table ends at this row: it and the " + CountOf(behind, "row", "rows") +
                           " behind it are ignored",
         why);
}

void WarnMissingRules(TDiagnostics& warnings, const std::string& file, const CGenericMidiCodecConfig& config,
                      const TDefinitionLayout& layout)
{
    const std::size_t rules = RuleCount(config);
    if (rules == 0)
    {
        Warn(warnings, file, layout.fMapHeader ? layout.fMapHeader->fPhysical : 1,
             "the file has no rule: no message drives its " + CountOf(config.fItems.size(), "item", "items"),
             "add \"Map\" rows behind the \"Map Header\" row");
        return;
    }
    for (std::size_t item = 0; item < config.fItems.size() && item < layout.fItemRows.size(); ++item)
    {
        if (!config.fItems[item].fRules.empty())
            continue;
        const std::string name = Quoted(config.fItems[item].fName);
        Warn(warnings, file, layout.fItemRows[item]->fPhysical, "no rule drives the item " + name,
             "a \"Map\" row whose Name cell is " + name + " gives it one");
    }
}

// The mask knows hex digits, blanks and "?"; any other character compares
// with a hex digit of the answer and never matches.
void WarnMask(TDiagnostics& warnings, const std::string& file, const CFileRows& rows,
              const CGenericMidiCodecConfig& config)
{
    const std::string& mask = config.fIdentityResponse;
    const auto isKnown = [](char c) { return c == ' ' || c == '?' || NSGenericMidiCodec::HexDigitValue(char16(c)) >= 0; };
    const auto stranger = std::find_if_not(mask.begin(), mask.end(), isKnown);
    if (stranger == mask.end())
        return;
    std::string suggestion = mask;
    std::replace_if(suggestion.begin(), suggestion.end(), [&](char c) { return !isKnown(c); }, '?');
    const auto row = std::find_if(rows.Rows().begin(), rows.Rows().end(), [](const TRow& r) {
        return EqualTexts(r.fFields.front(), u"Identity Response");
    });
    Warn(warnings, file, row == rows.Rows().end() ? 1 : row->fPhysical,
         "the identity mask \"" + mask + "\" holds \"" + *stranger + "\", which no answer matches",
         "the mask knows hex digits, blanks and \"?\" for any one digit: \"" + suggestion + "\"");
}
} // namespace

void ReportDefinitionWarnings(TCommandContext& context, const std::string& file, const CFileRows& rows,
                              const CGenericMidiCodecConfig* config)
{
    TDiagnostics warnings;
    WarnOfQuotedRuns(file, rows, warnings);
    if (config != nullptr)
    {
        const TDefinitionLayout layout = LayoutOf(*config, rows);
        WarnEarlyEnd(warnings, file, rows, layout);
        WarnMissingRules(warnings, file, *config, layout);
        WarnMask(warnings, file, rows, *config);
    }
    ReportByLine(context, std::move(warnings));
}
} // namespace NSCheckTool
