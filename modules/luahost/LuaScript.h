#pragma once
// One text of a script file, loaded: it ran in a Lua state of its own, and
// its table's models were read. That state stays with the text for probing,
// which needs no surface. A codec holds the script it runs now; a reload makes
// a new one, and running surfaces keep the one they run until they take over
// the new one.
//
// The models are constant once read. The state is only used under the lock
// of the codec that holds the script.

#include "LuaState.h"
#include "ScriptModel.h"

#include "codec/KinvarCodec.h"

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace NSLuaHost
{
// The functions that a script's table may hold.
enum EScriptFunction
{
    kInputFunction,
    kOutputFunction,
    kStartFunction,
    kStopFunction,
    kProbeFunction,
    kFunctionCount
};

const char* GetFunctionName(EScriptFunction function);

// The registry references of a script table's functions, LUA_NOREF where the
// table has none. Inside a protected call; a field that holds no function is
// an error at its line of the script's text.
using TFunctionRefs = std::array<int, kFunctionCount>;
TFunctionRefs ReferenceFunctions(lua_State* L, int table, std::string_view fileName, std::string_view text);

// The bytes of a script file. Throws XScriptError when it can't be read.
std::string ReadScriptText(const std::filesystem::path& file);

class CLuaScript
{
public:
    // Runs text and reads its models. Throws XScriptError with the message
    // that names the file and line.
    CLuaScript(std::filesystem::path file, std::string text, IScriptLog& log);
    ~CLuaScript();
    CLuaScript(const CLuaScript&) = delete;
    CLuaScript& operator=(const CLuaScript&) = delete;

    const std::filesystem::path& GetFile() const { return fFile; }
    // The file name as messages show it.
    const std::string& GetFileName() const { return fFileName; }
    const std::string& GetText() const { return fText; }
    const std::vector<TScriptModel>& GetModels() const { return fModels; }
    // Null when no model has these names.
    const TScriptModel* FindModel(const NSKinvarCodec::TControlSurfaceInfo& info) const;
    const TScriptModel* FindModel(std::string_view uniqueName) const;

    bool HasProbe() const { return fFunctions[kProbeFunction] != LUA_NOREF; }
    // Runs the script's probe function for the model. Under the codec's lock.
    // Throws XScriptError, and what the prober's statuses stand for.
    void Probe(const TScriptModel& model, NSKinvarCodec::IMIDIProber& prober,
               NSKinvarCodec::IProbeResultGetter& results) const;

private:
    std::filesystem::path fFile;
    std::string fFileName;
    std::string fText;
    std::unique_ptr<CLuaState> fState;
    int fTable = LUA_NOREF;
    TFunctionRefs fFunctions{};
    std::vector<TScriptModel> fModels;
};
} // namespace NSLuaHost
