// Alerts in the bracket language as Qt message boxes.

#include "gui/MessageBoxes.h"

#include "GuiTestSupport.h"
#include "foundation/Alert.h"

#include <QPushButton>

#include <thread>

using namespace NSGuiTesting;

TEST(MessageBoxesTest, IconCaptionBodyAndButtonsComeFromTheRecord)
{
    GetApplication();
    struct TCase
    {
        const char16* fText;
        bool fHasCancel;
        QMessageBox::Icon fIcon;
        QString fTitle;
        QString fBody;
        QStringList fButtons;
        int fEscape;
    } cases[] = {
        // clang-format off
        {u"[STOP]Unknown exception.[OK]", false, QMessageBox::Critical, "gui_widget_tests",
         "Unknown exception.", {"OK"}, 0},
        {u"[WARN][Replace]A\r\nB & C[Yes][No]", false, QMessageBox::Warning, "Replace", "A\nB & C",
         {"Yes", "No"}, 0},
        {u"[NOTE]x[Save][Discard][Cancel]", true, QMessageBox::Information, "gui_widget_tests", "x",
         {"Save", "Discard", "Cancel"}, 2},
        {u"[NONE]y[One][Two]", false, QMessageBox::NoIcon, "gui_widget_tests", "y", {"One", "Two"}, 0},
        // clang-format on
    };
    for (const TCase& test : cases)
    {
        const auto box =
            MakeAlertBox(NSVistalUtils::MakeAlertRecord(test.fText, {}, test.fHasCancel), nullptr);
        ASSERT_TRUE(box);
        EXPECT_EQ(test.fIcon, box->icon());
        EXPECT_EQ(test.fTitle, box->windowTitle());
        EXPECT_EQ(test.fBody, box->text());
        QStringList buttons;
        for (QAbstractButton* button : box->buttons())
            buttons << button->accessibleName();
        EXPECT_EQ(test.fButtons, buttons);
        EXPECT_EQ(box->buttons()[test.fEscape], box->escapeButton());
        box->buttons().back()->click();
        EXPECT_EQ(kAlertPressedFirst + buttons.size() - 1, GetPressedButton(*box));
    }
}

// The assertion box is a message box on the user interface thread; elsewhere
// it goes to the presenter before, which needs no running program.
TEST(MessageBoxesTest, TheAssertionBoxAsksOnTheUserInterfaceThreadOnly)
{
    GetApplication();
    CQtBoxPresenter boxes(
        GetAlertPresenter()); // standard error: Ignore, unless BRASSFOLD_ASSERT=abort
    QStringList shown;
    OnNextModalDialog([&](QWidget& box) {
        for (QAbstractButton* button : box.findChildren<QAbstractButton*>())
            shown << button->text().remove('&');
        PressDialogButton(box, "Ignore");
    });
    EXPECT_EQ(EBoxAnswer::kIgnore,
              boxes.IAlertPresenter_ShowBox("Assertion", "a.cpp(1): ASSERT failure\rHalt?",
                                            EBoxButtons::kAbortRetryIgnore));
    shown.sort();
    EXPECT_EQ(QStringList({"Abort", "Ignore", "Retry"}), shown);
    unsetenv("BRASSFOLD_ASSERT");
    std::thread([&] {
        EXPECT_EQ(EBoxAnswer::kIgnore,
                  boxes.IAlertPresenter_ShowBox("Assertion", "x", EBoxButtons::kAbortRetryIgnore));
    }).join(); // no box to wait for
}
