#include "foundation/Debugger.h"

#include "foundation/AlertPresenter.h"
#include "foundation/DiagnosticText.h"
#include "foundation/LogFile.h"
#include "foundation/LogText.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// Room for a 1024-character line behind many levels of indentation and a
// prefix; what doesn't fit is cut.
constexpr std::size_t kLineBufferSize = 8192;
constexpr std::string_view kIndentStep = "|  ";
constexpr std::string_view kScriptLineMark = "[Lua]";

// The levels may change on any thread (codecs indent from MIDI threads);
// relaxed atomics keep that free of data races at the cost of nothing.
std::atomic<i32> gIndentLevel{0};
std::atomic<i32> gAssertionDepth{0};

void WriteToStandardError(const char* text)
{
    std::fputs(text, stderr);
}
std::atomic<TDebugOutput> gDebugOutput{&WriteToStandardError};

// Read and written on the main thread only.
std::string& LinePrefix()
{
    static std::string prefix;
    return prefix;
}

// Appends as much of text as fits, always leaving room for a line feed and the
// terminating zero.
void AppendCut(char* buffer, std::size_t& used, std::string_view text)
{
    const std::size_t room = kLineBufferSize - 2 - used;
    const std::size_t count = std::min(room, text.size());
    std::memcpy(buffer + used, text.data(), count);
    used += count;
}

void SendToLogWindow(std::string_view text) noexcept
{
    try
    {
        AddToLog(Text16FromUTF8Lenient(text));
    }
    catch (...)
    {
        // Out of memory: the line is lost, as a diagnostic never fails.
    }
}

void Halt(const char* file, i32 line)
{
    char text[600];
    if (std::strlen(file) >= 488)
        std::snprintf(text, sizeof text,
                      "ASSERT failure (filename to long) **** DEBUG BREAK ****\n");
    else
        std::snprintf(text, sizeof text, "%s(%d): ASSERT failure **** DEBUG BREAK ****\n", file,
                      line);
    GetDebugOutput()(text);
    if (!DebuggerBreak())
        std::abort();
}

void AskAndMaybeHalt(const char* file, i32 line, const char* message)
{
    const std::size_t total = std::strlen(file) + std::strlen(message);
    char text[1024];
    if (total >= 486)
        std::snprintf(text, sizeof text, "ASSERT failure (filename and/or message too long)");
    else
        std::snprintf(text, sizeof text, "%s(%d): ASSERT failure: %s", file, line, message);
    WriteLine(text);

    if (total >= 457)
        std::snprintf(text, sizeof text,
                      "ASSERT failure (filename too long)\r\rHalt execution of program?");
    else
        std::snprintf(text, sizeof text, "%s(%d): ASSERT failure\r%s\rHalt execution of program?",
                      file, line, message);
    const EBoxAnswer answer = GetAlertPresenter().IAlertPresenter_ShowBox(
        "Assertion", text, EBoxButtons::kAbortRetryIgnore);
    if (answer == EBoxAnswer::kRetry)
        DebuggerBreak();
    if (answer == EBoxAnswer::kAbort || answer == EBoxAnswer::kRetry)
        Halt(file, line);
}

void AssertionToChannel(const char* file, i32 line)
{
    ReportAssertion(file, line, "ASSERT");
}
void VerifyToChannel(const char* file, i32 line)
{
    ReportAssertion(file, line, "Verify");
}

TTraceHook gTraceHookBefore = nullptr;

void TraceToChannel(const char* file, i32 line, const char* text)
{
    WriteLine(text);
    if (gTraceHookBefore != nullptr)
        gTraceHookBefore(file, line, text);
}

// Installers live at static initialisation, on the main thread.
int gAssertionInstallers = 0;
int gVerifyInstallers = 0;
int gTraceInstallers = 0;
} // namespace

void WriteLine(std::string_view text)
{
    if (text.starts_with(kScriptLineMark))
        SendToLogWindow(text);
    if (!CMainThreadId::IsCurrentThread())
        return;

    char line[kLineBufferSize];
    std::size_t used = 0;
    for (i32 level = gIndentLevel.load(std::memory_order_relaxed); level > 0; --level)
        AppendCut(line, used, kIndentStep);
    AppendCut(line, used, LinePrefix());
    AppendCut(line, used, text);

    for (const auto& destination : NSDebugger::LogDestinations())
        destination->AppendLine(text);

    line[used++] = '\n';
    line[used] = 0;
    GetDebugOutput()(line);
}

void Indent()
{
    gIndentLevel.fetch_add(1, std::memory_order_relaxed);
}
void Outdent()
{
    gIndentLevel.fetch_sub(1, std::memory_order_relaxed);
}
i32 GetIndentLevel()
{
    return gIndentLevel.load(std::memory_order_relaxed);
}

void SetLinePrefix(std::string_view prefix)
{
    LinePrefix().assign(prefix);
}

void ReportAssertion(const char* file, i32 line, const char* message)
{
    gAssertionDepth.fetch_add(1);
    try
    {
        AskAndMaybeHalt(file != nullptr ? file : "", line, message != nullptr ? message : "");
    }
    catch (...)
    {
        // A report must never add a failure of its own.
    }
    gAssertionDepth.fetch_sub(1);
}

bool NoAssertionInProgress()
{
    return gAssertionDepth.load() == 0;
}

// On Linux the first thread's id is the process id, so no start-up order
// matters and a forked child knows its own first thread.
bool CMainThreadId::IsCurrentThread()
{
    return ::syscall(SYS_gettid) == ::getpid();
}

TDebugOutput GetDebugOutput()
{
    return gDebugOutput.load();
}

void SetDebugOutput(TDebugOutput output)
{
    gDebugOutput.store(output != nullptr ? output : &WriteToStandardError);
}

bool DebuggerBreak()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
    {
        if (!line.starts_with("TracerPid:"))
            continue;
        if (std::atoi(line.c_str() + 10) == 0)
            return false;
        std::raise(SIGTRAP);
        return true;
    }
    return false;
}

CAssertionHookInstaller::CAssertionHookInstaller()
    : fPrevious(GetAssertionHook()), fInstalled(gAssertionInstallers++ == 0)
{
    BF_ASSERT(fInstalled);
    if (fInstalled)
        SetAssertionHook(&AssertionToChannel);
}

CAssertionHookInstaller::~CAssertionHookInstaller()
{
    if (fInstalled)
        SetAssertionHook(fPrevious);
    --gAssertionInstallers;
}

CVerifyHookInstaller::CVerifyHookInstaller()
    : fPrevious(GetVerifyHook()), fInstalled(gVerifyInstallers++ == 0)
{
    BF_ASSERT(fInstalled);
    if (fInstalled)
        SetVerifyHook(&VerifyToChannel);
}

CVerifyHookInstaller::~CVerifyHookInstaller()
{
    if (fInstalled)
        SetVerifyHook(fPrevious);
    --gVerifyInstallers;
}

CTraceHookInstaller::CTraceHookInstaller()
    : fPrevious(GetTraceHook()), fInstalled(gTraceInstallers++ == 0)
{
    BF_ASSERT(fInstalled);
    if (!fInstalled)
        return;
    gTraceHookBefore = fPrevious;
    SetTraceHook(&TraceToChannel);
}

CTraceHookInstaller::~CTraceHookInstaller()
{
    if (fInstalled)
    {
        SetTraceHook(fPrevious);
        gTraceHookBefore = nullptr;
    }
    --gTraceInstallers;
}
