#include "foundation/Debugger.h"

#include "AssertionRecorder.h"
#include "FakePresenter.h"
#include "TempFolder.h"
#include "foundation/LogFile.h"
#include "foundation/LogText.h"
#include "foundation/ThreadDebugger.h"
#include "foundation/TraceLogger.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
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

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
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

TEST_F(DebugChannel, LongLineAtDeepIndentationIsKeptWhole)
{
    for (int i = 0; i < 100; ++i)
        Indent();
    const std::string text(1024, 'y');
    WriteLine(text);
    ASSERT_EQ(gOutput.size(), 1u);
    EXPECT_EQ(gOutput[0].size(), 300 + 1024 + 1u);
    EXPECT_TRUE(gOutput[0].ends_with(text + "\n"));
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

TEST_F(DebugChannel, LogWindowTextFromManyThreadsIsKeptWhole)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t)
    {
        writers.emplace_back(
            []
            {
                for (int i = 0; i < kLines; ++i)
                    WriteLine("[Lua] 0123456789");
            });
    }
    TText16 taken;
    for (int round = 0; round < 50; ++round)
        FlushPendingLog([&](const TText16& text) { taken += text; });
    for (std::thread& writer : writers)
        writer.join();
    taken += TakePendingLog();
    EXPECT_EQ(taken.size(), std::size_t(kThreads * kLines * 16));
    EXPECT_FALSE(FlushPendingLog([](const TText16&) { ADD_FAILURE() << "nothing pending"; }));
}

TEST_F(DebugChannel, LogFileGetsTheBareTextOfEachMainThreadLine)
{
    NSTesting::CTempFolder folder;
    NSTesting::CEnvironment environment;
    environment.Set("XDG_DOCUMENTS_DIR", folder.Path().string());
    std::filesystem::path path;
    {
        CLogFile file("Bench");
        path = file.GetPath();
        EXPECT_EQ(path.parent_path(), folder.Path());
        std::thread worker(
            []
            {
                WriteLine("[Lua] from the worker");
                WriteLine("a plain line from the worker");
            });
        worker.join();
        // A worker's lines reach the log window only.
        EXPECT_EQ(TakePendingLog(), u"[Lua] from the worker");
        EXPECT_TRUE(gOutput.empty());
        EXPECT_FALSE(std::filesystem::exists(path));
        Indent();
        SetLinePrefix("P ");
        WriteLine("first");
        WriteLine("[Lua] second");
    }
    WriteLine("after the handle is gone");
    EXPECT_EQ(ReadFile(path), "first\n[Lua] second\n");
}

