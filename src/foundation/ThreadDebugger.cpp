#include "foundation/ThreadDebugger.h"

#include "foundation/Debugger.h"

#include <atomic>
#include <cstdio>
#include <stdexcept>

namespace NSMosswort
{
namespace
{
std::atomic<IDebugger*> gDebugger{nullptr};
constexpr int kTraceBufferSize = 1024;
} // namespace

IDebugger* GetDebugger()
{
    return gDebugger.load();
}
void SetDebugger(IDebugger* debugger)
{
    gDebugger.store(debugger);
}

void OnAssertionFailed(const CLocation& where, const char* message)
{
    IDebugger* debugger = gDebugger.load();
    if (debugger == nullptr)
        throw std::logic_error("OnAssertionFailed");
    debugger->IDebugger_Assertion(where, message);
}

void Trace(const CLocation& where, const char* format, ...)
{
    IDebugger* debugger = gDebugger.load();
    if (debugger == nullptr)
        return;
    char text[kTraceBufferSize];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    debugger->IDebugger_Trace(where, text);
    if (where.fIndentAfter)
        debugger->IDebugger_Indent();
}

void Indent()
{
    if (IDebugger* debugger = gDebugger.load())
        debugger->IDebugger_Indent();
}

void Outdent()
{
    if (IDebugger* debugger = gDebugger.load())
        debugger->IDebugger_Outdent();
}

void ExceptionThrown(const CLocation& where)
{
    if (IDebugger* debugger = gDebugger.load())
        debugger->IDebugger_ExceptionThrown(where);
}
} // namespace NSMosswort

namespace NSKinvarCodecUtils
{
CMosswortDebugger::CMosswortDebugger()
{
    NSMosswort::SetDebugger(this);
}
CMosswortDebugger::~CMosswortDebugger()
{
    NSMosswort::SetDebugger(nullptr);
}

void CMosswortDebugger::IDebugger_Trace(const NSMosswort::CLocation&, const char* text)
{
    WriteLine(text);
}

void CMosswortDebugger::IDebugger_ExceptionThrown(const NSMosswort::CLocation& where)
{
    // One buffer per thread: workers may throw at the same moment.
    thread_local char text[1024];
    std::snprintf(text, sizeof text, "Exception thrown in %s at %s(%ld)", where.fFunction,
                  where.fFile, where.fLine);
    WriteLine(text);
}

void CMosswortDebugger::IDebugger_Assertion(const NSMosswort::CLocation& where, const char* message)
{
    ReportAssertion(where.fFile, static_cast<i32>(where.fLine), message);
}

void CMosswortDebugger::IDebugger_Indent()
{
    ::Indent();
}
void CMosswortDebugger::IDebugger_Outdent()
{
    ::Outdent();
}
} // namespace NSKinvarCodecUtils
