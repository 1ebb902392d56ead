#include "foundation/AlertPresenter.h"

#include "ExceptionKind.h"
#include "FakePresenter.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

using NSTesting::CFakePresenter;

namespace
{
TAlertRecord MakeRecord(u32 icon, const TText16& caption, const TText16& body,
                        const std::vector<TText16>& buttons)
{
    TAlertRecord record{};
    record.icon = icon;
    record.buttonLayout = kAlertLayoutOneButton + u32(buttons.size()) - 1;
    std::copy(caption.begin(), caption.end(), record.caption);
    std::copy(body.begin(), body.end(), record.body);
    char16(*fields[])[kAlertTextCapacity] = {&record.button1, &record.button2, &record.button3};
    for (std::size_t i = 0; i < buttons.size(); ++i)
        std::copy(buttons[i].begin(), buttons[i].end(), *fields[i]);
    return record;
}

class CListener final : public IAlertListener
{
public:
    u32 IAlertListener_ButtonPressed(u32 pressed) override
    {
        fPressed = pressed;
        return 12000;
    }
    u32 fPressed = 0;
};
} // namespace

TEST(AlertPresenter, StandardErrorAnswersAtOnce)
{
    IAlertPresenter& presenter = GetAlertPresenter();
    CListener listener;
    testing::internal::CaptureStderr();
    const TAlertRecord record =
        MakeRecord(kAlertIconWarn, u"Title", u"One\u2029two", {u"Yes", u"No"});
    EXPECT_EQ(presenter.IAlertPresenter_ShowAlert(record, listener), 12000u);
    EXPECT_EQ(listener.fPressed, kAlertPressedFirst);

    TAlertRecord invalid = record;
    invalid.button1[0] = 0;
    EXPECT_EQ(presenter.IAlertPresenter_ShowAlert(invalid, listener), 12002u);

    unsetenv("BRASSFOLD_ASSERT");
    EXPECT_EQ(
        presenter.IAlertPresenter_ShowBox("Assertion", "a\rb", EBoxButtons::kAbortRetryIgnore),
        EBoxAnswer::kIgnore);
    setenv("BRASSFOLD_ASSERT", "abort", 1);
    EXPECT_EQ(
        presenter.IAlertPresenter_ShowBox("Assertion", "a\rb", EBoxButtons::kAbortRetryIgnore),
        EBoxAnswer::kAbort);
    EXPECT_EQ(presenter.IAlertPresenter_ShowBox("Application", "x\r\ny", EBoxButtons::kStopOK),
              EBoxAnswer::kOK);
    unsetenv("BRASSFOLD_ASSERT");
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_NE(written.find("Alert [WARN] Title\nOne\ntwo\nButtons: [Yes] [No]"), std::string::npos)
        << written;
    EXPECT_NE(written.find("Application: x\ny\n"), std::string::npos) << written;
}
