#pragma once
// One sandboxed Lua state, with the limits that keep a script from taking the
// workbench down with it.
//
// The sandbox holds the base library without dofile and loadfile, with a load
// that takes text chunks only and a collectgarbage that only answers "count";
// the string (without dump), table, math and utf8 libraries; our own midi
// helpers; and a print that hands its line to the state's log. No io, os,
// debug, package or require.
//
// Every entry into the script goes through Run, a protected call with a fresh
// instruction budget. A runaway loop, memory beyond the state's cap, a Lua
// error or a C++ exception ends that call with XScriptError, whose text names
// the script file and the line where Lua knows it, and the state stays usable.
// Once the budget is spent the script cannot catch the error with pcall: every
// further instruction raises it again.
//
// Lua is Debian's C++ build, so a Lua error unwinds C++ frames as an exception
// and their destructors run; C++ exceptions of our own are turned into Lua
// errors before they could reach a Lua frame (see LuaFunction).
//
// No lock inside: the owner guards the state.

#include "foundation/Types.h"

#include <lua.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace NSLuaHost
{
// A script's failure, worded for the user.
class XScriptError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Where the print lines of a state go. Any thread.
class IScriptLog
{
public:
    virtual void IScriptLog_Print(std::string_view line) = 0;

protected:
    ~IScriptLog() = default;
};

// Hands text to the log one line at a time.
void PrintLines(IScriptLog& log, std::string_view text);

struct TScriptLimits
{
    // Lua instructions that one call into the script may run.
    u64 fInstructions = 10'000'000;
    // Bytes that the state may hold.
    std::size_t fMemory = std::size_t(32) << 20;
};

class CLuaState
{
public:
    // fileName is the script's file name as messages show it.
    CLuaState(std::string fileName, IScriptLog& log, TScriptLimits limits = {});
    ~CLuaState();
    CLuaState(const CLuaState&) = delete;
    CLuaState& operator=(const CLuaState&) = delete;

    lua_State* Get() const { return fLua; }
    const std::string& GetFileName() const { return fFileName; }

    // Calls body(lua_State*) in a protected call under a fresh budget. Throws
    // XScriptError when the call fails; the stack is left as it was.
    template <class Body> void Run(Body&& body)
    {
        RunProtected([](void* b, lua_State* L) { (*static_cast<std::remove_reference_t<Body>*>(b))(L); }, &body);
    }

    // Inside Run: compiles text as the script's chunk, runs it and leaves its
    // one result on the stack. Without printing, what the chunk prints is
    // dropped: a surface runs the chunk again after the codec did.
    void RunChunk(lua_State* L, std::string_view text, bool printing = true);

    // "file:line:" of the innermost function of the script that runs, or of the
    // innermost Lua function at all; "file:" when none runs.
    std::string Where(lua_State* L) const;

    static CLuaState& Of(lua_State* L);

private:
    using TInvoke = void (*)(void* body, lua_State* L);
    struct TCall
    {
        TInvoke fInvoke;
        void* fBody;
    };

    void RunProtected(TInvoke invoke, void* body);
    void OpenSandbox(lua_State* L);
    std::string FailureText(int status);
    static int Trampoline(lua_State* L);
    static int MessageHandler(lua_State* L);
    static int AddPlace(lua_State* L);
    static int Panic(lua_State* L);
    static void CountHook(lua_State* L, lua_Debug* ar);
    static void* Allocate(void* self, void* block, std::size_t oldSize, std::size_t newSize) noexcept;

    std::string fFileName;
    std::string fChunkName; // "@" and the file name
    IScriptLog& fLog;
    TScriptLimits fLimits;
    lua_State* fLua = nullptr;
    std::size_t fMemoryUsed = 0;
    i64 fBudgetLeft = 0;
    bool fPrinting = true;
    // Where the script stood when the memory cap refused it, in this call.
    std::string fMemoryFault;

    friend int Print(lua_State* L);
};

// Runs a C function's body for Lua: a C++ exception that it throws becomes a
// Lua error at the line of the script that called it, so that none crosses a
// Lua frame. Lua's own errors pass through.
template <class Body> int CallForLua(lua_State* L, Body&& body)
{
    std::string error;
    try
    {
        return body();
    }
    catch (const std::bad_alloc&)
    {
        error = "not enough memory";
    }
    catch (const std::exception& e)
    {
        error = e.what();
    }
    return luaL_error(L, "%s", error.c_str());
}

template <int (*Body)(lua_State*)> int LuaFunction(lua_State* L)
{
    return CallForLua(L, [L] { return Body(L); });
}

// The bytes of a Lua string argument.
std::string_view CheckBytes(lua_State* L, int index);
} // namespace NSLuaHost
