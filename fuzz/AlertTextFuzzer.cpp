// The alert text language: the parser, the record maker with and without a
// cancel button, and the escaping of parameters, which must protect any text
// put between the brackets.

#include "FuzzSupport.h"

#include "foundation/AlertText.h"

#include <stdexcept>

namespace
{
using NSFuzzing::Require;
using namespace NSVistalUtils;

void MakeRecords(const TText16& text)
{
    for (const bool hasCancel : {false, true})
    {
        try
        {
            MakeAlertRecordFromText(text, hasCancel);
        }
        catch (const std::invalid_argument&)
        {
        }
    }
}

// Any text, escaped, comes back whole as caption, body and button label.
void CheckEscaping(const TText16& text)
{
    const TText16 escaped = EscapeAlertParameter(text);
    const TAlertText parts = ParseAlertText(u"[NOTE][" + escaped + u"]" + escaped + u"[" + escaped + u"]");
    Require(parts.fIcon == u"NOTE", "the icon survives an escaped parameter");
    Require(parts.fCaption == text, "an escaped caption comes back whole");
    Require(parts.fBody == text, "an escaped body comes back whole");
    Require(parts.fButtons.size() == 1 && parts.fButtons[0] == text, "an escaped label comes back whole");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const TText16 text = NSFuzzing::TextOf(NSFuzzing::BytesOf(data, size));
    try
    {
        const TAlertText parts = ParseAlertText(text);
        Require(parts.fIcon.size() == 4 && !parts.fButtons.empty(), "a parsed alert has its icon and a button");
    }
    catch (const std::invalid_argument&)
    {
    }
    MakeRecords(text);
    CheckEscaping(text);
    return 0;
}
