#include "ProbeObject.h"

#include "LuaState.h"
#include "MidiLibrary.h"

#include "foundation/Failures.h"

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace NSLuaHost
{
namespace
{
using namespace NSKinvarCodec;

constexpr std::chrono::milliseconds kMaxWait{5000};

TProbeRun& RunOf(lua_State* L) { return *static_cast<TProbeRun*>(lua_touserdata(L, lua_upvalueindex(1))); }

u32 Count(u32 (IMIDIProber::*count)(u32*), IMIDIProber& prober)
{
    u32 result = 0;
    ThrowCodecResult((prober.*count)(&result));
    return result;
}

u32 CheckPort(lua_State* L, int index, u32 count)
{
    const lua_Integer port = luaL_checkinteger(L, index);
    if (port < 1 || port > lua_Integer(count))
        luaL_error(L, "port %d does not exist: the prober has %d", int(port), int(count));
    return u32(port - 1);
}

class CMessageList : public IMIDIEventGetter
{
public:
    std::vector<std::string> fMessages;

    u32 IMIDIEventGetter_Take(const TMIDIEvent* events, u32 count) override
    {
        for (u32 i = 0; i < count; ++i)
            fMessages.emplace_back(reinterpret_cast<const char*>(events[i].fData),
                                   std::min(events[i].fSize, kMaxMIDIEventSize));
        return NSKinvarCodec::kCodecOK;
    }
};

int Send(lua_State* L)
{
    TProbeRun& run = RunOf(L);
    const u32 port = CheckPort(L, 2, Count(&IMIDIProber::IMIDIProber_GetOutPortCount, run.fProber));
    const std::string message = CheckMessage(L, 3);
    if (message.empty() || message.size() > kMaxMIDIEventSize)
        return luaL_error(L, "a message has 1 to 1024 bytes");
    TMIDIEvent event{};
    event.fSize = u32(message.size());
    std::copy(message.begin(), message.end(), event.fData);
    ThrowCodecResult(run.fProber.IMIDIProber_SendEvents(port, 1, &event));
    return 0;
}

int Receive(lua_State* L)
{
    TProbeRun& run = RunOf(L);
    const u32 port = CheckPort(L, 2, Count(&IMIDIProber::IMIDIProber_GetInPortCount, run.fProber));
    CMessageList list;
    ThrowCodecResult(run.fProber.IMIDIProber_GetEvents(port, list));
    lua_createtable(L, int(list.fMessages.size()), 0);
    for (std::size_t i = 0; i < list.fMessages.size(); ++i)
    {
        lua_pushlstring(L, list.fMessages[i].data(), list.fMessages[i].size());
        lua_rawseti(L, -2, lua_Integer(i + 1));
    }
    return 1;
}

int Wait(lua_State* L)
{
    TProbeRun& run = RunOf(L);
    const std::chrono::milliseconds time(luaL_checkinteger(L, 2));
    if (time.count() < 0 || run.fWaited + time > kMaxWait)
        return luaL_error(L, "a probe waits at most 5000 ms in all");
    run.fWaited += time;
    std::this_thread::sleep_for(time);
    return 0;
}

// Fills count entries of the port map from the list at index.
void MapPorts(lua_State* L, int index, u32 modelCount, u32 proberCount, u32* entries)
{
    luaL_checktype(L, index, LUA_TTABLE);
    const lua_Integer length = luaL_len(L, index);
    if (length > lua_Integer(modelCount))
        luaL_error(L, "the model has %d such ports, not %d", int(modelCount), int(length));
    for (lua_Integer i = 1; i <= length; ++i)
    {
        lua_geti(L, index, i);
        entries[i - 1] = CheckPort(L, lua_gettop(L), proberCount);
        lua_pop(L, 1);
    }
}

int Found(lua_State* L)
{
    TProbeRun& run = RunOf(L);
    const TControlSurfaceInfo& info = run.fModel.fInfo;
    u32 portMap[kPortMapSize];
    std::fill(std::begin(portMap), std::end(portMap), kUnusedPort);
    MapPorts(L, 2, info.fOutPortCount, Count(&IMIDIProber::IMIDIProber_GetOutPortCount, run.fProber), portMap);
    MapPorts(L, 3, info.fInPortCount, Count(&IMIDIProber::IMIDIProber_GetInPortCount, run.fProber),
             portMap + kPortMapFirstInPort);
    ThrowCodecResult(run.fResults.IProbeResultGetter_Take(run.fModel.fUniqueName.c_str(), portMap));
    return 0;
}

const luaL_Reg kMethods[] = {
    {"send", &LuaFunction<&Send>},
    {"receive", &LuaFunction<&Receive>},
    {"wait", &LuaFunction<&Wait>},
    {"found", &LuaFunction<&Found>},
    {nullptr, nullptr},
};
} // namespace

void PushProber(lua_State* L, TProbeRun& run)
{
    lua_createtable(L, 0, 6);
    lua_pushlightuserdata(L, &run);
    luaL_setfuncs(L, kMethods, 1);
    lua_pushinteger(L, Count(&IMIDIProber::IMIDIProber_GetOutPortCount, run.fProber));
    lua_setfield(L, -2, "outputs");
    lua_pushinteger(L, Count(&IMIDIProber::IMIDIProber_GetInPortCount, run.fProber));
    lua_setfield(L, -2, "inputs");
}
} // namespace NSLuaHost
