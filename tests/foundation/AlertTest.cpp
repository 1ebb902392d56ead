#include "foundation/Alert.h"

#include "AssertionRecorder.h"
#include "ExceptionKind.h"
#include "FakePresenter.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

using NSTesting::CExpectAssertions;
using NSTesting::CFakePresenter;
using NSTesting::KindThrownBy;
using NSVistalUtils::MakeAlertRecord;

TEST(AlertRecord, ParametersCannotDisturbTheBracketsAndPlaceholdersFollowTheTextPackage)
{
    // No assertion here: an unexpected one fails the test.
    const TAlertRecord record =
        MakeAlertRecord(u"[NOTE][^1]File ^0 is gone.[^2]", {u"a[b]\\c", u"x]", u"[OK]"}, false);
    EXPECT_EQ(AlertRecordText(record.caption), u"x]");
    EXPECT_EQ(AlertRecordText(record.body), u"File a[b]\\c is gone.");
    EXPECT_EQ(AlertRecordText(record.button1), u"[OK]");

    // Placeholders follow the text package's rules.
    const std::vector<TText16> eleven = {u"0", u"1", u"2", u"3", u"4",  u"5",
                                         u"6", u"7", u"8", u"9", u"ten"};
    CExpectAssertions expect;
    // ^10 is the eleventh parameter; a ^ without a digit stays.
    EXPECT_EQ(AlertRecordText(MakeAlertRecord(u"[NOTE]^10 100%^[OK]", eleven, false).body),
              u"ten 100%^");
    EXPECT_EQ(expect.Count(), 1u) << "ten parameters went unused";
    // A placeholder beyond the list vanishes, and the unused parameter asserts.
    EXPECT_EQ(AlertRecordText(MakeAlertRecord(u"[NOTE]a^1b[OK]", {u"p"}, false).body), u"ab");
    EXPECT_EQ(expect.Count(), 2u);
}

TEST(DoAlert, ShowsTheRecordAndReturnsThePresentersButton)
{
    CFakePresenter presenter;
    presenter.fPressed = kAlertPressedThird;
    EXPECT_EQ(NSVistalUtils::DoAlert(presenter, u"[NOTE]b[1][2][3]", {}, "help", true),
              kAlertPressedThird);
    ASSERT_EQ(presenter.fAlerts.size(), 1u);
    EXPECT_EQ(presenter.fAlerts[0].buttonLayout, kAlertLayoutThreeButtonsLastCancels);

    // The presenter's failure word becomes the GUI edge's exception.
    presenter.fStatus = 12002;
    EXPECT_EQ(
        KindThrownBy([&] { NSVistalUtils::DoAlert(presenter, u"[NOTE]b[1]", {}, "", false); }),
        "std::invalid_argument");
}

TEST(Alert, DepthIsRaisedOnlyWhileShowing)
{
    CFakePresenter presenter;
    static i32 depthSeen = -1;
    presenter.fOnAlert = [] { depthSeen = GetAlertDepth(); };
    EXPECT_EQ(GetAlertDepth(), 0);
    Alert(u"[NOTE]b[OK]", false);
    EXPECT_EQ(depthSeen, 1);
    EXPECT_EQ(GetAlertDepth(), 0);
    presenter.fStatus = 12004;
    EXPECT_THROW(Alert(u"[NOTE]b[OK]", false), XProgrammingError);
    EXPECT_EQ(GetAlertDepth(), 0);
}


TEST(Alert, InterceptionStackTakesAlertsAwayFromThePresenter)
{
    CFakePresenter presenter;
    NSTesting::CAlertRecorder lower;
    NSTesting::CAlertRecorder upper;
    {
        CAlertInterception first(lower);
        {
            CAlertInterception second(upper);
            // Not even parsed: a broken text reaches the handler as it is.
            EXPECT_EQ(Alert(u"broken ^0", {u"p"}, true), 33u);
        }
        EXPECT_EQ(Alert(u"[NOTE]b[1][2]", false), 33u);
    }
    EXPECT_EQ(upper.fTexts, std::vector<TText16>{u"broken ^0"});
    EXPECT_EQ(upper.fParameters, std::vector<TText16>{u"p"});
    EXPECT_EQ(lower.fTexts, std::vector<TText16>{u"[NOTE]b[1][2]"});
    EXPECT_TRUE(presenter.fAlerts.empty());
    presenter.fPressed = kAlertPressedSecond;
    EXPECT_EQ(Alert(u"[NOTE]b[1][2]", false), 34u);
}

TEST(ShowExceptionAlert, ShowsTheFixedTextAndAssertsOnlyForAnException)
{
    CFakePresenter presenter;
    const std::runtime_error failure("not for the user");
    {
        CExpectAssertions expect;
        ShowExceptionAlert(&failure);
        EXPECT_EQ(expect.Count(), 1u);
    }
    ShowExceptionAlert(nullptr);
    ASSERT_EQ(presenter.fAlerts.size(), 2u);
    for (const TAlertRecord& record : presenter.fAlerts)
    {
        EXPECT_EQ(record.icon, kAlertIconStop);
        EXPECT_EQ(record.buttonLayout, kAlertLayoutOneButton);
        EXPECT_EQ(AlertRecordText(record.caption), u"");
        EXPECT_EQ(AlertRecordText(record.body), u"Unknown exception.");
        EXPECT_EQ(AlertRecordText(record.button1), u"OK");
    }
    presenter.fStatus = 12001; // a failure while showing is dropped
    EXPECT_NO_THROW(ShowExceptionAlert(nullptr));
    EXPECT_EQ(presenter.fAlerts.size(), 3u);
}

TEST(ShowExceptionAlert, WindowCallbackFrameAlertsAndReportsSuccess)
{
    CFakePresenter presenter;
    CExpectAssertions expect;
    EXPECT_EQ(GuardWindowCallback([] { throw XBadFormat(); }), 12000u);
    EXPECT_EQ(GuardWindowCallback([] { throw 7; }), 12000u);
    EXPECT_EQ(GuardWindowCallback([] {}), 12000u);
    EXPECT_EQ(presenter.fAlerts.size(), 2u);
    EXPECT_EQ(expect.Count(), 1u);
}
