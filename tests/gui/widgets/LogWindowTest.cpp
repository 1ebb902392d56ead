// The log window opens at the idle step when text waits, and never for none.

#include "gui/LogWindow.h"
#include "gui/QtWorkbenchWindows.h"

#include "GuiTestSupport.h"
#include "foundation/Alert.h"
#include "foundation/LogText.h"
#include "gui/QtVistal.h"

#include <QPlainTextEdit>
#include <QPushButton>

using namespace NSGuiTesting;

namespace
{
struct CAlertTexts final : IAlertHandler
{
    void IAlertHandler_Alert(const TText16& text, const std::vector<TText16>&) override
    {
        fTexts.push_back(text);
    }
    std::vector<TText16> fTexts;
};
} // namespace

TEST(LogWindowTest, OpensForPendingTextEvenAfterTheUserClosedIt)
{
    GetApplication();
    CQtVistal vistal;
    CQtWorkbenchWindows windows(vistal);
    windows.IWorkbenchWindows_FlushLog();
    EXPECT_EQ(nullptr, windows.GetLogWindow());
    for (const char16* text : {u"first\n", u"second"})
    {
        AddToLog(text);
        windows.IWorkbenchWindows_FlushLog();
        ASSERT_NE(nullptr, windows.GetLogWindow());
        CLogWindow& window = *windows.GetLogWindow();
        EXPECT_TRUE(window.isVisible());
        EXPECT_EQ(QString::fromStdU16String(text).trimmed(),
                  Find<QPlainTextEdit>(window, "Log text")->toPlainText().trimmed());
        window.close();
        EXPECT_TRUE(ProcessEventsUntil([&] { return windows.GetLogWindow() == nullptr; }));
    }
}

TEST(LogWindowTest, ClearEmptiesItAndAFailedSaveSaysWhereToAndKeepsTheText)
{
    GetApplication();
    CLogWindow window;
    window.AddText(u"kept");
    CAlertTexts alerts;
    CAlertInterception interception(alerts);
    window.SaveTo("/nonexistent-folder/log.txt");
    EXPECT_EQ(std::vector<TText16>{u"[STOP][Save Log]The log could not be saved to ^0 (^1).[OK]"},
              alerts.fTexts);
    EXPECT_EQ(u"kept\r", window.GetModel().GetText());
    Find<QPushButton>(window, "Clear")->click();
    EXPECT_EQ(u"", window.GetModel().GetText());
    EXPECT_EQ(QString(), Find<QPlainTextEdit>(window, "Log text")->toPlainText());
}
