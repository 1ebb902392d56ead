#pragma once
// The codec object of one script. SetLuaCodec binds the script's file to it;
// the codec lists the script's models, makes surfaces that run the script,
// and probes for them by the models' identity or the script's probe function.
//
// Live reload: while surfaces run, their calls ask the codec, at most every
// 250 ms, whether the file changed on disk. A changed file is loaded anew; if
// that fails, the script as it was keeps running and the call's messages say
// why. A new script is a new generation, which each surface takes over at its
// next call when its model's ports and items are unchanged.
//
// Threads: the codec's own operations come on the user interface thread; the
// poll, the generation and the script come on any thread, under the codec's
// lock, which is taken inside a surface's lock, never around one.

#include "CallMessages.h"
#include "LuaScript.h"
#include "LuaState.h"

#include "codec/KinvarCodec.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace NSLuaHost
{
class CLuaCodec final : public NSKinvarCodec::ICodec2, private IScriptLog
{
public:
    CLuaCodec() = default;
    CLuaCodec(const CLuaCodec&) = delete;
    CLuaCodec& operator=(const CLuaCodec&) = delete;

    NSKinvarCodec::u32 ICodec2_CheckInvariant() override;
    NSKinvarCodec::u32 ICodec2_SetDebugger(NSKinvarCodec::IDebugger* debugger) override;
    NSKinvarCodec::u32 ICodec2_GetMayStayLoaded(NSKinvarCodec::u32* result) override;
    NSKinvarCodec::u32 ICodec2_GetControlSurfaces(NSKinvarCodec::IControlSurfaceInfoGetter& getter,
                                                  NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::IControlSurface* ICodec2_CreateControlSurface(const NSKinvarCodec::TControlSurfaceInfo& info,
                                                                 NSKinvarCodec::u32* status) override;
    NSKinvarCodec::IControlSurface* ICodec2_CreateControlSurfaceByName(const char* uniqueName,
                                                                       NSKinvarCodec::u32* status) override;
    NSKinvarCodec::u32 ICodec2_GetControlSurfacePicture(const NSKinvarCodec::TControlSurfaceInfo& info,
                                                        NSKinvarCodec::u32* hasPicture,
                                                        NSKinvarCodec::u32* pixels) override;
    NSKinvarCodec::u32 ICodec2_ProbeForControlSurface(NSKinvarCodec::IMIDIProber& prober,
                                                      const NSKinvarCodec::TControlSurfaceInfo& info,
                                                      NSKinvarCodec::IProbeResultGetter& results,
                                                      NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 ICodec2_Destroy() override;

    virtual ~CLuaCodec();

    // Binds the script at url, a "file://" URL or a path; a relative path is
    // taken from the scripts folder. Throws XScriptError; the codec then has
    // no models.
    void BindScript(std::string_view url);
    void SetScriptsFolder(std::string folder);

    // ---- For the surfaces; any thread ---------------------------------------------

    // Loads the script anew when its file changed; says what happened in out.
    void PollForChange(CCallMessages& out);
    NSKinvarCodec::u32 GetGeneration() const { return fGeneration.load(std::memory_order_acquire); }
    std::shared_ptr<const CLuaScript> GetScript() const;
    // Where the print lines of the script's states go: the host's debug
    // channel as "[Lua]" lines, which reach the log window.
    IScriptLog& GetLog() { return *this; }

private:
    struct TFileStamp
    {
        std::filesystem::file_time_type fTime;
        std::uintmax_t fSize = 0;
        bool operator==(const TFileStamp&) const = default;
    };

    template <class Body> NSKinvarCodec::u32 Guarded(NSKinvarCodec::ITextGetter* messages, Body&& body);
    template <class FindModel>
    NSKinvarCodec::IControlSurface* CreateSurface(FindModel&& findModel, NSKinvarCodec::u32 unknownStatus,
                                                  NSKinvarCodec::u32* status);
    std::shared_ptr<const CLuaScript> GetBoundScript(CCallMessages& out) const;
    static std::optional<TFileStamp> StampOf(const std::filesystem::path& file);
    void IScriptLog_Print(std::string_view line) override;

    mutable std::mutex fLock;
    std::filesystem::path fFile;
    std::string fScriptsFolder;
    std::shared_ptr<const CLuaScript> fScript;
    // Why the script could not be bound, for every later question.
    std::string fBindFailure;
    TFileStamp fStamp;
    std::atomic<NSKinvarCodec::u32> fGeneration{0};
    // Nanoseconds of the steady clock when the next poll is due.
    std::atomic<i64> fNextPoll{0};
    std::atomic<NSKinvarCodec::IDebugger*> fDebugger{nullptr};
};

// The "[Lua]" lines and failed assertions of code of this module that runs
// outside a call with a text getter go to the debugger that a codec of the
// module was given last. Any thread.
void SetModuleDebugger(NSKinvarCodec::IDebugger* debugger, NSKinvarCodec::IDebugger* withdrawn);
NSKinvarCodec::IDebugger* GetModuleDebugger();
} // namespace NSLuaHost
