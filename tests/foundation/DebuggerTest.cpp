#include "foundation/Debugger.h"

#include "FakePresenter.h"
#include "foundation/LogText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
std::vector<std::string> gOutput;
void KeepOutput(const char* text)
{
    gOutput.emplace_back(text);
}

// Captures the debug output; each test starts from a clean channel.
class DebugChannel : public testing::Test
{
protected:
    void SetUp() override
    {
        gOutput.clear();
        SetDebugOutput(&KeepOutput);
        TakePendingLog();
    }
    void TearDown() override
    {
        SetDebugOutput(nullptr);
        SetLinePrefix("");
        while (GetIndentLevel() > 0)
            Outdent();
        while (GetIndentLevel() < 0)
            Indent();
        TakePendingLog();
    }
};

} // namespace

TEST_F(DebugChannel, IndentationAndPrefixStandInFrontOfTheText)
{
    WriteLine("x");
    Indent();
    Indent();
    WriteLine("x");
    Outdent();
    SetLinePrefix("P: ");
    WriteLine("x");
    SetLinePrefix("");
    Outdent();
    Outdent(); // no guard, and no indentation below zero
    WriteLine("x");
    EXPECT_EQ(gOutput, (std::vector<std::string>{"x\n", "|  |  x\n", "|  P: x\n", "x\n"}));
}

TEST_F(DebugChannel, ScriptLinesAlsoReachTheLogWindow)
{
    struct TCase
    {
        std::string fText;
        TText16 fLogged; // empty: nothing for the log window
    };
    const TCase cases[] = {
        {"[Lua] hello", u"[Lua] hello"},
        {"[Lua]", u"[Lua]"},
        {"[Lua", u""},
        {"[lua] lower case", u""},
        {" [Lua] behind a blank", u""},
        {"[Lua] caf\xc3\xa9 \xf0\x9f\x8e\xb9", u"[Lua] caf\u00e9 \U0001F3B9"},
        {"[Lua] bad \xff byte", u"[Lua] bad \uFFFD byte"},
    };
    SetLinePrefix("P ");
    for (const TCase& c : cases)
    {
        gOutput.clear();
        WriteLine(c.fText);
        EXPECT_EQ(TakePendingLog(), c.fLogged) << c.fText;
        // Every line still takes the normal way on the main thread.
        EXPECT_EQ(gOutput, std::vector<std::string>{"P " + c.fText + "\n"});
    }
}

TEST_F(DebugChannel, AssertionReportTextsAndLengthLimitsAndIgnoreGoesOnWithTheDepthRestored)
{
    NSTesting::CFakePresenter presenter;
    presenter.fAnswer = EBoxAnswer::kIgnore;
    static bool inProgressDuringBox = false;
    presenter.fOnBox = [] { inProgressDuringBox = !NoAssertionInProgress(); };
    EXPECT_TRUE(NoAssertionInProgress());
    ReportAssertion("f.cpp", 12, "msg");
    EXPECT_TRUE(inProgressDuringBox);
    EXPECT_TRUE(NoAssertionInProgress());
    EXPECT_EQ(gOutput, std::vector<std::string>{"f.cpp(12): ASSERT failure: msg\n"});
    ASSERT_EQ(presenter.fBoxes.size(), 1u);
    EXPECT_EQ(presenter.fBoxes[0].fText,
              "f.cpp(12): ASSERT failure\rmsg\rHalt execution of program?");
    EXPECT_EQ(presenter.fBoxes[0].fButtons, EBoxButtons::kAbortRetryIgnore);
    EXPECT_FALSE(presenter.fBoxes[0].fCaption.empty());

    struct TLimitCase
    {
        std::size_t fFile, fMessage;
        bool fLongLine, fLongBox;
    };
    const TLimitCase cases[] = {
        {400, 56, false, false}, {400, 57, false, true}, {400, 85, false, true},
        {400, 86, true, true},   {485, 0, false, true},  {0, 486, true, true},
    };
    for (const TLimitCase& c : cases)
    {
        gOutput.clear();
        presenter.fBoxes.clear();
        const std::string file(c.fFile, 'f');
        const std::string message(c.fMessage, 'm');
        ReportAssertion(file.c_str(), 1, message.c_str());
        ASSERT_EQ(gOutput.size(), 1u);
        EXPECT_EQ(gOutput[0] == "ASSERT failure (filename and/or message too long)\n", c.fLongLine)
            << c.fFile << "+" << c.fMessage;
        EXPECT_EQ(presenter.fBoxes[0].fText ==
                      "ASSERT failure (filename too long)\r\rHalt execution of program?",
                  c.fLongBox)
            << c.fFile << "+" << c.fMessage;
    }
}

