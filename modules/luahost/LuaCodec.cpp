#include "LuaCodec.h"

#include "LuaSurface.h"

#include "generic/GenericMidiCodec.h"

#include "codec/CodecSupport.h"

#include <chrono>
#include <cstring>
#include <new>

namespace NSLuaHost
{
using namespace NSKinvarCodec;
using NSKinvarCodec::kCodecOK;
namespace fs = std::filesystem;

namespace
{
constexpr std::chrono::nanoseconds kPollInterval = std::chrono::milliseconds(250);

std::atomic<IDebugger*> gModuleDebugger{nullptr};

// The path of a "file://" URL, its %XX escapes decoded; anything else is taken
// as a path already.
fs::path PathFromURL(std::string_view url)
{
    constexpr std::string_view kScheme = "file://";
    if (url.substr(0, kScheme.size()) != kScheme)
        return fs::path(std::string(url));
    url.remove_prefix(kScheme.size());
    std::string path;
    for (std::size_t i = 0; i < url.size(); ++i)
    {
        const bool escape = url[i] == '%' && i + 2 < url.size();
        const int high = escape ? NSGenericMidiCodec::HexDigitValue(char16(url[i + 1])) : -1;
        const int low = escape ? NSGenericMidiCodec::HexDigitValue(char16(url[i + 2])) : -1;
        if (high >= 0 && low >= 0)
        {
            path += char(high * 16 + low);
            i += 2;
        }
        else
            path += url[i];
    }
    return fs::path(path);
}

i64 SteadyNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
} // namespace

void SetModuleDebugger(IDebugger* debugger, IDebugger* withdrawn)
{
    if (debugger != nullptr)
        gModuleDebugger.store(debugger);
    else
        gModuleDebugger.compare_exchange_strong(withdrawn, nullptr);
}

IDebugger* GetModuleDebugger() { return gModuleDebugger.load(); }

CLuaCodec::~CLuaCodec() = default;

template <class Body> u32 CLuaCodec::Guarded(ITextGetter* messages, Body&& body)
{
    CCallMessages out;
    const u32 status = GuardCodecOperation([this] { return ICodec2_CheckInvariant(); },
                                           [&] { ReportScriptErrors(out, body); });
    out.Deliver(messages);
    return status;
}

u32 CLuaCodec::ICodec2_CheckInvariant() { return 1; }

u32 CLuaCodec::ICodec2_SetDebugger(IDebugger* debugger)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        SetModuleDebugger(debugger, fDebugger.load());
        fDebugger.store(debugger);
    });
}

// A codec may stay in a host's cache: it loads its script anew by itself.
u32 CLuaCodec::ICodec2_GetMayStayLoaded(u32* result)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (result == nullptr)
            throw std::invalid_argument("NULL result pointer");
        *result = 1;
    });
}

std::shared_ptr<const CLuaScript> CLuaCodec::GetScript() const
{
    std::lock_guard lock(fLock);
    return fScript;
}

std::shared_ptr<const CLuaScript> CLuaCodec::GetBoundScript(CCallMessages& out) const
{
    std::lock_guard lock(fLock);
    if (fScript)
        return fScript;
    if (fBindFailure.empty())
        throw XIllegalCallSequence();
    out.Add(fBindFailure);
    throw XBadFormat();
}

u32 CLuaCodec::ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter& getter, ITextGetter& messages)
{
    return Guarded(&messages, [&](CCallMessages& out) {
        const std::shared_ptr<const CLuaScript> script = GetBoundScript(out);
        std::vector<TControlSurfaceInfo> infos;
        for (const TScriptModel& model : script->GetModels())
            infos.push_back(model.fInfo);
        ThrowCodecResult(getter.IControlSurfaceInfoGetter_Take(infos.data(), u32(infos.size())));
    });
}

// The call carries no text getter: what the script says goes to the log as
// "[Lua]" lines.
template <class FindModel>
IControlSurface* CLuaCodec::CreateSurface(FindModel&& findModel, u32 unknownStatus, u32* status)
{
    IControlSurface* surface = nullptr;
    CCallMessages out;
    u32 result = GuardCodecOperation([this] { return ICodec2_CheckInvariant(); }, [&] {
        ReportScriptErrors(out, [&](CCallMessages& said) {
            const std::shared_ptr<const CLuaScript> script = GetBoundScript(said);
            const TScriptModel* model = findModel(*script);
            if (model != nullptr)
                surface = new CLuaControlSurface(*this, script, *model);
        });
    });
    if (result == kCodecOK && surface == nullptr)
        result = unknownStatus;
    if (!out.GetText().empty())
        PrintLines(*this, out.GetText());
    if (status != nullptr)
        *status = result;
    return surface;
}

IControlSurface* CLuaCodec::ICodec2_CreateControlSurface(const TControlSurfaceInfo& info, u32* status)
{
    return CreateSurface([&](const CLuaScript& script) { return script.FindModel(info); }, kCodecInvalidArgument,
                         status);
}

