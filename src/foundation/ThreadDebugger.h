#pragma once
// The thread package's own debug slot. The package reports through one
// installed NSMosswort::IDebugger, so that it can be used without the rest of
// the framework; the program installs a CMosswortDebugger, which forwards into
// the debug channel (foundation/Debugger.h). All functions here may be called
// on any thread.

#include <cstdarg>

namespace NSMosswort
{
// Where a report comes from. With fIndentAfter set, a trace is followed by one
// level of indentation (undone by a COutdentScope with the same flag).
struct CLocation
{
    const char* fFile;
    long fLine;
    const char* fFunction;
    bool fIndentAfter;
};

// The order of the operations is part of the package's interface.
class IDebugger
{
public:
    virtual void IDebugger_Trace(const CLocation& where, const char* text) = 0;
    virtual void IDebugger_ExceptionThrown(const CLocation& where) = 0;
    virtual void IDebugger_Assertion(const CLocation& where, const char* message) = 0;
    virtual void IDebugger_Indent() = 0;
    virtual void IDebugger_Outdent() = 0;
    virtual ~IDebugger() = default;
};

// The single slot; null when no debugger is installed.
IDebugger* GetDebugger();
void SetDebugger(IDebugger* debugger);

// To the slot's assertion; with no debugger, throws std::logic_error
// "OnAssertionFailed".
void OnAssertionFailed(const CLocation& where, const char* message);
// Formats at most 1024 bytes and traces them, then indents when the location
// asks for it. Nothing with no debugger.
void Trace(const CLocation& where, const char* format, ...) __attribute__((format(printf, 2, 3)));
// Forwards; nothing with no debugger.
void Indent();
void Outdent();
void ExceptionThrown(const CLocation& where);

// Outdents at the end of a scope when active: the partner of a trace whose
// location asked for an indent.
class COutdentScope
{
public:
    explicit COutdentScope(bool active) : fActive(active) {}
    ~COutdentScope()
    {
        if (fActive)
            Outdent();
    }
    COutdentScope(const COutdentScope&) = delete;
    COutdentScope& operator=(const COutdentScope&) = delete;

private:
    bool fActive;
};
} // namespace NSMosswort

#define BF_MOSSWORT_HERE(indentAfter)                                                              \
    ::NSMosswort::CLocation                                                                        \
    {                                                                                              \
        __FILE__, __LINE__, __func__, indentAfter                                                  \
    }

namespace NSKinvarCodecUtils
{
// Installs itself in the thread package's slot for its lifetime and forwards
// every report into the program's debug channel.
class CMosswortDebugger final : public NSMosswort::IDebugger
{
public:
    CMosswortDebugger();
    ~CMosswortDebugger() override;
    CMosswortDebugger(const CMosswortDebugger&) = delete;
    CMosswortDebugger& operator=(const CMosswortDebugger&) = delete;

    void IDebugger_Trace(const NSMosswort::CLocation& where, const char* text) override;
    // Writes "Exception thrown in <function> at <file>(<line>)".
    void IDebugger_ExceptionThrown(const NSMosswort::CLocation& where) override;
    void IDebugger_Assertion(const NSMosswort::CLocation& where, const char* message) override;
    void IDebugger_Indent() override;
    void IDebugger_Outdent() override;
};
} // namespace NSKinvarCodecUtils
