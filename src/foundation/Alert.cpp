#include "foundation/Alert.h"

#include "foundation/Assert.h"
#include "foundation/Failures.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace
{
// The interception stack and the depth of alerts in progress: main thread only.
std::vector<IAlertHandler*> gAlertHandlers;
i32 gAlertDepth = 0;
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
    return MakeAlertRecordFromText(NSTextPackage::SubstituteParameters(format, 0, escaped), hasCancel);
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
