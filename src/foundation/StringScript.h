#pragma once
// String scripts: the small language of the program's text resources. Each
// entry is a decimal id (0 to 65535) and a text in braces:
//
//   // a comment
//   11 {Save changes to the document "^0" before closing?}
//   2  {first line\rsecond line}
//
// Blanks and tabs are skipped between the parts; lines end with CR, LF, CR LF,
// U+2028 or U+2029. Inside the braces everything is literal, line ends
// included, except that a backslash followed by r stands for U+2029 (where the
// widgets break lines); there is no way to write a closing brace. A repeated
// id replaces the earlier text.
//
// Two parsers share the grammar: the support layer's (NSStringScript) and the
// framework's (NSCorbelan), which differ in how they fail and in that the
// framework's straightens curly double quotes. Both trace the line of a fault
// before they throw. Any thread may call them.

#include "foundation/Types.h"

#include <map>
#include <string_view>

using TStringMap = std::map<u16, TText16>;

namespace NSStringScript
{
// Throws std::runtime_error "Bad format" on a malformed script.
TStringMap Parse(std::u16string_view script);
} // namespace NSStringScript

namespace NSCorbelan
{
// U+201C and U+201D in a text become '"'. Throws NSException::XBadFormat on a
// malformed script.
TStringMap ParseStringScript(std::u16string_view script);
} // namespace NSCorbelan
