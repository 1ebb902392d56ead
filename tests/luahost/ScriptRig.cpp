#include "ScriptRig.h"

#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "host/CodecModules.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace NSLuaHostTesting
{
using namespace NSKinvarCodec;
using NSKinvarCodec::kCodecOK;

std::string Script(const std::string& items, const std::string& fields)
{
    return "return {\n"
           "  models = { {\n"
           "    manufacturer = 'Tests', model = 'Box', inputs = { 'In' },\n"
           "    outputs = { 'Out', { name = 'Lamps', optional = true } },\n"
           "    items = { " + items + " },\n"
           "  } },\n" + fields + "\n}\n";
}

std::string Hex(const TMIDIEvent& event)
{
    std::string text;
    for (u32 i = 0; i < event.fSize; ++i)
    {
        char byte[4];
        std::snprintf(byte, sizeof byte, i == 0 ? "%02X" : " %02X", event.fData[i]);
        text += byte;
    }
    return text;
}

CScriptRig::CScriptRig()
{
    TakeLog();
}

std::filesystem::path CScriptRig::Write(const std::string& text, const std::string& name) const
{
    return fFolder.Write(name, text);
}

TCodecPtr CScriptRig::Load(const std::string& text, const std::string& name) const
{
    try
    {
        return LoadCodec(BRASSFOLD_SCRIPT_HOST, Write(text, name));
    }
    catch (const std::exception&)
    {
        return nullptr;
    }
}

std::string CScriptRig::TakeLog() { return NSTextPackage::UTF8FromText16(TakePendingLog()); }

CSurfaceRig::CSurfaceRig(const TCodecPtr& codec) : fCodec(codec)
{
    const auto infos = GetControlSurfacesForCodec(codec);
    u32 status = kCodecProgrammingError;
    fSurface.reset(codec->ICodec2_CreateControlSurface(infos.at(0), &status), codecsurface_deleter());
    ThrowCodecResult(status);
    fStates.resize(GetItemInfos(*fSurface)->size());
    ThrowCodecResult(fSurface->IControlSurface_SetInputHandler(this));
}

CSurfaceRig::~CSurfaceRig() { fSurface->IControlSurface_SetInputHandler(nullptr); }

namespace
{
template <class Call> u32 Said(std::string& messages, Call&& call)
{
    CCodecTextGetter getter;
    const u32 status = call(getter);
    messages = NSTextPackage::UTF8FromText16(getter.GetText());
    return status;
}
} // namespace

u32 CSurfaceRig::Receive(const std::string& hex, u32 inPort)
{
    TMIDIEvent event{};
    for (std::size_t i = 0; i + 1 < hex.size(); i += 3)
        event.fData[event.fSize++] = u8(std::stoi(hex.substr(i, 2), nullptr, 16));
    return Said(fMessages, [&](CCodecTextGetter& getter) {
        return fSurface->IControlSurface_HandleMIDIEvent(&event, inPort, getter);
    });
}

void CSurfaceRig::SetValue(u32 item, i64 value, const std::u16string& text)
{
    TItemState& state = fStates.at(item);
    state = TItemState{};
    state.fEnabled = 1;
    state.fValue = value;
    SetRecordText(state.fValueText, text);
    SetRecordText(state.fName, u"Volume");
    SetRecordText(state.fShortName, u"Vol");
}

u32 CSurfaceRig::Frame(u32 outPort)
{
    return Said(fMessages, [&](CCodecTextGetter& getter) {
        const u32 status = fSurface->IControlSurface_SetItemStates(u32(fStates.size()), fStates.data(), getter);
        return status != kCodecOK ? status
                                  : fSurface->IControlSurface_GetOutputEvents(1000, outPort, *this, getter);
    });
}

u32 CSurfaceRig::Start(u32 outPort)
{
    return Said(fMessages, [&](CCodecTextGetter& getter) {
        return fSurface->IControlSurface_GetStartupEvents(*this, outPort, getter);
    });
}

u32 CSurfaceRig::Stop(u32 outPort)
{
    return Said(fMessages, [&](CCodecTextGetter& getter) {
        return fSurface->IControlSurface_GetShutdownEvents(*this, outPort, getter);
    });
}

u32 CSurfaceRig::IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput* input)
{
    fInputs.push_back(*input);
    return kCodecOK;
}

u32 CSurfaceRig::IMIDIEventGetter_Take(const TMIDIEvent* events, u32 count)
{
    for (u32 i = 0; i < count; ++i)
        fSent.push_back(Hex(events[i]));
    return kCodecOK;
}
} // namespace NSLuaHostTesting
