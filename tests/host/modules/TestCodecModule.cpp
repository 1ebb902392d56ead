// The codec modules that the host's tests load. One source, built as several
// ".kinvarcodec" files by the kind it is compiled for:
//
//   BRASSFOLD_TEST_CODEC_GOOD            a script host: SetLuaCodec reads the
//        script's lines "manufacturer TAB model" as its models (a line "fail"
//        refuses the script), SetLuaCodecsDir is kept, and the codec may stay
//        loaded. Without a script it offers "Brassfold Tests" "Plain Box".
//   BRASSFOLD_TEST_CODEC_NO_FACTORY      exports no factory.
//   BRASSFOLD_TEST_CODEC_FAILING_FACTORY its factory reports a bad format.
//   BRASSFOLD_TEST_CODEC_STATES          no script binding, may not stay
//        loaded; its one model "Brassfold Tests" "State Box" sends MIDI for the
//        item states it is given (see CStateSurface).
//
// Like any module it shares nothing with the host but the contract header.

#include "codec/KinvarCodec.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <mutex>
#include <new>
#include <string>
#include <vector>

using namespace NSKinvarCodec;

namespace
{
void SetText(char16* field, std::size_t capacity, const std::string& text)
{
    std::size_t i = 0;
    for (; i < text.size() && i + 1 < capacity; ++i)
        field[i] = static_cast<char16>(static_cast<unsigned char>(text[i]));
    for (; i < capacity; ++i)
        field[i] = 0;
}

template <std::size_t N> void SetText(char16 (&field)[N], const std::string& text)
{
    SetText(field, N, text);
}

std::string TextOf(const char16* text, std::size_t capacity)
{
    std::string result;
    for (std::size_t i = 0; i < capacity && text[i] != 0; ++i)
        result += static_cast<char>(text[i] < 128 ? text[i] : '?');
    return result;
}

TControlSurfaceInfo MakeInfo(const std::string& manufacturer, const std::string& model)
{
    TControlSurfaceInfo info{};
    SetText(info.fManufacturer, manufacturer);
    SetText(info.fModel, model);
    info.fInPortCount = 1;
    SetText(info.fInPortNames[0], "In");
    info.fOutPortCount = 2;
    SetText(info.fOutPortNames[0], "Out");
    SetText(info.fOutPortNames[1], "Extra Out");
    info.fOutPortOptional[1] = 1;
    return info;
}

std::string DecodeFileURL(const std::string& url)
{
    const std::string scheme = "file://";
    std::string path;
    for (std::size_t i = url.compare(0, scheme.size(), scheme) == 0 ? scheme.size() : 0;
         i < url.size(); ++i)
    {
        if (url[i] == '%' && i + 2 < url.size())
        {
            path += static_cast<char>(std::stoi(url.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
        else
        {
            path += url[i];
        }
    }
    return path;
}

TMIDIEvent MakeEvent(std::initializer_list<u8> bytes)
{
    TMIDIEvent event{};
    for (const u8 byte : bytes)
        event.fData[event.fSize++] = byte;
    return event;
}

// Items: 0 "Fader" (value in and out, 0 to 127), 1 "Lamp" (a lamp, 0 to 1),
// 2 "Display" (text), 3 "Mode" (value out with three named states).
//
// At start on port p it sends F0 7D 01 p F7 in two records (F0 7D, 01 p F7),
// at the end F0 7D 02 p F7. Each frame sends, for every enabled item whose
// state changed since the last frame on that port, B0 item value for a value
// and F0 7D 10 item text F7 for a text. The input B0 00 v gives the fader the
// value v, stamped with the message's time; nothing else is input.
class CStateSurface final : public IControlSurface
{
public:
    explicit CStateSurface(const TControlSurfaceInfo& info) : fInfo(info) {}
    virtual ~CStateSurface() = default;

    u32 IControlSurface_CheckInvariant() override { return 1; }
    u32 IControlSurface_GetUniqueName(char* buffer) override
    {
        std::strcpy(buffer, "TestCodec/State Box");
        return kCodecOK;
    }
    u32 IControlSurface_GetInfo(TControlSurfaceInfo* info) override
    {
        *info = fInfo;
        return kCodecOK;
    }
    u32 IControlSurface_GetItemCount(u32* count) override
    {
        *count = kItemCount;
        return kCodecOK;
    }
    u32 IControlSurface_GetItemInfo(u32 itemIndex, TItemInfo* info) override
    {
        if (itemIndex >= kItemCount)
            return kCodecInvalidArgument;
        static const char* const kNames[kItemCount] = {"Fader", "Lamp", "Display", "Mode"};
        *info = TItemInfo{};
        SetText(info->fName, kNames[itemIndex]);
        info->fInputKind = itemIndex == 0 ? kInputValue : kInputNone;
        info->fOutputKind = itemIndex == 2 ? kOutputText : kOutputValue;
        info->fMax = itemIndex == 0 ? 127 : itemIndex == 3 ? 2 : 1;
        info->fStateCount = itemIndex == 3 ? 3 : 0;
        return kCodecOK;
    }
    u32 IControlSurface_GetItemStateName(u32 itemIndex, u32 stateIndex, char16* name) override
    {
        if (itemIndex != 3 || stateIndex >= 3)
            return kCodecInvalidArgument;
        static const char* const kStates[3] = {"Off", "Slow", "Fast"};
        SetText(name, kMaxItemNameLength + 1, kStates[stateIndex]);
        return kCodecOK;
    }
    u32 IControlSurface_GetStartupEvents(IMIDIEventGetter& getter, u32 outPort,
                                         ITextGetter&) override
    {
        const TMIDIEvent events[2] = {MakeEvent({0xF0, 0x7D}),
                                      MakeEvent({0x01, static_cast<u8>(outPort), 0xF7})};
        return getter.IMIDIEventGetter_Take(events, 2);
    }
    u32 IControlSurface_SetInputHandler(IControlSurfaceInputHandler* handler) override
    {
        std::lock_guard lock(fHandlerLock);
        fHandler = handler;
        return kCodecOK;
    }
    u32 IControlSurface_HandleMIDIEvent(const TMIDIEvent* event, u32, ITextGetter&) override
    {
        if (event->fSize != 3 || event->fData[0] != 0xB0 || event->fData[1] != 0)
            return kCodecOK;
        TItemInput input{};
        input.fTime = event->fTime;
        input.fItemIndex = event->fData[1];
        input.fValue1 = event->fData[2];
        std::lock_guard lock(fHandlerLock);
        return fHandler != nullptr ? fHandler->IControlSurfaceInputHandler_HandleInput(this, &input)
                                   : kCodecOK;
    }
    // Frames run on one thread; only the handler is shared with input.
    u32 IControlSurface_SetItemStates(u32 count, const TItemState* states, ITextGetter&) override
    {
        if (count != kItemCount)
            return kCodecInvalidArgument;
        fStates.assign(states, states + count);
        return kCodecOK;
    }
    u32 IControlSurface_GetOutputEvents(u32, u32 outPort, IMIDIEventGetter& getter,
                                        ITextGetter&) override
    {
        if (outPort >= 2 || fStates.size() != kItemCount)
            return kCodecInvalidArgument;
        std::vector<TItemState>& shown = fShown[outPort];
        shown.resize(kItemCount);
        std::vector<TMIDIEvent> events;
        for (u32 item = 0; item < kItemCount; ++item)
        {
            const TItemState& state = fStates[item];
            if (state.fEnabled == 0 || std::memcmp(&state, &shown[item], sizeof state) == 0)
                continue;
            shown[item] = state;
            if (item != 2)
            {
                events.push_back(MakeEvent({0xB0, static_cast<u8>(item),
                                            static_cast<u8>(state.fValue & 0x7F)}));
                continue;
            }
            TMIDIEvent text = MakeEvent({0xF0, 0x7D, 0x10, static_cast<u8>(item)});
            for (const char c : TextOf(state.fValueText, kMaxValueTextLength + 1))
                text.fData[text.fSize++] = static_cast<u8>(c & 0x7F);
            text.fData[text.fSize++] = 0xF7;
            events.push_back(text);
        }
        return events.empty() ? kCodecOK
                              : getter.IMIDIEventGetter_Take(events.data(), u32(events.size()));
    }
    u32 IControlSurface_GetShutdownEvents(IMIDIEventGetter& getter, u32 outPort,
                                          ITextGetter&) override
    {
        const TMIDIEvent event = MakeEvent({0xF0, 0x7D, 0x02, static_cast<u8>(outPort), 0xF7});
        return getter.IMIDIEventGetter_Take(&event, 1);
    }
    u32 IControlSurface_Destroy() override
    {
        delete this;
        return kCodecOK;
    }

private:
    static constexpr u32 kItemCount = 4;

    TControlSurfaceInfo fInfo;
    std::mutex fHandlerLock;
    IControlSurfaceInputHandler* fHandler = nullptr;
    std::vector<TItemState> fStates;
    std::vector<TItemState> fShown[2];
};

class CTestCodec final : public ICodec2
{
public:
    virtual ~CTestCodec() = default;

    u32 ICodec2_CheckInvariant() override { return 1; }
    u32 ICodec2_SetDebugger(IDebugger* debugger) override
    {
        if (debugger != nullptr)
            debugger->IDebugger_Trace("Test codec: the host's debugger is set");
        return kCodecOK;
    }
    u32 ICodec2_GetMayStayLoaded(u32* result) override
    {
#ifdef BRASSFOLD_TEST_CODEC_STATES
        *result = 0;
#else
        *result = 1;
#endif
        return kCodecOK;
    }
    u32 ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter& getter, ITextGetter&) override
    {
        std::vector<TControlSurfaceInfo> infos;
        for (const auto& [manufacturer, model] : fModels)
        {
            TControlSurfaceInfo& info = infos.emplace_back(MakeInfo(manufacturer, model));
            SetText(info.fSetupInfoText, fScriptURL);
            SetText(info.fSetupWarningText, fCodecsFolder);
        }
        return getter.IControlSurfaceInfoGetter_Take(infos.data(), u32(infos.size()));
    }
    IControlSurface* ICodec2_CreateControlSurface(const TControlSurfaceInfo& info,
                                                  u32* status) override
    {
        const std::string model = TextOf(info.fModel, kMaxSurfaceNameLength + 1);
        if (model != "State Box")
        {
            *status = kCodecUnsupportedInterface;
            return nullptr;
        }
        *status = kCodecOK;
        return new (std::nothrow) CStateSurface(info);
    }
    IControlSurface* ICodec2_CreateControlSurfaceByName(const char*, u32* status) override
    {
        *status = kCodecUnsupportedInterface;
        return nullptr;
    }
    u32 ICodec2_GetControlSurfacePicture(const TControlSurfaceInfo&, u32* hasPicture, u32*) override
    {
        *hasPicture = 0;
        return kCodecOK;
    }
    u32 ICodec2_ProbeForControlSurface(IMIDIProber&, const TControlSurfaceInfo&,
                                       IProbeResultGetter&, ITextGetter&) override
    {
        return kCodecOK;
    }
    u32 ICodec2_Destroy() override
    {
        delete this;
        return kCodecOK;
    }

    // Reads the script's models; false when it says "fail".
    bool BindScript(const std::string& url)
    {
        fScriptURL = url;
        std::ifstream script(DecodeFileURL(url));
        if (!script)
            return false;
        fModels.clear();
        for (std::string line; std::getline(script, line);)
        {
            if (line == "fail")
                return false;
            const std::size_t tab = line.find('\t');
            if (tab != std::string::npos)
                fModels.emplace_back(line.substr(0, tab), line.substr(tab + 1));
        }
        return true;
    }

    void SetCodecsFolder(const std::string& folder) { fCodecsFolder = folder; }

private:
#ifdef BRASSFOLD_TEST_CODEC_STATES
    std::vector<std::pair<std::string, std::string>> fModels{{"Brassfold Tests", "State Box"}};
#else
    std::vector<std::pair<std::string, std::string>> fModels{{"Brassfold Tests", "Plain Box"}};
#endif
    std::string fScriptURL;
    std::string fCodecsFolder;
};
} // namespace

extern "C"
{
#if defined(BRASSFOLD_TEST_CODEC_NO_FACTORY)
    // Something to export, but not the factory.
    int TestCodec_NotAFactory() { return 0; }
#elif defined(BRASSFOLD_TEST_CODEC_FAILING_FACTORY)
    ICodec2* KinvarCodec_Create(const char*, u32* status)
    {
        *status = kCodecBadFormat;
        return nullptr;
    }
#else
    ICodec2* KinvarCodec_Create(const char* interfaceName, u32* status)
    {
        if (std::strcmp(interfaceName, kCodecInterfaceName) != 0)
        {
            *status = kCodecUnsupportedInterface;
            return nullptr;
        }
        ICodec2* codec = new (std::nothrow) CTestCodec;
        *status = codec != nullptr ? kCodecOK : kCodecOutOfMemory;
        return codec;
    }
#endif

#ifdef BRASSFOLD_TEST_CODEC_GOOD
    void SetLuaCodec(ICodec2* codec, const char* url, u32* status, ITextGetter* messages)
    {
        if (static_cast<CTestCodec*>(codec)->BindScript(url))
        {
            *status = kCodecOK;
            return;
        }
        const std::string text = std::string("Script refused: ") + url;
        std::vector<char16> message(text.size() + 1);
        SetText(message.data(), message.size(), text);
        messages->ITextGetter_Take(message.data());
        *status = kCodecBadFormat;
    }

    void SetLuaCodecsDir(ICodec2* codec, const char* folder, u32* status)
    {
        static_cast<CTestCodec*>(codec)->SetCodecsFolder(folder);
        *status = kCodecOK;
    }
#endif
}
