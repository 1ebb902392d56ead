#include "foundation/Assert.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <execinfo.h>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{
// Hooks are set before threads start; atomics only keep the sanitizers and
// late test fixtures honest at no cost.
std::atomic<TAssertionHook> gAssertionHook{nullptr};
std::atomic<TAssertionHook> gVerifyHook{nullptr};
std::atomic<TTraceHook> gTraceHook{nullptr};

constexpr int kTraceBufferSize = 1024;
constexpr int kMaxStackFrames = 64;

void ReportThroughHook(TAssertionHook hook, const char* file, i32 line)
{
    if (hook != nullptr)
    {
        hook(file, line);
        return;
    }
    TraceThrowSite(file, line);
    throw std::logic_error("ASSERT");
}

// backtrace_symbols gives "module(mangled+0xoff) [0xaddr]"; the mangled part is
// demangled where it can be, so a stack reads like the source.
std::string DemangleFrame(const char* frame)
{
    std::string text(frame);
    const auto open = text.find('(');
    const auto plus = text.find('+', open == std::string::npos ? 0 : open);
    if (open == std::string::npos || plus == std::string::npos || plus == open + 1)
        return text;
    const std::string mangled = text.substr(open + 1, plus - open - 1);
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), &std::free);
    if (status != 0 || !demangled)
        return text;
    return text.substr(0, open + 1) + demangled.get() + text.substr(plus);
}

void TraceCallStack(const char* file, i32 line)
{
    void* frames[kMaxStackFrames];
    const int count = backtrace(frames, kMaxStackFrames);
    std::unique_ptr<char*, decltype(&std::free)> symbols(backtrace_symbols(frames, count),
                                                         &std::free);
    // Frame 0 is this function and frame 1 TraceThrowSite: neither tells the reader anything.
    for (int i = 2; i < count; ++i)
    {
        if (symbols)
            DebugTrace(file, line, "%s", DemangleFrame(symbols.get()[i]).c_str());
        else
            DebugTrace(file, line, "%p", frames[i]);
    }
}
} // namespace

TAssertionHook GetAssertionHook() noexcept { return gAssertionHook.load(); }
void SetAssertionHook(TAssertionHook hook) noexcept { gAssertionHook.store(hook); }
TAssertionHook GetVerifyHook() noexcept { return gVerifyHook.load(); }
void SetVerifyHook(TAssertionHook hook) noexcept { gVerifyHook.store(hook); }
TTraceHook GetTraceHook() noexcept { return gTraceHook.load(); }
void SetTraceHook(TTraceHook hook) noexcept { gTraceHook.store(hook); }

void SAssert(const char* file, i32 line) { ReportThroughHook(gAssertionHook.load(), file, line); }

void SVerify(const char* file, i32 line) { ReportThroughHook(gVerifyHook.load(), file, line); }

void DebugTrace(const char* file, i32 line, const char* format, ...)
{
    const TTraceHook hook = gTraceHook.load();
    if (hook == nullptr)
        return;
    char buffer[kTraceBufferSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    hook(file, line, buffer);
}

void TraceThrowSite(const char* file, i32 line)
{
    if (gTraceHook.load() == nullptr)
        return;
    DebugTrace(file, line, "%s(%d) : Exception thrown", file, line);
    TraceCallStack(file, line);
}