IControlSurface* CLuaCodec::ICodec2_CreateControlSurfaceByName(const char* uniqueName, u32* status)
{
    return CreateSurface(
        [&](const CLuaScript& script) {
            return uniqueName != nullptr ? script.FindModel(std::string_view(uniqueName)) : nullptr;
        },
        kCodecUnsupportedInterface, status);
}

u32 CLuaCodec::ICodec2_GetControlSurfacePicture(const TControlSurfaceInfo&, u32* hasPicture, u32*)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (hasPicture == nullptr)
            throw std::invalid_argument("NULL hasPicture pointer");
        *hasPicture = 0;
    });
}

// Under the codec's lock, which keeps the script's state to this probe; a
// surface's poll meanwhile passes over the lock.
u32 CLuaCodec::ICodec2_ProbeForControlSurface(IMIDIProber& prober, const TControlSurfaceInfo& info,
                                              IProbeResultGetter& results, ITextGetter& messages)
{
    return Guarded(&messages, [&](CCallMessages& out) {
        const std::shared_ptr<const CLuaScript> script = GetBoundScript(out);
        std::lock_guard lock(fLock);
        const TScriptModel* model = script->FindModel(info);
        if (model == nullptr)
            throw std::invalid_argument("Unsupported Control Surface");
        if (!model->fIdentityResponse.empty())
        {
            const NSGenericMidiCodec::CMapRule& response = model->fIdentityResponse.front();
            NSGenericMidiCodec::ProbeByIdentity(
                prober, model->fIdentityRequest,
                [&response](const u8* data, u32 size) {
                    i64 x = 0, y = 0, z = 0;
                    return response.Match(data, size, x, y, z);
                },
                model->fInfo.fInPortCount, model->fUniqueName, results);
        }
        else if (script->HasProbe())
            script->Probe(*model, prober, results);
    });
}

u32 CLuaCodec::ICodec2_Destroy()
{
    SetModuleDebugger(nullptr, fDebugger.load());
    delete this;
    return kCodecOK;
}

void CLuaCodec::BindScript(std::string_view url)
{
    fs::path file = PathFromURL(url);
    std::lock_guard lock(fLock);
    if (file.is_relative() && !fScriptsFolder.empty())
        file = fs::path(fScriptsFolder) / file;
    fScript.reset();
    fFile = file;
    try
    {
        const std::optional<TFileStamp> stamp = StampOf(file);
        fScript = std::make_shared<const CLuaScript>(file, ReadScriptText(file), GetLog());
        fStamp = stamp.value_or(TFileStamp{});
        fBindFailure.clear();
    }
    catch (const XScriptError& e)
    {
        fBindFailure = e.what();
        throw;
    }
    fGeneration.fetch_add(1, std::memory_order_release);
}

void CLuaCodec::SetScriptsFolder(std::string folder)
{
    std::lock_guard lock(fLock);
    fScriptsFolder = std::move(folder);
}

std::optional<CLuaCodec::TFileStamp> CLuaCodec::StampOf(const fs::path& file)
{
    std::error_code error;
    TFileStamp stamp;
    stamp.fTime = fs::last_write_time(file, error);
    if (!error)
        stamp.fSize = fs::file_size(file, error);
    if (error)
        return std::nullopt;
    return stamp;
}

void CLuaCodec::PollForChange(CCallMessages& out)
{
    const i64 now = SteadyNanoseconds();
    i64 due = fNextPoll.load(std::memory_order_relaxed);
    if (now < due || !fNextPoll.compare_exchange_strong(due, now + kPollInterval.count()))
        return;
    std::unique_lock lock(fLock, std::try_to_lock);
    if (!lock.owns_lock() || !fScript)
        return;
    // A file that is missing for a moment may be in the middle of a save.
    const std::optional<TFileStamp> stamp = StampOf(fFile);
    if (!stamp || *stamp == fStamp)
        return;
    fStamp = *stamp;
    const std::string fileName = fScript->GetFileName();
    try
    {
        std::string text = ReadScriptText(fFile);
        if (text == fScript->GetText())
            return;
        fScript = std::make_shared<const CLuaScript>(fFile, std::move(text), GetLog());
        fGeneration.fetch_add(1, std::memory_order_release);
        out.Add(fileName + " changed on disk and was loaded anew.");
    }
    catch (const XScriptError& e)
    {
        out.Add(fileName + " changed on disk, but the new text does not load; the script as it was keeps running:");
        out.Add(e.what());
    }
}

void CLuaCodec::IScriptLog_Print(std::string_view line)
{
    IDebugger* debugger = fDebugger.load();
    if (debugger != nullptr)
        debugger->IDebugger_Trace(("[Lua] " + std::string(line)).c_str());
}
} // namespace NSLuaHost
