#pragma once
// The debug channel: one stream of lines that carries assertion reports, trace
// lines and stack traces from every part of the program, from the libraries'
// and codecs' debugger objects too. It has no levels; a line has only the
// indentation ("|  " per level) and an optional prefix in front.
//
// The channel writes to the debug output (standard error unless replaced) and
// to the log files of "foundation/LogFile.h", and only on the main thread, so
// that lines never interleave and no lock is needed. A line that begins with
// "[Lua]" is the one exception: from any thread it also goes to the log
// window's pending text, which is how scripted codecs' print output reaches the
// user.
//
// The debugger objects that are handed to codecs and libraries forward their
// operations one by one to ReportAssertion, WriteLine, Indent and Outdent.
//
// Programs fill the framework's hook slots (foundation/Assert.h) with this
// channel by linking brassfold::diagnostic_hooks (see
// src/foundation/hooks/DiagnosticHooks.cpp); the hook installers below do the work.

#include "foundation/Assert.h"
#include "foundation/Types.h"

#include <string_view>

// Writes one line to the debug channel, by the rules above. Any thread, MIDI
// threads included (a non-"[Lua]" line from another thread is dropped).
void WriteLine(std::string_view text);

// One level deeper or back. Any thread; there is no guard, and a negative level
// gives no indentation.
void Indent();
void Outdent();
i32 GetIndentLevel();

// The text put in front of every line, behind the indentation. Main thread.
void SetLinePrefix(std::string_view prefix);

// Reports a failed assertion: the line "<file>(<line>): ASSERT failure:
// <message>" on the channel, then the assertion box (Abort, Retry, Ignore) of
// the alert presenter. Abort halts the program; Retry breaks into an attached
// debugger and then halts; Ignore goes on. Never throws. Any thread.
void ReportAssertion(const char* file, i32 line, const char* message);

// True while no assertion report is in progress.
bool NoAssertionInProgress();

// The thread that ran static initialisation, that is the process's first
// thread: the one thread whose lines reach the debug output.
class CMainThreadId
{
public:
    static bool IsCurrentThread();
};

// Where the channel's lines finally go: text with its line feed. Standard
// error by default. Main thread (the channel calls it only there).
using TDebugOutput = void (*)(const char* text);
TDebugOutput GetDebugOutput();
void SetDebugOutput(TDebugOutput output); // null brings back standard error

// Stops in an attached debugger and returns true; returns false at once when
// no debugger is attached.
bool DebuggerBreak();

// The installers of the three framework slots. Each stores the slot's content
// on construction and writes it back on destruction; only one instance of each
// may live (a second is an assertion failure and leaves the slot alone). The assertion and verify
// hooks call ReportAssertion with the message "ASSERT" or "Verify"; the trace hook calls WriteLine
// with the text and then the trace hook it replaced.
class CAssertionHookInstaller
{
public:
    CAssertionHookInstaller();
    ~CAssertionHookInstaller();
    CAssertionHookInstaller(const CAssertionHookInstaller&) = delete;
    CAssertionHookInstaller& operator=(const CAssertionHookInstaller&) = delete;

private:
    TAssertionHook fPrevious;
    bool fInstalled;
};

class CVerifyHookInstaller
{
public:
    CVerifyHookInstaller();
    ~CVerifyHookInstaller();
    CVerifyHookInstaller(const CVerifyHookInstaller&) = delete;
    CVerifyHookInstaller& operator=(const CVerifyHookInstaller&) = delete;

private:
    TAssertionHook fPrevious;
    bool fInstalled;
};

class CTraceHookInstaller
{
public:
    CTraceHookInstaller();
    ~CTraceHookInstaller();
    CTraceHookInstaller(const CTraceHookInstaller&) = delete;
    CTraceHookInstaller& operator=(const CTraceHookInstaller&) = delete;

private:
    TTraceHook fPrevious;
    bool fInstalled;
};
