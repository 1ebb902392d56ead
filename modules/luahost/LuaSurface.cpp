#include "LuaSurface.h"

#include "LuaCodec.h"
#include "SurfaceObject.h"

#include "codec/CodecSupport.h"
#include "foundation/TextPackage.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace NSLuaHost
{
using namespace NSKinvarCodec;
using NSKinvarCodec::kCodecOK;

namespace
{
// Messages that wait for a port that has no calls (an unassigned optional
// port) must not grow without end.
constexpr std::size_t kMaxPendingMessages = 1024;
constexpr u16 kAllPorts = 0xFFFF;

// The texts of a state, from fName to the end of fShortestNameAndValue: one
// block without gaps.
constexpr std::size_t kTextsBegin = offsetof(TItemState, fName);
constexpr std::size_t kTextsEnd =
    offsetof(TItemState, fShortestNameAndValue) + sizeof(TItemState::fShortestNameAndValue);

bool SameState(const TItemState& a, const TItemState& b)
{
    return a.fEnabled == b.fEnabled && a.fValue == b.fValue && a.fStateIndex == b.fStateIndex &&
           std::memcmp(reinterpret_cast<const char*>(&a) + kTextsBegin, reinterpret_cast<const char*>(&b) + kTextsBegin,
                       kTextsEnd - kTextsBegin) == 0;
}

// Restores a member when the call that set it is over.
template <class T> class CCallScope
{
public:
    CCallScope(T& member, T value) : fMember(member), fSaved(member) { fMember = value; }
    ~CCallScope() { fMember = fSaved; }
    CCallScope(const CCallScope&) = delete;
    CCallScope& operator=(const CCallScope&) = delete;

private:
    T& fMember;
    T fSaved;
};
} // namespace

CLuaControlSurface::CLuaControlSurface(CLuaCodec& codec, std::shared_ptr<const CLuaScript> script,
                                       const TScriptModel& model)
    : fCodec(codec), fScript(std::move(script)), fModel(&model), fGeneration(codec.GetGeneration()),
      fStates(model.fItems.size()), fChanged(model.fItems.size())
{
    fRun = StartScript(*fScript, model);
    if (model.fHasRules)
        fDispatcher = std::make_unique<NSGenericMidiCodec::CRuleDispatcher>(model.fRuleItems);
    MarkAllChanged();
}

CLuaControlSurface::~CLuaControlSurface() = default;

CLuaControlSurface::TScriptRun CLuaControlSurface::StartScript(const CLuaScript& script, const TScriptModel& model)
{
    TScriptRun run;
    run.fState = std::make_unique<CLuaState>(script.GetFileName(), fCodec.GetLog());
    run.fState->Run([&](lua_State* L) {
        run.fState->RunChunk(L, script.GetText(), false);
        luaL_checktype(L, -1, LUA_TTABLE);
        run.fFunctions = ReferenceFunctions(L, -1, script.GetFileName(), script.GetText());
        PushSurfaceObject(L, *this, model);
        run.fSurfaceObject = luaL_ref(L, LUA_REGISTRYINDEX);
    });
    return run;
}

template <class Body> u32 CLuaControlSurface::Guarded(ITextGetter* messages, Body&& body)
{
    CCallMessages out;
    const u32 status = GuardCodecOperation([this] { return IControlSurface_CheckInvariant(); }, [&] {
        std::lock_guard lock(fLock);
        ReportScriptErrors(out, body);
    });
    out.Deliver(messages);
    return status;
}

// Only what never changes after construction, so that the check needs no lock.
u32 CLuaControlSurface::IControlSurface_CheckInvariant()
{
    return fStates.size() == fChanged.size() ? 1 : 0;
}

u32 CLuaControlSurface::IControlSurface_GetUniqueName(char* buffer)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (buffer == nullptr)
            throw std::invalid_argument("NULL buffer pointer");
        std::memset(buffer, 0, kUniqueNameBufferSize);
        std::strncpy(buffer, fModel->fUniqueName.c_str(), kUniqueNameBufferSize - 1);
    });
}

u32 CLuaControlSurface::IControlSurface_GetInfo(TControlSurfaceInfo* info)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (info == nullptr)
            throw std::invalid_argument("NULL info pointer");
        *info = fModel->fInfo;
    });
}

u32 CLuaControlSurface::IControlSurface_GetItemCount(u32* count)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (count == nullptr)
            throw std::invalid_argument("NULL count pointer");
        *count = u32(fStates.size());
    });
}

u32 CLuaControlSurface::IControlSurface_GetItemInfo(u32 itemIndex, TItemInfo* info)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (info == nullptr || itemIndex >= fModel->fItems.size())
            throw std::invalid_argument("Bad item index");
        *info = fModel->fItems[itemIndex].fInfo;
    });
}

