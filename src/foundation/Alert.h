#pragma once
// Showing alerts written in the bracket language of foundation/AlertText.h,
// such as "[WARN][Replace file]The file ^0 exists.[Replace][Keep]". DoAlert
// substitutes the parameters, makes a TAlertRecord of the text and hands it to
// the alert presenter (foundation/AlertPresenter.h), which shows it and
// reports the pressed button.
//
// Alerts are shown on the main thread, in GUI callbacks.

#include "foundation/AlertPresenter.h"
#include "foundation/AlertText.h"
#include "foundation/Types.h"

#include <exception>
#include <vector>

namespace NSVistalUtils
{
// Substitutes the escaped parameters into format (^0 is the first) and makes
// the record of the result (MakeAlertRecordFromText).
TAlertRecord MakeAlertRecord(const TText16& format, const std::vector<TText16>& parameters,
                             bool hasCancel);

// Keeps the button that a presenter reports.
class CAlertResultListener final : public IAlertListener
{
public:
    u32 IAlertListener_ButtonPressed(u32 pressed) override;
    u32 GetResult() const { return fResult; }

private:
    u32 fResult = 0;
};

// Shows one alert through presenter and blocks; returns the presenter's value
// of the pressed button (564, 565, 566). helpTag is accepted and ignored. A
// presenter's failure word becomes its exception (ThrowVistalResult).
u32 DoAlert(IAlertPresenter& presenter, const TText16& format,
            const std::vector<TText16>& parameters, const char* helpTag, bool hasCancel);
} // namespace NSVistalUtils

// 564, 565, 566 become 33, 34, 35; anything else is an assertion failure and
// counts as 33.
u32 AlertResultFromPressed(u32 pressed);

// Shows an alert through the installed presenter and returns 33, 34 or 35 for
// the first, second or third button. While an alert handler is installed, the
// top one receives text and parameters instead and the result is 33. Main
// thread.
u32 Alert(const TText16& text, bool hasCancel);
u32 Alert(const TText16& text, const std::vector<TText16>& parameters, bool hasCancel);

// Receives the alerts that would have been shown while it is installed.
class IAlertHandler
{
public:
    virtual ~IAlertHandler() = default;
    virtual void IAlertHandler_Alert(const TText16& text,
                                     const std::vector<TText16>& parameters) = 0;
};

// Installs a handler on top of the interception stack for its lifetime.
class CAlertInterception
{
public:
    explicit CAlertInterception(IAlertHandler& handler);
    ~CAlertInterception();
    CAlertInterception(const CAlertInterception&) = delete;
    CAlertInterception& operator=(const CAlertInterception&) = delete;
};

// How many alerts are being shown right now (nested through the presenter).
i32 GetAlertDepth();

// The handler of last resort inside GUI callbacks; e is null when what was
// caught is no std::exception. For an exception it traces that an unknown
// exception arrived and raises an assertion failure; in both cases it shows
// "[STOP]Unknown exception.[OK]". The exception's own text is never shown: what
// arrives here is a fault of programming, and handlers further in word their
// own messages. Never throws; a failure while showing is dropped. Main thread.
void ShowExceptionAlert(const std::exception* e) noexcept;

// The outermost frame of a window, view or mouse-capture callback: an
// exception becomes ShowExceptionAlert, and the GUI side always hears 12000,
// so that the window lives on.
template <class Body> u32 GuardWindowCallback(Body&& body) noexcept
{
    try
    {
        body();
    }
    catch (const std::exception& e)
    {
        ShowExceptionAlert(&e);
    }
    catch (...)
    {
        ShowExceptionAlert(nullptr);
    }
    return 12000;
}
