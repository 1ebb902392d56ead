#include "foundation/AlertText.h"

#include <algorithm>
#include <stdexcept>

namespace
{
void CopyText(char16 (&field)[kAlertTextCapacity], const TText16& text)
{
    if (text.size() >= kAlertTextCapacity)
        throw std::invalid_argument("");
    std::copy(text.begin(), text.end(), field);
    field[text.size()] = 0;
}

u32 IconFromWord(const TText16& word)
{
    if (word == u"NONE")
        return kAlertIconNone;
    if (word == u"STOP")
        return kAlertIconStop;
    if (word == u"NOTE")
        return kAlertIconNote;
    if (word == u"WARN")
        return kAlertIconWarn;
    throw std::invalid_argument("");
}

u32 LayoutFor(std::size_t buttons, bool hasCancel)
{
    switch (buttons)
    {
    case 1:
        if (hasCancel)
            throw std::invalid_argument("");
        return kAlertLayoutOneButton;
    case 2:
        return hasCancel ? kAlertLayoutTwoButtonsLastCancels : kAlertLayoutTwoButtons;
    case 3:
        return hasCancel ? kAlertLayoutThreeButtonsLastCancels : kAlertLayoutThreeButtons;
    default:
        throw std::invalid_argument("");
    }
}

// The states of the alert text parser.
enum class EParse
{
    kStart,
    kIcon,
    kAfterIcon,
    kCaption,
    kCaptionEscape,
    kBody,
    kBodyEscape,
    kButton,
    kButtonEscape,
};

EParse Step(EParse state, char16 c, NSVistalUtils::TAlertText& out, TText16& button)
{
    using enum EParse;
    switch (state)
    {
    case kStart:
        if (c != u'[')
            throw std::invalid_argument("");
        return kIcon;
    case kIcon:
        if (c == u']')
            return kAfterIcon;
        out.fIcon += c;
        return kIcon;
    case kAfterIcon:
        if (c == u'[')
            return kCaption;
        out.fBody += c; // a backslash here is body text, not an escape
        return kBody;
    case kCaption:
        if (c == u'\\')
            return kCaptionEscape;
        if (c == u']')
            return kBody;
        out.fCaption += c;
        return kCaption;
    case kCaptionEscape:
        out.fCaption += c;
        return kCaption;
    case kBody:
        if (c == u'\\')
            return kBodyEscape;
        if (c == u'[')
        {
            button.clear();
            return kButton;
        }
        out.fBody += c;
        return kBody;
    case kBodyEscape:
        out.fBody += c;
        return kBody;
    case kButton:
        if (c == u'\\')
            return kButtonEscape;
        if (c == u']')
        {
            out.fButtons.push_back(button);
            return kBody;
        }
        button += c;
        return kButton;
    case kButtonEscape:
        button += c;
        return kButton;
    }
    throw std::invalid_argument("");
}
} // namespace

namespace NSVistalUtils
{
TAlertText ParseAlertText(const TText16& text)
{
    TAlertText out;
    TText16 button;
    EParse state = EParse::kStart;
    for (char16 c : text)
        state = Step(state, c, out, button);
    if (state != EParse::kBody || out.fIcon.size() != 4 || out.fButtons.empty())
        throw std::invalid_argument("");
    return out;
}

TText16 EscapeAlertParameter(const TText16& parameter)
{
    TText16 escaped;
    escaped.reserve(parameter.size());
    for (char16 c : parameter)
    {
        if (c == u'[' || c == u']' || c == u'\\')
            escaped += u'\\';
        escaped += c;
    }
    return escaped;
}

TAlertRecord MakeAlertRecordFromText(const TText16& text, bool hasCancel)
{
    const TAlertText parts = ParseAlertText(text);

    TAlertRecord record{};
    record.icon = IconFromWord(parts.fIcon);
    record.buttonLayout = LayoutFor(parts.fButtons.size(), hasCancel);
    CopyText(record.caption, parts.fCaption);
    CopyText(record.body, parts.fBody);
    char16(*buttons[])[kAlertTextCapacity] = {&record.button1, &record.button2, &record.button3};
    for (std::size_t i = 0; i < parts.fButtons.size(); ++i)
        CopyText(*buttons[i], parts.fButtons[i]);
    return record;
}
} // namespace NSVistalUtils