u32 CLuaControlSurface::IControlSurface_GetItemStateName(u32 itemIndex, u32 stateIndex, char16* name)
{
    return Guarded(nullptr, [&](CCallMessages&) {
        if (name == nullptr || itemIndex >= fModel->fItems.size() ||
            stateIndex >= fModel->fItems[itemIndex].fStateNames.size())
            throw std::invalid_argument("Bad state index");
        CopyToRecordText(NSTextPackage::Text16FromUTF8(fModel->fItems[itemIndex].fStateNames[stateIndex], u'?'), name,
                         kMaxItemNameLength + 1);
    });
}

u32 CLuaControlSurface::IControlSurface_SetInputHandler(IControlSurfaceInputHandler* handler)
{
    return Guarded(nullptr, [&](CCallMessages&) { fInputHandler = handler; });
}

u32 CLuaControlSurface::IControlSurface_HandleMIDIEvent(const TMIDIEvent* event, u32 inPort, ITextGetter& messages)
{
    return Guarded(&messages, [&](CCallMessages& out) {
        if (event == nullptr || event->fSize > kMaxMIDIEventSize || inPort >= fModel->fInfo.fInPortCount)
            throw std::invalid_argument("Bad MIDI event");
        CatchUp(out);
        if (fInputHandler == nullptr)
            return;
        NSGenericMidiCodec::TRuleMatch match;
        if (fDispatcher && fDispatcher->Dispatch(*event, inPort, match))
        {
            TItemInput input{};
            input.fTime = event->fTime;
            input.fItemIndex = match.fItemIndex;
            input.fValue1 = match.fValue1;
            input.fValue2 = match.fValue2;
            input.fValue3 = match.fValue3;
            ThrowCodecResult(fInputHandler->IControlSurfaceInputHandler_HandleInput(this, &input));
            return;
        }
        const CCallScope<const TMIDIEvent*> scope(fCallEvent, event);
        const bool done = CallScript(kInputFunction, out, [&](lua_State* L) {
            lua_pushinteger(L, lua_Integer(inPort) + 1);
            lua_pushlstring(L, reinterpret_cast<const char*>(event->fData), event->fSize);
            return 2;
        });
        if (!done)
            throw XBadFormat();
    });
}

u32 CLuaControlSurface::IControlSurface_SetItemStates(u32 count, const TItemState* states, ITextGetter& messages)
{
    return Guarded(&messages, [&](CCallMessages&) {
        if (count != fStates.size() || (count != 0 && states == nullptr))
            throw std::invalid_argument("Bad item states");
        for (std::size_t item = 0; item < count; ++item)
        {
            if (fModel->fItems[item].fInfo.fOutputKind == kOutputNone || SameState(fStates[item], states[item]))
                continue;
            fStates[item] = states[item];
            fChanged[item] = kAllPorts;
        }
    });
}

u32 CLuaControlSurface::IControlSurface_GetOutputEvents(u32 maxBytes, u32 outPort, IMIDIEventGetter& getter,
                                                        ITextGetter& messages)
{
    return Guarded(&messages, [&](CCallMessages& out) {
        CheckOutPort(outPort);
        CatchUp(out);
        const bool done = CallPortFunction(kOutputFunction, outPort, maxBytes, out);
        for (u16& changed : fChanged)
            changed = u16(changed & ~(1u << outPort));
        Flush(outPort, getter);
        if (!done)
            throw XBadFormat();
    });
}

u32 CLuaControlSurface::IControlSurface_GetStartupEvents(IMIDIEventGetter& getter, u32 outPort, ITextGetter& messages)
{
    return StartOrStop(kStartFunction, getter, outPort, messages);
}

u32 CLuaControlSurface::IControlSurface_GetShutdownEvents(IMIDIEventGetter& getter, u32 outPort,
                                                          ITextGetter& messages)
{
    return StartOrStop(kStopFunction, getter, outPort, messages);
}

u32 CLuaControlSurface::StartOrStop(EScriptFunction function, IMIDIEventGetter& getter, u32 outPort,
                                    ITextGetter& messages)
{
    return Guarded(&messages, [&](CCallMessages& out) {
        CheckOutPort(outPort);
        const bool done = CallPortFunction(function, outPort, 0, out);
        Flush(outPort, getter);
        if (!done)
            throw XBadFormat();
    });
}

u32 CLuaControlSurface::IControlSurface_Destroy()
{
    delete this;
    return kCodecOK;
}

void CLuaControlSurface::CheckOutPort(u32 outPort) const
{
    if (outPort >= fModel->fInfo.fOutPortCount)
        throw std::invalid_argument("Bad output port");
}

// output(surface, port, max_bytes), start(surface, port), stop(surface, port).
bool CLuaControlSurface::CallPortFunction(EScriptFunction function, u32 outPort, u32 maxBytes, CCallMessages& out)
{
    const CCallScope<std::optional<u32>> scope(fCallPort, outPort);
    return CallScript(function, out, [&](lua_State* L) {
        lua_pushinteger(L, lua_Integer(outPort) + 1);
        if (function != kOutputFunction)
            return 1;
        lua_pushinteger(L, lua_Integer(maxBytes));
        return 2;
    });
}

