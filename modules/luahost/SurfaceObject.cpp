#include "SurfaceObject.h"

#include "LuaState.h"
#include "LuaSurface.h"
#include "MidiLibrary.h"

namespace NSLuaHost
{
namespace
{
using namespace NSKinvarCodec;

// The upvalues of the methods.
constexpr int kSurfaceUpvalue = 1;
constexpr int kNamesUpvalue = 2;   // item number -> name
constexpr int kNumbersUpvalue = 3; // name -> item number

CLuaControlSurface& SurfaceOf(lua_State* L)
{
    return *static_cast<CLuaControlSurface*>(lua_touserdata(L, lua_upvalueindex(kSurfaceUpvalue)));
}

// An item argument, by number from 1 or by name, as the index from 0.
u32 CheckItem(lua_State* L, int index)
{
    const lua_Integer count = lua_Integer(SurfaceOf(L).GetModel().fItems.size());
    if (lua_type(L, index) == LUA_TSTRING)
    {
        lua_pushvalue(L, index);
        if (lua_rawget(L, lua_upvalueindex(kNumbersUpvalue)) != LUA_TNUMBER)
            luaL_error(L, "the surface has no item \"%s\"", lua_tostring(L, index));
        const lua_Integer number = lua_tointeger(L, -1);
        lua_pop(L, 1);
        return u32(number - 1);
    }
    const lua_Integer number = luaL_checkinteger(L, index);
    if (number < 1 || number > count)
        luaL_error(L, "the surface has no item %d: it has %d", int(number), int(count));
    return u32(number - 1);
}

u32 CheckOutPort(lua_State* L, int index)
{
    const lua_Integer count = lua_Integer(SurfaceOf(L).GetModel().fInfo.fOutPortCount);
    const lua_Integer port = luaL_checkinteger(L, index);
    if (port < 1 || port > count)
        luaL_error(L, "the surface has no output port %d: it has %d", int(port), int(count));
    return u32(port - 1);
}

// A record's text as UTF-8; what is no valid UTF-16 becomes "?".
template <std::size_t N> void SetText(lua_State* L, const char* key, const char16 (&field)[N])
{
    char utf8[N * 3];
    std::size_t size = 0;
    for (std::size_t i = 0; i < N && field[i] != 0; ++i)
    {
        char32_t c = field[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < N && field[i + 1] >= 0xDC00 && field[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (field[++i] - 0xDC00);
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = '?';
        if (c < 0x80)
            utf8[size++] = char(c);
        else if (c < 0x800)
        {
            utf8[size++] = char(0xC0 | (c >> 6));
            utf8[size++] = char(0x80 | (c & 0x3F));
        }
        else if (c < 0x10000)
        {
            utf8[size++] = char(0xE0 | (c >> 12));
            utf8[size++] = char(0x80 | ((c >> 6) & 0x3F));
            utf8[size++] = char(0x80 | (c & 0x3F));
        }
        else
        {
            utf8[size++] = char(0xF0 | (c >> 18));
            utf8[size++] = char(0x80 | ((c >> 12) & 0x3F));
            utf8[size++] = char(0x80 | ((c >> 6) & 0x3F));
            utf8[size++] = char(0x80 | (c & 0x3F));
        }
    }
    lua_pushlstring(L, utf8, size);
    lua_setfield(L, -2, key);
}

void SetInteger(lua_State* L, const char* key, lua_Integer value)
{
    lua_pushinteger(L, value);
    lua_setfield(L, -2, key);
}

void SetString(lua_State* L, const char* key, const std::string& value)
{
    lua_pushlstring(L, value.data(), value.size());
    lua_setfield(L, -2, key);
}

int Input(lua_State* L)
{
    const u32 item = CheckItem(L, 2);
    SurfaceOf(L).PassInput(item, luaL_checkinteger(L, 3), luaL_optinteger(L, 4, 0), luaL_optinteger(L, 5, 0));
    return 0;
}

int State(lua_State* L)
{
    const CLuaControlSurface& surface = SurfaceOf(L);
    const u32 item = CheckItem(L, 2);
    const TItemState& state = surface.GetState(item);
    const std::vector<std::string>& stateNames = surface.GetModel().fItems[item].fStateNames;
    lua_createtable(L, 0, 12);
    lua_pushboolean(L, state.fEnabled != 0);
    lua_setfield(L, -2, "enabled");
    SetInteger(L, "value", state.fValue);
    SetInteger(L, "state", lua_Integer(state.fStateIndex) + 1);
    if (state.fStateIndex < stateNames.size())
        SetString(L, "state_name", stateNames[state.fStateIndex]);
    SetText(L, "text", state.fValueText);
    SetText(L, "name", state.fName);
    SetText(L, "short_name", state.fShortName);
    SetText(L, "shortest_name", state.fShortestName);
    SetText(L, "name_and_value", state.fNameAndValue);
    SetText(L, "short_name_and_value", state.fShortNameAndValue);
    SetText(L, "shortest_name_and_value", state.fShortestNameAndValue);
    return 1;
}

int Changed(lua_State* L)
{
    const CLuaControlSurface& surface = SurfaceOf(L);
    const std::optional<u32> callPort = surface.GetCallPort();
    if (lua_isnoneornil(L, 2) && !callPort)
        return luaL_error(L, "surface:changed needs a port outside output, start and stop");
    const u32 port = lua_isnoneornil(L, 2) ? *callPort : CheckOutPort(L, 2);
    const std::size_t count = surface.GetModel().fItems.size();
    lua_createtable(L, 16, 0);
    lua_Integer found = 0;
    for (std::size_t item = 0; item < count; ++item)
    {
        if (!surface.HasChanged(u32(item), port))
            continue;
        lua_rawgeti(L, lua_upvalueindex(kNamesUpvalue), lua_Integer(item) + 1);
        lua_rawseti(L, -2, ++found);
    }
    return 1;
}

int Send(lua_State* L)
{
    const u32 port = CheckOutPort(L, 2);
    SurfaceOf(L).Send(port, CheckMessage(L, 3));
    return 0;
}

const char* KindName(u32 kind)
{
    switch (kind)
    {
    case kInputButton:
        return "button";
    case kInputValue:
    case kOutputValue:
        return "value";
    case kInputDelta:
        return "delta";
    case kInputKeyboard:
        return "keyboard";
    case kOutputText:
        return "text";
    default:
        return nullptr;
    }
}

int Item(lua_State* L)
{
    const u32 index = CheckItem(L, 2);
    const TScriptItem& item = SurfaceOf(L).GetModel().fItems[index];
    lua_createtable(L, 0, 7);
    SetInteger(L, "index", lua_Integer(index) + 1);
    SetString(L, "name", item.fName);
    for (const auto& [key, kind] :
         {std::pair("input", item.fInfo.fInputKind), std::pair("output", item.fInfo.fOutputKind)})
    {
        if (const char* name = KindName(kind))
        {
            lua_pushstring(L, name);
            lua_setfield(L, -2, key);
        }
    }
    SetInteger(L, "min", item.fInfo.fMin);
    SetInteger(L, "max", item.fInfo.fMax);
    lua_createtable(L, int(item.fStateNames.size()), 0);
    for (std::size_t i = 0; i < item.fStateNames.size(); ++i)
    {
        lua_pushlstring(L, item.fStateNames[i].data(), item.fStateNames[i].size());
        lua_rawseti(L, -2, lua_Integer(i) + 1);
    }
    lua_setfield(L, -2, "states");
    return 1;
}

const luaL_Reg kMethods[] = {
    {"input", &LuaFunction<&Input>},
    {"state", &LuaFunction<&State>},
    {"changed", &LuaFunction<&Changed>},
    {"send", &LuaFunction<&Send>},
    {"item", &LuaFunction<&Item>},
    {nullptr, nullptr},
};

// A list of the item names, and the reverse.
void PushNames(lua_State* L, const TScriptModel& model)
{
    lua_createtable(L, int(model.fItems.size()), 0);
    lua_createtable(L, 0, int(model.fItems.size()));
    for (std::size_t i = 0; i < model.fItems.size(); ++i)
    {
        const std::string& name = model.fItems[i].fName;
        lua_pushlstring(L, name.data(), name.size());
        lua_pushvalue(L, -1);
        lua_rawseti(L, -4, lua_Integer(i) + 1);
        lua_pushinteger(L, lua_Integer(i) + 1);
        lua_rawset(L, -3);
    }
}
} // namespace

void PushSurfaceObject(lua_State* L, CLuaControlSurface& surface, const TScriptModel& model)
{
    lua_createtable(L, 0, 8);
    SetString(L, "manufacturer", model.fManufacturer);
    SetString(L, "model", model.fModel);
    PushNames(L, model);
    // The object's own copy of the list, which the script may change freely.
    lua_createtable(L, int(model.fItems.size()), 0);
    for (std::size_t i = 0; i < model.fItems.size(); ++i)
    {
        lua_rawgeti(L, -3, lua_Integer(i) + 1);
        lua_rawseti(L, -2, lua_Integer(i) + 1);
    }
    lua_setfield(L, -4, "items");
    lua_pushlightuserdata(L, &surface);
    lua_rotate(L, -3, 1);
    luaL_setfuncs(L, kMethods, 3);
}
} // namespace NSLuaHost