TEST_F(DebugChannel, LogFileNameAndFolder)
{
    NSTesting::CEnvironment environment;
    environment.Set("TZ", "UTC");
    tzset();
    EXPECT_EQ(NSDebugger::MakeLogFileName("Bench", 0), "Bench 700101 000000.log");
    EXPECT_EQ(NSDebugger::MakeLogFileName("x", 1700000000), "x 231114 221320.log");

    NSTesting::CTempFolder home;
    environment.Set("HOME", home.Path().string());
    environment.Set("XDG_DOCUMENTS_DIR", "/somewhere/Docs");
    EXPECT_EQ(NSDebugger::GetLogFolder(), "/somewhere/Docs");
    environment.Set("XDG_DOCUMENTS_DIR", std::nullopt);
    EXPECT_EQ(NSDebugger::GetLogFolder(), "");
    const std::filesystem::path documents = home.MakeFolder("Documents");
    EXPECT_EQ(NSDebugger::GetLogFolder(), documents);
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

namespace
{
std::vector<std::string> gEarlierTraces;
void EarlierTraceHook(const char*, i32, const char* text)
{
    gEarlierTraces.emplace_back(text);
}
} // namespace

TEST_F(DebugChannel, HookInstallersConnectTheSlotsAndGiveThemBack)
{
    const TAssertionHook recorder = GetAssertionHook();
    const TTraceHook savedTrace = GetTraceHook();
    NSTesting::CFakePresenter presenter;
    SetTraceHook(&EarlierTraceHook);
    gEarlierTraces.clear();
    {
        CAssertionHookInstaller assertion;
        CVerifyHookInstaller verify;
        CTraceHookInstaller trace;
        SAssert("a.cpp", 3);
        SVerify("v.cpp", 4);
        DebugTrace("t.cpp", 5, "traced %d", 5);
    }
    EXPECT_EQ(GetAssertionHook(), recorder);
    EXPECT_EQ(GetTraceHook(), &EarlierTraceHook);
    SetTraceHook(savedTrace);

    EXPECT_EQ(gOutput,
              (std::vector<std::string>{"a.cpp(3): ASSERT failure: ASSERT\n",
                                        "v.cpp(4): ASSERT failure: Verify\n", "traced 5\n"}));
    EXPECT_EQ(presenter.fBoxes.size(), 2u);
    EXPECT_EQ(gEarlierTraces, std::vector<std::string>{"traced 5"});
}

TEST_F(DebugChannel, SecondInstallerIsAnAssertionAndChangesNothing)
{
    const TTraceHook savedTrace = GetTraceHook();
    NSTesting::CExpectAssertions expect;
    {
        CTraceHookInstaller first;
        const TTraceHook installed = GetTraceHook();
        {
            CTraceHookInstaller second;
            EXPECT_EQ(GetTraceHook(), installed);
            DebugTrace("t.cpp", 1, "once");
        }
        EXPECT_EQ(GetTraceHook(), installed);
        CVerifyHookInstaller verify;
        CVerifyHookInstaller verifyAgain;
    }
    EXPECT_EQ(GetTraceHook(), savedTrace);
    EXPECT_EQ(expect.Count(), 2u);
    EXPECT_EQ(gOutput, std::vector<std::string>{"once\n"});
}

TEST_F(DebugChannel, TraceLoggerTeesTracesIntoItsFileUntilItEnds)
{
    NSTesting::CTempFolder folder;
    const std::filesystem::path path = folder / "trace.txt";
    const TTraceHook savedTrace = GetTraceHook();
    SetTraceHook(&EarlierTraceHook);
    gEarlierTraces.clear();
    {
        STraceLogger logger(path);
        DebugTrace("t.cpp", 1, "top %d", 1);
        Indent();
        Indent();
        DebugTrace("t.cpp", 2, "deeper");
        Outdent();
        Outdent();
        logger.SetEnabled(false);
        DebugTrace("t.cpp", 3, "not in the file");
        logger.SetEnabled(true);
    }
    EXPECT_EQ(GetTraceHook(), &EarlierTraceHook);
    DebugTrace("t.cpp", 4, "after the end");
    SetTraceHook(savedTrace);

    const std::string text = ReadFile(path);
    EXPECT_TRUE(text.starts_with("top 1\n        deeper\n")) << text;
    EXPECT_NE(text.find("\nSession Ended\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("not in the file"), std::string::npos);
    EXPECT_EQ(text.find("after the end"), std::string::npos);
    EXPECT_EQ(gEarlierTraces,
              (std::vector<std::string>{"top 1", "deeper", "not in the file", "after the end"}));
}

TEST_F(DebugChannel, ThreadPackageReportsReachTheChannelOnlyThroughADebugger)
{
    ASSERT_EQ(NSMosswort::GetDebugger(), nullptr);
    EXPECT_THROW(NSMosswort::OnAssertionFailed(BF_MOSSWORT_HERE(false), "lost"), std::logic_error);
    NSMosswort::Trace(BF_MOSSWORT_HERE(true), "nobody %s", "listens");
    NSMosswort::ExceptionThrown(BF_MOSSWORT_HERE(false));
    EXPECT_EQ(GetIndentLevel(), 0);
    EXPECT_TRUE(gOutput.empty());

    NSTesting::CFakePresenter presenter;
    {
        NSKinvarCodecUtils::CMosswortDebugger debugger;
        EXPECT_EQ(NSMosswort::GetDebugger(), &debugger);
        const NSMosswort::CLocation where{"thread.cpp", 77, "Run", true};
        NSMosswort::Trace(where, "worker %d started", 3);
        {
            NSMosswort::COutdentScope scope(where.fIndentAfter);
            NSMosswort::ExceptionThrown(where);
        }
        NSMosswort::OnAssertionFailed(where, "stuck");
    }
    EXPECT_EQ(NSMosswort::GetDebugger(), nullptr);
    EXPECT_EQ(gOutput, (std::vector<std::string>{"worker 3 started\n",
                                                 "|  Exception thrown in Run at thread.cpp(77)\n",
                                                 "thread.cpp(77): ASSERT failure: stuck\n"}));
    EXPECT_EQ(presenter.fBoxes.size(), 1u);
}