template <class PushArguments>
bool CLuaControlSurface::CallScript(EScriptFunction function, CCallMessages& out, PushArguments&& pushArguments)
{
    const int ref = fRun.fFunctions[function];
    if (ref == LUA_NOREF || fSwitchedOff[function])
        return true;
    try
    {
        fRun.fState->Run([&](lua_State* L) {
            lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
            lua_rawgeti(L, LUA_REGISTRYINDEX, fRun.fSurfaceObject);
            lua_call(L, 1 + pushArguments(L), 0);
        });
        return true;
    }
    catch (const XScriptError& e)
    {
        fSwitchedOff[function] = true;
        out.Add(e.what());
        out.Add(fScript->GetFileName() + ": " + GetFunctionName(function) +
                " is switched off for this surface until the script is saved again.");
        return false;
    }
}

void CLuaControlSurface::Flush(u32 outPort, IMIDIEventGetter& getter)
{
    std::vector<TMIDIEvent>& pending = fPending[outPort];
    if (pending.empty())
        return;
    const u32 status = getter.IMIDIEventGetter_Take(pending.data(), u32(pending.size()));
    pending.clear();
    ThrowCodecResult(status);
}

void CLuaControlSurface::MarkAllChanged()
{
    for (std::size_t item = 0; item < fChanged.size(); ++item)
        fChanged[item] = fModel->fItems[item].fInfo.fOutputKind == kOutputNone ? 0 : kAllPorts;
}

// Takes over a script that the codec loaded anew.
void CLuaControlSurface::CatchUp(CCallMessages& out)
{
    fCodec.PollForChange(out);
    const u32 generation = fCodec.GetGeneration();
    if (generation == fGeneration)
        return;
    fGeneration = generation;
    std::shared_ptr<const CLuaScript> script = fCodec.GetScript();
    const TScriptModel* model = script ? script->FindModel(fModel->fInfo) : nullptr;
    if (model == nullptr || !HaveSameLayout(*model, *fModel))
    {
        out.Add(fScript->GetFileName() + ": the ports or items of " + fModel->fModel +
                " changed; close its panel and open it again to use them.");
        return;
    }
    TakeOver(std::move(script), *model, out);
}

void CLuaControlSurface::TakeOver(std::shared_ptr<const CLuaScript> script, const TScriptModel& model,
                                  CCallMessages& out)
{
    try
    {
        fRun = StartScript(*script, model);
    }
    catch (const XScriptError& e)
    {
        out.Add(e.what());
        return;
    }
    fScript = std::move(script);
    fModel = &model;
    fDispatcher.reset();
    if (model.fHasRules)
        fDispatcher = std::make_unique<NSGenericMidiCodec::CRuleDispatcher>(model.fRuleItems);
    fSwitchedOff.reset();
    MarkAllChanged();
}

void CLuaControlSurface::PassInput(u32 item, i64 value1, i64 value2, i64 value3)
{
    if (fCallEvent == nullptr || fInputHandler == nullptr)
        throw std::runtime_error("surface:input works only while input runs");
    const TItemInfo& info = fModel->fItems.at(item).fInfo;
    const auto within = [](i64 value, i64 min, i64 max) { return value >= min && value <= max; };
    bool valid = false;
    switch (info.fInputKind)
    {
    case kInputButton:
    case kInputValue:
        valid = within(value1, info.fMin, info.fMax);
        break;
    case kInputDelta:
        valid = value1 != 0;
        break;
    case kInputKeyboard:
        valid = within(value1, 0, 1) && within(value2, 0, 127) && within(value3, 0, 127);
        break;
    default:
        throw std::runtime_error("item \"" + fModel->fItems[item].fName + "\" has no input");
    }
    if (!valid)
        throw std::runtime_error("values " + std::to_string(value1) + ", " + std::to_string(value2) + ", " +
                                 std::to_string(value3) + " do not fit item \"" + fModel->fItems[item].fName + "\"");
    TItemInput input{};
    input.fTime = fCallEvent->fTime;
    input.fItemIndex = item;
    input.fValue1 = value1;
    input.fValue2 = value2;
    input.fValue3 = value3;
    ThrowCodecResult(fInputHandler->IControlSurfaceInputHandler_HandleInput(this, &input));
}

void CLuaControlSurface::Send(u32 outPort, std::string_view message)
{
    if (message.empty() || static_cast<unsigned char>(message[0]) < 0x80)
        throw std::runtime_error("a MIDI message begins with a status byte (80 to FF)");
    if (message.size() > kMaxMIDIEventSize)
        throw std::runtime_error("sysex data too large");
    std::vector<TMIDIEvent>& pending = fPending.at(outPort);
    if (pending.size() >= kMaxPendingMessages)
        throw std::runtime_error("more than 1024 messages wait for output port " + std::to_string(outPort + 1));
    TMIDIEvent& event = pending.emplace_back();
    event.fTime = 0;
    event.fSize = u32(message.size());
    std::memcpy(event.fData, message.data(), message.size());
}
} // namespace NSLuaHost
