#pragma once
// How the check tool reads and reports one definition file, in both output
// formats: the scan's message for a refused file with a line that names its
// cause, and the warnings about what the format lets pass in silence.

#include "CheckCommand.h"
#include "FileRows.h"

#include "generic/GenericMidiCodec.h"

#include <optional>
#include <string>
#include <vector>

namespace NSCheckTool
{
// Whether the file can be read at all; says why not on the error stream.
bool IsReadableFile(TCommandContext& context, const std::string& file);

// One definition file, read as the generic codec's scan reads it.
struct TDefinitionCheck
{
    std::optional<NSGenericMidiCodec::CGenericMidiCodecConfig> fConfig;
    CFileRows fRows;
};

enum class ERefusalStream
{
    kOutput, // the file is what is checked
    kError,  // the file only serves the check of another one
};

// Reads the file and reports a refusal with the tool's added line.
TDefinitionCheck CheckDefinition(TCommandContext& context, const std::string& file, ERefusalStream stream);

// Where the rows of an accepted file stand among its kept rows.
struct TDefinitionLayout
{
    const TRow* fMapHeader = nullptr;
    std::vector<const TRow*> fItemRows;               // one for each item
    std::vector<std::vector<const TRow*>> fRuleRows;  // for each item, its rules' rows
    std::size_t fFirstIgnoredRow = 0;                 // the row behind the last rule
};
TDefinitionLayout LayoutOf(const NSGenericMidiCodec::CGenericMidiCodecConfig& config, const CFileRows& rows);

std::size_t RuleCount(const NSGenericMidiCodec::CGenericMidiCodecConfig& config);

// The keys of the format, for guesses at misspelt ones.
const std::vector<TText16>& DefinitionKeys();

// A bad hex value or a bad number: the reader's message names neither line
// nor text, and its assertion only repeats the fault.
bool IsBareFault(const NSGenericMidiCodec::TDefinitionFault& fault);

// The added line for a refused file: the offending text, or the line and the
// text of a bad hex value or number. Empty when the message says it all.
std::string ExplainRefusal(const NSGenericMidiCodec::TDefinitionFault& fault, const CFileRows& rows);

// The warnings of a file; config is null for a refused one, which can only
// have its quotes warned about.
void ReportDefinitionWarnings(TCommandContext& context, const std::string& file, const CFileRows& rows,
                              const NSGenericMidiCodec::CGenericMidiCodecConfig* config);
} // namespace NSCheckTool
