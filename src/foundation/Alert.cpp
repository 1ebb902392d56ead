#include "foundation/Alert.h"

#include "foundation/Assert.h"
#include "foundation/Failures.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace
{
// The interception stack and the depth of alerts in progress: main thread only.
std::vector<IAlertHandler*> gAlertHandlers;
i32 gAlertDepth = 0;

bool IsDigit(char16 c)
{
    return c >= u'0' && c <= u'9';
}

// Fills ^0, ^1, ... with the parameters by the rules of the text package's
// SubstituteParameters (base index 0): the digits after a ^ form the index, an
// index beyond the list vanishes, a ^ without a digit stays, and a parameter
// list that is not used up is an assertion failure. Kept here until the text
// package is part of the foundation library; then that function takes over.
TText16 SubstituteAlertParameters(const TText16& format, const std::vector<TText16>& parameters)
{
    TText16 out;
    std::size_t used = 0;
    for (std::size_t i = 0; i < format.size(); ++i)
    {
        if (format[i] != u'^' || i + 1 >= format.size() || !IsDigit(format[i + 1]))
        {
            out += format[i];
            continue;
        }
        std::size_t index = 0;
        while (i + 1 < format.size() && IsDigit(format[i + 1]))
            index = index * 10 + (format[++i] - u'0');
        if (index < parameters.size())
        {
            out += parameters[index];
            ++used;
        }
    }
    BF_ASSERT(used >= parameters.size());
    return out;
}
} // namespace

namespace NSVistalUtils
{
TAlertRecord MakeAlertRecord(const TText16& format, const std::vector<TText16>& parameters,
                             bool hasCancel)
{
    std::vector<TText16> escaped;
    escaped.reserve(parameters.size());
    for (const TText16& parameter : parameters)
        escaped.push_back(EscapeAlertParameter(parameter));
    return MakeAlertRecordFromText(SubstituteAlertParameters(format, escaped), hasCancel);
}

u32 CAlertResultListener::IAlertListener_ButtonPressed(u32 pressed)
{
    fResult = pressed;
    return kVistalOK;
}

u32 DoAlert(IAlertPresenter& presenter, const TText16& format,
            const std::vector<TText16>& parameters, const char* /*helpTag*/, bool hasCancel)
{
    const TAlertRecord record = MakeAlertRecord(format, parameters, hasCancel);
    CAlertResultListener listener;
    ThrowVistalResult(presenter.IAlertPresenter_ShowAlert(record, listener));
    return listener.GetResult();
}
} // namespace NSVistalUtils

u32 AlertResultFromPressed(u32 pressed)
{
    switch (pressed)
    {
    case kAlertPressedFirst:
        return kAlertFirstButton;
    case kAlertPressedSecond:
        return kAlertSecondButton;
    case kAlertPressedThird:
        return kAlertThirdButton;
    default:
        BF_ASSERT(false);
        return kAlertFirstButton;
    }
}

u32 Alert(const TText16& text, bool hasCancel)
{
    return Alert(text, {}, hasCancel);
}

u32 Alert(const TText16& text, const std::vector<TText16>& parameters, bool hasCancel)
{
    if (!gAlertHandlers.empty())
    {
        gAlertHandlers.back()->IAlertHandler_Alert(text, parameters);
        return kAlertFirstButton;
    }
    struct CDepth
    {
        CDepth() { ++gAlertDepth; }
        ~CDepth() { --gAlertDepth; }
    } depth;
    const u32 pressed =
        NSVistalUtils::DoAlert(GetAlertPresenter(), text, parameters, "", hasCancel);
    BF_ASSERT(gAlertDepth > 0);
    return AlertResultFromPressed(pressed);
}

CAlertInterception::CAlertInterception(IAlertHandler& handler)
{
    gAlertHandlers.push_back(&handler);
}

CAlertInterception::~CAlertInterception()
{
    gAlertHandlers.pop_back();
}

i32 GetAlertDepth()
{
    return gAlertDepth;
}

void ShowExceptionAlert(const std::exception* e) noexcept
{
    try
    {
        if (e != nullptr)
        {
            BF_TRACE("ShowExceptionAlert: an unknown exception arrived (%s)", e->what());
            BF_ASSERT(false);
        }
        const TText16 text = u"[STOP]Unknown exception.[OK]";
        if (!text.empty())
            Alert(text, false);
    }
    catch (...)
    {
        // Nothing is left to tell the user with.
    }
}
