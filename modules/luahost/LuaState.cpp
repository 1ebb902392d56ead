#include "LuaState.h"

#include "MidiLibrary.h"

#include <cstdlib>
#include <cstring>

namespace NSLuaHost
{
namespace
{
// The count hook looks at the budget every this many instructions.
constexpr int kHookInterval = 1000;
// A print line is cut here: the log window is no place for megabytes.
constexpr std::size_t kMaxPrintLength = 4000;

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

// load, for text chunks only: binary chunks bypass the compiler's checks.
int SafeLoad(lua_State* L)
{
    const char* mode = luaL_optstring(L, 3, "t");
    if (std::strchr(mode, 'b') != nullptr)
        return luaL_error(L, "binary chunks are not allowed");
    const bool hasEnvironment = !lua_isnone(L, 4);
    lua_settop(L, 4);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_pushvalue(L, 1);
    lua_pushvalue(L, 2);
    lua_pushliteral(L, "t");
    if (hasEnvironment)
        lua_pushvalue(L, 4);
    lua_call(L, hasEnvironment ? 4 : 3, LUA_MULTRET);
    return lua_gettop(L) - 4;
}

// collectgarbage, which only tells how much memory the state holds: the
// collector's settings belong to the host.
int CountOnlyCollectGarbage(lua_State* L)
{
    const char* option = luaL_optstring(L, 1, "collect");
    if (std::strcmp(option, "count") != 0)
        return luaL_error(L, "collectgarbage only answers \"count\" here");
    const int kilobytes = lua_gc(L, LUA_GCCOUNT);
    const int bytes = lua_gc(L, LUA_GCCOUNTB);
    lua_pushnumber(L, lua_Number(kilobytes) + lua_Number(bytes) / 1024);
    return 1;
}

void Require(lua_State* L, const char* name, lua_CFunction open)
{
    luaL_requiref(L, name, open, 1);
    lua_pop(L, 1);
}

void Remove(lua_State* L, const char* table, const char* name)
{
    lua_getglobal(L, table);
    lua_pushnil(L);
    lua_setfield(L, -2, name);
    lua_pop(L, 1);
}
} // namespace

// Writes its arguments, as tostring makes them and TAB between them, as lines
// of the log.
int Print(lua_State* L)
{
    if (!CLuaState::Of(L).fPrinting)
        return 0;
    const int count = lua_gettop(L);
    std::string line;
    for (int i = 1; i <= count; ++i)
    {
        std::size_t length = 0;
        const char* text = luaL_tolstring(L, i, &length);
        if (i > 1)
            line += '\t';
        line.append(text, length);
        lua_pop(L, 1);
    }
    if (line.size() > kMaxPrintLength)
        line.resize(kMaxPrintLength);
    PrintLines(CLuaState::Of(L).fLog, line);
    return 0;
}

void PrintLines(IScriptLog& log, std::string_view text)
{
    for (;;)
    {
        const std::size_t end = text.find('\n');
        log.IScriptLog_Print(text.substr(0, end));
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
}

std::string_view CheckBytes(lua_State* L, int index)
{
    std::size_t length = 0;
    const char* bytes = luaL_checklstring(L, index, &length);
    return std::string_view(bytes, length);
}

CLuaState::CLuaState(std::string fileName, IScriptLog& log, TScriptLimits limits)
    : fFileName(std::move(fileName)), fChunkName("@" + fFileName), fLog(log), fLimits(limits)
{
    fLua = lua_newstate(&Allocate, this);
    if (fLua == nullptr)
        throw XScriptError(fFileName + ": not enough memory for a Lua state");
    *static_cast<CLuaState**>(lua_getextraspace(fLua)) = this;
    lua_atpanic(fLua, &Panic);
    try
    {
        Run([this](lua_State* L) { OpenSandbox(L); });
    }
    catch (...)
    {
        lua_close(fLua);
        throw;
    }
}

CLuaState::~CLuaState()
{
    // Finalizers of the script run at close: they get no budget.
    fBudgetLeft = 0;
    lua_close(fLua);
}

CLuaState& CLuaState::Of(lua_State* L) { return **static_cast<CLuaState**>(lua_getextraspace(L)); }

void CLuaState::OpenSandbox(lua_State* L)
{
    Require(L, LUA_GNAME, luaopen_base);
    Require(L, LUA_STRLIBNAME, luaopen_string);
    Require(L, LUA_TABLIBNAME, luaopen_table);
    Require(L, LUA_MATHLIBNAME, luaopen_math);
    Require(L, LUA_UTF8LIBNAME, luaopen_utf8);
    Remove(L, LUA_GNAME, "dofile");
    Remove(L, LUA_GNAME, "loadfile");
    Remove(L, LUA_STRLIBNAME, "dump");
    lua_getglobal(L, "load");
    lua_pushcclosure(L, &SafeLoad, 1);
    lua_setglobal(L, "load");
    lua_register(L, "collectgarbage", &CountOnlyCollectGarbage);
    lua_register(L, "print", &LuaFunction<&Print>);
    OpenMidiLibrary(L);
    lua_setglobal(L, "midi");
}

void CLuaState::RunChunk(lua_State* L, std::string_view text, bool printing)
{
    if (luaL_loadbufferx(L, text.data(), text.size(), fChunkName.c_str(), "t") != LUA_OK)
        lua_error(L);
    struct TPrinting
    {
        bool& fFlag;
        ~TPrinting() { fFlag = true; }
    } restore{fPrinting};
    fPrinting = printing;
    lua_call(L, 0, 1);
}

void CLuaState::RunProtected(TInvoke invoke, void* body)
{
    lua_State* L = fLua;
    const int top = lua_gettop(L);
    fBudgetLeft = i64(fLimits.fInstructions);
    fMemoryFault.clear();
    lua_sethook(L, &CountHook, LUA_MASKCOUNT, kHookInterval);
    TCall call{invoke, body};
    lua_pushcfunction(L, &MessageHandler);
    lua_pushcfunction(L, &Trampoline);
    lua_pushlightuserdata(L, &call);
    const int status = lua_pcall(L, 1, 0, top + 1);
    if (status == LUA_OK)
    {
        lua_settop(L, top);
        return;
    }
    std::string text = FailureText(status);
    lua_settop(L, top);
    if (status == LUA_ERRMEM)
        lua_gc(L, LUA_GCCOLLECT);
    throw XScriptError(text);
}

std::string CLuaState::FailureText(int status)
{
    if (status == LUA_ERRMEM)
    {
        const std::string where = fMemoryFault.empty() ? fFileName + ":" : fMemoryFault;
        return where + " the script needs more than " + std::to_string(fLimits.fMemory >> 20) +
               " MB of memory";
    }
    const char* text = lua_tostring(fLua, -1);
    return text != nullptr ? text : fFileName + ": unknown error";
}

int CLuaState::Trampoline(lua_State* L)
{
    const TCall call = *static_cast<TCall*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    return CallForLua(L, [&] {
        call.fInvoke(call.fBody, L);
        return 0;
    });
}

// Gives every error a text that begins with the place in the script.
int CLuaState::MessageHandler(lua_State* L)
{
    return CallForLua(L, [L] { return AddPlace(L); });
}

int CLuaState::AddPlace(lua_State* L)
{
    const CLuaState& self = Of(L);
    if (lua_type(L, 1) != LUA_TSTRING && lua_type(L, 1) != LUA_TNUMBER)
        lua_pushfstring(L, "error object is a %s value", luaL_typename(L, 1));
    else
        lua_pushvalue(L, 1);
    const std::string_view text = lua_tostring(L, -1);
    if (!StartsWith(text, self.fFileName + ":"))
    {
        const std::string where = self.Where(L);
        lua_pushfstring(L, "%s %s", where.c_str(), lua_tostring(L, -1));
    }
    return 1;
}

std::string CLuaState::Where(lua_State* L) const
{
    lua_Debug ar;
    std::string innermost;
    for (int level = 0; lua_getstack(L, level, &ar) != 0; ++level)
    {
        if (lua_getinfo(L, "Sl", &ar) == 0 || ar.currentline <= 0)
            continue;
        std::string where = std::string(ar.short_src) + ":" + std::to_string(ar.currentline) + ":";
        if (ar.source != nullptr && fChunkName == ar.source)
            return where;
        if (innermost.empty())
            innermost = std::move(where);
    }
    return innermost.empty() ? fFileName + ":" : innermost;
}

int CLuaState::Panic(lua_State* L)
{
    // Every entry runs in a protected call, so this is a fault of ours; Lua
    // would abort the process after this function returns.
    const char* text = lua_tostring(L, -1);
    throw XScriptError(Of(L).fFileName + ": Lua failed outside a protected call: " +
                       (text != nullptr ? text : "?"));
}

void CLuaState::CountHook(lua_State* L, lua_Debug* ar)
{
    CLuaState& self = Of(L);
    self.fBudgetLeft -= kHookInterval;
    if (self.fBudgetLeft > 0)
        return;
    // From now on every instruction fails, so that pcall in the script cannot
    // keep the loop alive.
    lua_sethook(L, &CountHook, LUA_MASKCOUNT, 1);
    lua_getinfo(L, "Sl", ar);
    lua_pushfstring(L, "%s:%d: the script ran too long (more than %I Lua instructions in one call)", ar->short_src,
                    ar->currentline, lua_Integer(self.fLimits.fInstructions));
    lua_error(L);
}

void* CLuaState::Allocate(void* state, void* block, std::size_t oldSize, std::size_t newSize) noexcept
{
    CLuaState& self = *static_cast<CLuaState*>(state);
    const std::size_t held = block != nullptr ? oldSize : 0;
    if (newSize == 0)
    {
        std::free(block);
        self.fMemoryUsed -= held;
        return nullptr;
    }
    if (newSize > held && self.fMemoryUsed + (newSize - held) > self.fLimits.fMemory)
    {
        // Lua raises its memory error without a place; keep the place now.
        if (self.fMemoryFault.empty() && self.fLua != nullptr)
        {
            try
            {
                self.fMemoryFault = self.Where(self.fLua);
            }
            catch (...)
            {
            }
        }
        return nullptr;
    }
    void* grown = std::realloc(block, newSize);
    if (grown != nullptr)
        self.fMemoryUsed = self.fMemoryUsed - held + newSize;
    return grown;
}
} // namespace NSLuaHost
