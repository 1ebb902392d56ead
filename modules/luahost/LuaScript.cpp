#include "LuaScript.h"

#include "ProbeObject.h"

#include "codec/CodecSupport.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace NSLuaHost
{
using namespace NSKinvarCodec;

namespace
{
constexpr const char* kFunctionNames[kFunctionCount] = {"input", "output", "start", "stop", "probe"};
} // namespace

const char* GetFunctionName(EScriptFunction function) { return kFunctionNames[function]; }

TFunctionRefs ReferenceFunctions(lua_State* L, int table, std::string_view fileName, std::string_view text)
{
    TFunctionRefs refs;
    refs.fill(LUA_NOREF);
    table = lua_absindex(L, table);
    for (int function = 0; function < kFunctionCount; ++function)
    {
        const int type = lua_getfield(L, table, kFunctionNames[function]);
        if (type == LUA_TFUNCTION)
        {
            refs[std::size_t(function)] = luaL_ref(L, LUA_REGISTRYINDEX);
            continue;
        }
        if (type != LUA_TNIL)
            throw std::runtime_error(std::string(fileName) + ":" +
                                     std::to_string(FindKeyLine(text, kFunctionNames[function])) + ": \"" +
                                     kFunctionNames[function] + "\" of the script's table must be a function");
        lua_pop(L, 1);
    }
    return refs;
}

std::string ReadScriptText(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (!stream || !(text << stream.rdbuf()))
        throw XScriptError(file.filename().string() + ": the script file cannot be read");
    return text.str();
}

CLuaScript::CLuaScript(std::filesystem::path file, std::string text, IScriptLog& log)
    : fFile(std::move(file)), fFileName(fFile.filename().string()), fText(std::move(text)),
      fState(std::make_unique<CLuaState>(fFileName, log))
{
    fState->Run([this](lua_State* L) {
        fState->RunChunk(L, fText);
        fModels = ReadModels(L, -1, fFileName, fText);
        fFunctions = ReferenceFunctions(L, -1, fFileName, fText);
        fTable = luaL_ref(L, LUA_REGISTRYINDEX);
    });
}

CLuaScript::~CLuaScript() = default;

const TScriptModel* CLuaScript::FindModel(const TControlSurfaceInfo& info) const
{
    for (const TScriptModel& model : fModels)
    {
        if (GetRecordText(model.fInfo.fManufacturer) == GetRecordText(info.fManufacturer) &&
            GetRecordText(model.fInfo.fModel) == GetRecordText(info.fModel))
            return &model;
    }
    return nullptr;
}

const TScriptModel* CLuaScript::FindModel(std::string_view uniqueName) const
{
    for (const TScriptModel& model : fModels)
    {
        if (model.fUniqueName == uniqueName)
            return &model;
    }
    return nullptr;
}

// probe(prober, model), the model being the script's own entry of its list.
void CLuaScript::Probe(const TScriptModel& model, IMIDIProber& prober, IProbeResultGetter& results) const
{
    TProbeRun run{prober, results, model};
    fState->Run([&](lua_State* L) {
        lua_rawgeti(L, LUA_REGISTRYINDEX, fFunctions[kProbeFunction]);
        PushProber(L, run);
        lua_rawgeti(L, LUA_REGISTRYINDEX, fTable);
        lua_getfield(L, -1, "models");
        lua_geti(L, -1, model.fPosition);
        lua_replace(L, -3);
        lua_pop(L, 1);
        lua_call(L, 2, 0);
    });
}
} // namespace NSLuaHost
