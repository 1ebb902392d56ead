#include "MapReport.h"

#include "Diagnostics.h"
#include "TextHints.h"

#include "codec/CodecSupport.h"
#include "foundation/TextPackage.h"
#include "map/MapMessages.h"

#include <algorithm>
#include <ostream>
#include <set>

namespace NSCheckTool
{
namespace
{
using namespace NSKinvar;
using NSTextPackage::EqualTexts;

const std::vector<TText16> kCommands = {u"Scope", u"Define Group", u"Map"};

// The column that a message is about, and what it holds.
struct TColumnNote
{
    EMapMessage fId;
    std::size_t fColumn;
    const char* fWhat;
};

constexpr TColumnNote kColumnNotes[] = {
    {kMsgUnknownItem, 1, "no item is named"},         {kMsgItemMapped, 1, "the item is"},
    {kMsgKeyWithConstant, 3, "the target is"},    {kMsgKinvarableMapped, 3, "the Kinvarable is"},
    {kMsgMissingKey, 2, "the key is"},            {kMsgNoteOnNonKeyboard, 2, "the key is"},
    {kMsgBadScale, 4, "the scale is"},            {kMsgUnknownMode, 5, "the mode is"},
    {kMsgUnknownGroupValue, 6, "the group values begin with"},
    {kMsgBadTextConstant, 3, "the text is"},      {kMsgBadAssignment, 3, "the assignment is"},
    {kMsgUndefinedCommand, 0, "the command is"},  {kMsgItemNotASCII, 1, "the item is"},
    {kMsgGroupNotASCII, 1, "the group is"},       {kMsgKinvarableNotASCII, 3, "the target is"},
    {kMsgDuplicateGroup, 1, "the group is"},      {kMsgScopeDefined, 2, "the scope's model is"},
};

std::vector<TText16> ItemNames(const TMapCheckResult& result)
{
    std::vector<TText16> names;
    for (const auto& item : result.fItems ? *result.fItems : TItemList())
        names.push_back(GetRecordText(item.fName));
    return names;
}

// What the item's mode column may say.
std::string StatesOf(const TMapCheckResult& result, std::u16string_view item)
{
    const std::vector<TText16> names = ItemNames(result);
    const auto found = std::find_if(names.begin(), names.end(), [&](const TText16& n) { return EqualTexts(n, item); });
    const std::size_t index = std::size_t(found - names.begin());
    if (found == names.end() || index >= result.fStateNames.size())
        return {};
    const auto& states = result.fStateNames[index];
    if (states.empty())
        return "; the item has no state names, so leave the mode empty";
    std::string list;
    for (const TText16& state : states)
        list.append(list.empty() ? "" : ", ").append(Quoted(state));
    return "; the item's state names are " + list;
}

std::string ExplainFault(const TMapFault& fault, const TRow* row, const TMapCheckResult& result)
{
    if (row == nullptr)
        return {};
    const auto& fields = row->fFields;
    const TText16 missing = MakeMissingMessage(u"");
    if (fault.fMessage.starts_with(missing.substr(0, missing.size() - 1)) && fault.fMessage.ends_with(u"."))
        return ExplainHeaderRow(fields, std::u16string_view(fault.fMessage).substr(9, fault.fMessage.size() - 10));
    for (const TColumnNote& note : kColumnNotes)
    {
        if (fault.fMessage != GetMapMessageText(note.fId) || note.fColumn >= fields.size())
            continue;
        std::string text = std::string(note.fWhat) + " " + Quoted(fields[note.fColumn]);
        if (note.fId == kMsgUnknownItem)
            if (const auto nearest = NearestName(fields[1], ItemNames(result)))
                text += "; did you mean " + Quoted(*nearest) + "?";
        if (note.fId == kMsgUndefinedCommand)
            if (const std::string stray = DescribeStrayRow(fields, kCommands); !stray.empty())
                text += "; " + stray;
        if (note.fId == kMsgNoteOnNonKeyboard)
            text += "; the item " + Quoted(fields[1]) + " is no keyboard";
        if (note.fId == kMsgUnknownMode)
            text += StatesOf(result, fields[1]);
        return text;
    }
    return {};
}

std::string ExplainCodecNotLoaded(const TMapCheckResult& result, const TCodecSurfaceList& surfaces)
{
    std::string offered;
    for (const auto& [codec, info] : surfaces)
        offered.append(offered.empty() ? "" : ", ")
            .append(Quoted(GetRecordText(info.fManufacturer)) + " " + Quoted(GetRecordText(info.fModel)));
    return "the map is for " + Quoted(result.fManufacturer) + " " + Quoted(result.fModel) + "; the codecs offer " +
           (offered.empty() ? std::string("is no model") : offered);
}

// The error text's lines, one for each fault after the heading.
std::vector<std::string> FaultLines(const TMapCheckResult& result)
{
    std::vector<std::string> lines;
    const std::string text = UTF8(result.fErrorText);
    for (std::size_t start = 0; start < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    if (result.fOutcome == EMapCheckOutcome::kFaulty && !lines.empty())
        lines.erase(lines.begin());
    return lines;
}
} // namespace

CFileRows ReadMapRows(std::u16string_view text, const TMapFaultList& faults)
{
    std::set<u32> wanted;
    for (const TMapFault& fault : faults)
        wanted.insert(u32(fault.fLine - 1));
    return CFileRows(text, kMapTableOptions, [&](const TMapLine& line) {
        const auto& columns = line.second;
        const bool skipped = !columns.empty() && columns.front().empty() &&
                             std::any_of(columns.begin(), columns.end(), [](const TText16& c) { return !c.empty(); });
        return skipped || wanted.count(line.first) != 0;
    });
}

int ReportMapCheck(TCommandContext& context, const std::string& file, const TMapCheckResult& result,
                   const CFileRows& rows, const TCodecSurfaceList& surfaces)
{
    const bool gcc = context.fFormat == EOutputFormat::kGcc;
    switch (result.fOutcome)
    {
    case EMapCheckOutcome::kGood:
        if (!gcc)
            context.fOut << "Kinvar map is ok!\n";
        return kExitOK;
    case EMapCheckOutcome::kCodecNotLoaded:
    {
        const std::string text = UTF8(kCodecNotLoadedText);
        Report(context, {ESeverity::kError, file, 1, text, ExplainCodecNotLoaded(result, surfaces), text});
        return kExitUsage;
    }
    case EMapCheckOutcome::kFaulty:
    case EMapCheckOutcome::kHeaderFault:
        break;
    }
    if (!gcc && result.fOutcome == EMapCheckOutcome::kFaulty)
        context.fOut << UTF8(MakeMapErrorsHeading());
    const std::vector<std::string> lines = FaultLines(result);
    for (std::size_t i = 0; i < result.fFaults.size(); ++i)
    {
        const TMapFault& fault = result.fFaults[i];
        const i32 line = rows.PhysicalLine(fault.fLine);
        const std::string note =
            NoteWithLine(context, true, fault.fLine, line, ExplainFault(fault, rows.FindRow(fault.fLine), result));
        Report(context, {ESeverity::kError, file, line, UTF8(fault.fMessage), note, i < lines.size() ? lines[i] : ""});
    }
    return kExitRefused;
}

void ReportMapWarnings(TCommandContext& context, const std::string& file, const CFileRows& rows)
{
    TDiagnostics warnings;
    WarnOfQuotedRuns(file, rows, warnings);
    for (const TRow& row : rows.Rows())
    {
        const auto text = std::find_if(row.fFields.begin(), row.fFields.end(), [](const TText16& f) { return !f.empty(); });
        if (text == row.fFields.begin() || text == row.fFields.end())
            continue;
        warnings.push_back({ESeverity::kWarning, file, row.fPhysical,
                            "this line's first column is empty, so the line is skipped",
                            "it begins with a TAB; its first text is " + Quoted(*text), {}});
    }
    ReportByLine(context, std::move(warnings));
}
} // namespace NSCheckTool
