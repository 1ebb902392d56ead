#pragma once
// A surface made by a script: one model of it, running in a Lua state of its
// own.
//
// Input: a message goes to the items' midi rules first, as a definition
// file's rows decode (also across up to three messages); a message that no
// rule takes goes to the script's input function. Output: the host's item
// states are kept here, each item marked changed for every output port when
// its state differs from the last; the script's output function runs in every
// frame, then the marks of that port are cleared. What the script sends to the
// port of the running call goes out with it; what it sends to another port
// waits for that port's next call.
//
// A script function that fails is switched off for this surface until the
// script is loaded anew, so that a broken function costs one message, not one
// for each message or frame.
//
// Threads: input comes on a MIDI thread, frames on the user interface thread.
// Every operation but Destroy holds the surface's own lock, and the state is
// used only under it.

#include "CallMessages.h"
#include "LuaScript.h"
#include "LuaState.h"
#include "ScriptModel.h"

#include "generic/RuleDispatcher.h"

#include "codec/KinvarCodec.h"

#include <array>
#include <bitset>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

namespace NSLuaHost
{
class CLuaCodec;

class CLuaControlSurface final : public NSKinvarCodec::IControlSurface
{
public:
    // Runs the script in a state of its own for the model, which belongs to
    // script. Throws XScriptError.
    CLuaControlSurface(CLuaCodec& codec, std::shared_ptr<const CLuaScript> script, const TScriptModel& model);
    CLuaControlSurface(const CLuaControlSurface&) = delete;
    CLuaControlSurface& operator=(const CLuaControlSurface&) = delete;

    NSKinvarCodec::u32 IControlSurface_CheckInvariant() override;
    NSKinvarCodec::u32 IControlSurface_GetUniqueName(char* buffer) override;
    NSKinvarCodec::u32 IControlSurface_GetInfo(NSKinvarCodec::TControlSurfaceInfo* info) override;
    NSKinvarCodec::u32 IControlSurface_GetItemCount(NSKinvarCodec::u32* count) override;
    NSKinvarCodec::u32 IControlSurface_GetItemInfo(NSKinvarCodec::u32 itemIndex,
                                                   NSKinvarCodec::TItemInfo* info) override;
    NSKinvarCodec::u32 IControlSurface_GetItemStateName(NSKinvarCodec::u32 itemIndex,
                                                        NSKinvarCodec::u32 stateIndex, char16* name) override;
    NSKinvarCodec::u32 IControlSurface_GetStartupEvents(NSKinvarCodec::IMIDIEventGetter& getter,
                                                        NSKinvarCodec::u32 outPort,
                                                        NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_SetInputHandler(NSKinvarCodec::IControlSurfaceInputHandler* handler) override;
    // On a MIDI thread. Calls the input handler on that same thread.
    NSKinvarCodec::u32 IControlSurface_HandleMIDIEvent(const NSKinvarCodec::TMIDIEvent* event,
                                                       NSKinvarCodec::u32 inPort,
                                                       NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_SetItemStates(NSKinvarCodec::u32 count,
                                                     const NSKinvarCodec::TItemState* states,
                                                     NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_GetOutputEvents(NSKinvarCodec::u32 maxBytes, NSKinvarCodec::u32 outPort,
                                                       NSKinvarCodec::IMIDIEventGetter& getter,
                                                       NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_GetShutdownEvents(NSKinvarCodec::IMIDIEventGetter& getter,
                                                         NSKinvarCodec::u32 outPort,
                                                         NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_Destroy() override;

    virtual ~CLuaControlSurface();

    // ---- For the surface object of the script (SurfaceObject.h), while an
    // operation runs the script under the lock. Each throws std::runtime_error
    // with a text for the script author when the script asks for the wrong thing.

    const TScriptModel& GetModel() const { return *fModel; }
    // Passes one input of the item to the host; only while input runs.
    void PassInput(u32 item, i64 value1, i64 value2, i64 value3);
    const NSKinvarCodec::TItemState& GetState(u32 item) const { return fStates.at(item); }
    // Whether the item's state changed since the port's last output call.
    bool HasChanged(u32 item, u32 outPort) const { return (fChanged.at(item) >> outPort & 1) != 0; }
    // The output port of the running call, if it has one.
    std::optional<u32> GetCallPort() const { return fCallPort; }
    // Queues a message for the output port (from 0).
    void Send(u32 outPort, std::string_view message);

private:
    // A state that runs the script for this surface.
    struct TScriptRun
    {
        std::unique_ptr<CLuaState> fState;
        TFunctionRefs fFunctions{};
        int fSurfaceObject = LUA_NOREF;
    };

    template <class Body> NSKinvarCodec::u32 Guarded(NSKinvarCodec::ITextGetter* messages, Body&& body);
    TScriptRun StartScript(const CLuaScript& script, const TScriptModel& model);
    void CatchUp(CCallMessages& out);
    void TakeOver(std::shared_ptr<const CLuaScript> script, const TScriptModel& model, CCallMessages& out);
    template <class PushArguments>
    bool CallScript(EScriptFunction function, CCallMessages& out, PushArguments&& pushArguments);
    NSKinvarCodec::u32 StartOrStop(EScriptFunction function, NSKinvarCodec::IMIDIEventGetter& getter,
                                   NSKinvarCodec::u32 outPort, NSKinvarCodec::ITextGetter& messages);
    bool CallPortFunction(EScriptFunction function, NSKinvarCodec::u32 outPort, NSKinvarCodec::u32 maxBytes,
                          CCallMessages& out);
    void Flush(NSKinvarCodec::u32 outPort, NSKinvarCodec::IMIDIEventGetter& getter);
    void MarkAllChanged();
    void CheckOutPort(NSKinvarCodec::u32 outPort) const;

    CLuaCodec& fCodec;
    std::mutex fLock;
    std::shared_ptr<const CLuaScript> fScript;
    const TScriptModel* fModel;
    NSKinvarCodec::u32 fGeneration;
    TScriptRun fRun;
    // Null when no item has a midi rule.
    std::unique_ptr<NSGenericMidiCodec::CRuleDispatcher> fDispatcher;
    std::bitset<kFunctionCount> fSwitchedOff;
    NSKinvarCodec::IControlSurfaceInputHandler* fInputHandler = nullptr;
    std::vector<NSKinvarCodec::TItemState> fStates;
    // For each item, a bit for each output port whose output call has not seen
    // the item's latest state.
    std::vector<u16> fChanged;
    std::array<std::vector<NSKinvarCodec::TMIDIEvent>, NSKinvarCodec::kMaxPortCount> fPending;
    // While the script runs: the message of the running input call, the
    // output port of the running output, start or stop call.
    const NSKinvarCodec::TMIDIEvent* fCallEvent = nullptr;
    std::optional<u32> fCallPort;
};
} // namespace NSLuaHost
