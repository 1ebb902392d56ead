#pragma once
// The alert text language: an icon tag in square brackets, optionally a
// caption in square brackets directly behind it, the body text, and one to
// three button labels in square brackets, as in "[WARN][Title]Body[Yes][No]".
// The icon words are NONE, STOP, NOTE and WARN. A backslash escapes the next
// unit inside the caption, the body and the labels.
//
// Pure functions of their arguments: any thread.

#include "foundation/AlertPresenter.h"
#include "foundation/Types.h"

#include <vector>

namespace NSVistalUtils
{
// An alert text taken apart.
struct TAlertText
{
    TText16 fIcon;
    TText16 fCaption;
    TText16 fBody;
    std::vector<TText16> fButtons;
};

// Parses the bracket language. A backslash escapes the next unit inside the
// caption, the body and the labels (not directly behind the icon tag); text
// after a button label continues the body. Throws std::invalid_argument with an
// empty text when the text is not complete, the icon tag is not 4 units long,
// or there is no button.
TAlertText ParseAlertText(const TText16& text);

// Puts a backslash in front of each '[', ']' and '\', so that a parameter
// such as a file name can't disturb the bracket language.
TText16 EscapeAlertParameter(const TText16& parameter);

// Makes the record of an alert text whose parameters are already in place:
// parses it, maps the icon word, picks the layout from the button count and
// hasCancel, and fills the texts. Throws std::invalid_argument (empty text)
// where the parser does, for an unknown icon word, for one button with
// hasCancel, for more than three buttons, and for a text over 1023 units.
TAlertRecord MakeAlertRecordFromText(const TText16& text, bool hasCancel);
} // namespace NSVistalUtils
