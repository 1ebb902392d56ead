#pragma once
// The framework's diagnostic slots: assertion, verify and trace hooks, and the
// throw-site trace. The application fills the slots at start; with a slot empty
// an assertion throws and a trace costs one pointer test.
//
// All functions here may be called on any thread, MIDI threads included.

#include "foundation/Types.h"

using TAssertionHook = void (*)(const char* file, i32 line);
using TTraceHook = void (*)(const char* file, i32 line, const char* text);

TAssertionHook GetAssertionHook() noexcept;
void SetAssertionHook(TAssertionHook hook) noexcept;
TAssertionHook GetVerifyHook() noexcept;
void SetVerifyHook(TAssertionHook hook) noexcept;
TTraceHook GetTraceHook() noexcept;
void SetTraceHook(TTraceHook hook) noexcept;

// Reports a failed assertion through the assertion hook. With no hook: the
// throw-site trace, then std::logic_error "ASSERT".
[[gnu::cold]] void SAssert(const char* file, i32 line);
// As SAssert, through the verify hook.
[[gnu::cold]] void SVerify(const char* file, i32 line);

// Formats at most 1024 bytes and hands them to the trace hook; with no hook it
// does not even format.
void DebugTrace(const char* file, i32 line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// "<file>(<line>) : Exception thrown", then the current thread's call stack,
// one trace line per frame.
void TraceThrowSite(const char* file, i32 line);

#define BF_ASSERT(cond)                                                                            \
    do                                                                                             \
    {                                                                                              \
        if (!(cond))                                                                               \
            ::SAssert(__FILE__, __LINE__);                                                         \
    } while (false)

#define BF_VERIFY(cond)                                                                            \
    do                                                                                             \
    {                                                                                              \
        if (!(cond))                                                                               \
            ::SVerify(__FILE__, __LINE__);                                                         \
    } while (false)

#define BF_TRACE(...) ::DebugTrace(__FILE__, __LINE__, __VA_ARGS__)
#define BF_THROW_SITE() ::TraceThrowSite(__FILE__, __LINE__)
