// The codec modules that the host's tests load, one source built by kind:
// GOOD is a script host (the script's lines "manufacturer TAB model" are its
// models, a line "fail" refuses it; SetLuaCodecsDir is kept; may stay loaded).
// NO_FACTORY exports no factory; FAILING_FACTORY's factory reports a bad
// format. STATES has no script binding, may not stay loaded, and offers
// "Brassfold Tests" "State Box" (CStateSurface) alone. FAULTY is STATES whose
// further models fail as their names say (EFault). Like any module it shares
// nothing with the host but the contract header.

#include "codec/KinvarCodec.h"

#include <chrono>
#include <cstring>
#include <fstream>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace NSKinvarCodec;

namespace
{
void SetText(char16* field, std::size_t capacity, const std::string& text)
{
    std::size_t i = 0;
    for (; i < text.size() && i + 1 < capacity; ++i)
        field[i] = static_cast<unsigned char>(text[i]);
    for (; i < capacity; ++i)
        field[i] = 0;
}

template <std::size_t N> void SetText(char16 (&field)[N], const std::string& text) { SetText(field, N, text); }

std::string TextOf(const char16* text, std::size_t capacity)
{
    std::string result;
    for (std::size_t i = 0; i < capacity && text[i] != 0; ++i)
        result += static_cast<char>(text[i] & 0x7F);
    return result;
}

TMIDIEvent Event(std::initializer_list<u8> bytes)
{
    TMIDIEvent event{};
    for (const u8 byte : bytes)
        event.fData[event.fSize++] = byte;
    return event;
}

// FAULTY's models, EFault in their order: messages and frames fail with a status and no word, throw, or take 300 ms;
// a message gives the fader 500 and item 9 an input; item 1 has input kind 99, item 3 runs from 2 to 0, and frames
// hand over an empty record.
enum class EFault { kNone, kBadStatus, kThrows, kOutOfRange, kSleeps, kBadRecords };
const char* const kModels[] = {"State Box", "Bad Status", "Thrower", "Out Of Range", "Sleeper", "Bad Records"};

// Items: 0 "Fader" (in and out, 0 to 127), 1 "Lamp" (0 to 1), 2 "Display" (text), 3 "Mode" (three states).
// Start on port p: F0 7D 01 p F7, in two records; end: F0 7D 02 p F7. A frame sends B0 item value for every
// enabled item whose state changed since the last frame on that port; a Display text "fail" fails it with
// "Cannot show fail". Input: B0 00 v is the fader's value v, B1 00 v the fader's value v + 128 (out of its
// range); F0 7D 7F F7 fails with "Unknown message"; any other message is the value 0 with fValue2 its size.
class CStateSurface final : public IControlSurface
{
public:
    CStateSurface(const TControlSurfaceInfo& info, EFault fault) : fInfo(info), fFault(fault) {}
    virtual ~CStateSurface() = default;

    u32 IControlSurface_CheckInvariant() override { return 1; }
    u32 IControlSurface_GetUniqueName(char* buffer) override
    {
        std::strcpy(buffer, "State Box");
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
    u32 IControlSurface_GetItemInfo(u32 item, TItemInfo* info) override
    {
        static const char* const kNames[kItemCount] = {"Fader", "Lamp", "Display", "Mode"};
        if (item >= kItemCount)
            return kCodecInvalidArgument;
        *info = TItemInfo{};
        SetText(info->fName, kNames[item]);
        info->fInputKind = item == 0 ? kInputValue : kInputNone;
        info->fOutputKind = item == 2 ? kOutputText : kOutputValue;
        info->fMax = item == 0 ? 127 : item == 3 ? 2 : 1;
        info->fStateCount = item == 3 ? 3 : 0;
        if (fFault == EFault::kBadRecords && item == 1)
            info->fInputKind = 99;
        if (fFault == EFault::kBadRecords && item == 3)
            info->fMin = 2, info->fMax = 0;
        return kCodecOK;
    }
    u32 IControlSurface_GetItemStateName(u32 item, u32 state, char16* name) override
    {
        static const char* const kStates[3] = {"Off", "Slow", "Fast"};
        if (item != 3 || state >= 3)
            return kCodecInvalidArgument;
        SetText(name, kMaxItemNameLength + 1, kStates[state]);
        return kCodecOK;
    }
    u32 IControlSurface_GetStartupEvents(IMIDIEventGetter& getter, u32 port, ITextGetter&) override
    {
        const TMIDIEvent events[2] = {Event({0xF0, 0x7D}), Event({0x01, static_cast<u8>(port), 0xF7})};
        return getter.IMIDIEventGetter_Take(events, 2);
    }
    u32 IControlSurface_SetInputHandler(IControlSurfaceInputHandler* handler) override
    {
        std::lock_guard lock(fHandlerLock);
        fHandler = handler;
        return kCodecOK;
    }
    u32 IControlSurface_HandleMIDIEvent(const TMIDIEvent* event, u32, ITextGetter& messages) override
    {
        if (const u32 status = Misbehave(kCodecInvalidArgument); status != kCodecOK)
            return status;
        const u8* data = event->fData;
        if (event->fSize == 4 && data[0] == 0xF0 && data[1] == 0x7D && data[2] == 0x7F)
        {
            messages.ITextGetter_Take(u"Unknown message");
            return kCodecBadFormat;
        }
        TItemInput input{};
        input.fTime = event->fTime;
        const bool fader = event->fSize == 3 && (data[0] == 0xB0 || data[0] == 0xB1) && data[1] == 0;
        input.fValue1 = fader ? data[2] + (data[0] == 0xB1 ? 128 : 0) : 0;
        input.fValue2 = fader ? 0 : event->fSize;
        std::lock_guard lock(fHandlerLock);
        if (fHandler == nullptr)
            return kCodecOK;
        if (fFault == EFault::kOutOfRange)
        {
            input.fValue1 = 500;
            fHandler->IControlSurfaceInputHandler_HandleInput(this, &input);
            input.fItemIndex = 9;
        }
        return fHandler->IControlSurfaceInputHandler_HandleInput(this, &input);
    }
    // Frames come on one thread; only the handler is shared with input.
    u32 IControlSurface_SetItemStates(u32 count, const TItemState* states, ITextGetter&) override
    {
        if (count != kItemCount)
            return kCodecInvalidArgument;
        fStates.assign(states, states + count);
        return kCodecOK;
    }
    u32 IControlSurface_GetOutputEvents(u32, u32 port, IMIDIEventGetter& getter, ITextGetter& messages) override
    {
        if (const u32 status = Misbehave(kCodecIllegalCallSequence); status != kCodecOK)
            return status;
        if (fFault == EFault::kBadRecords)
        {
            const TMIDIEvent empty{};
            return getter.IMIDIEventGetter_Take(&empty, 1);
        }
        if (port >= kMaxPortCount || fStates.size() != kItemCount)
            return kCodecInvalidArgument;
        if (TextOf(fStates[2].fValueText, kMaxValueTextLength + 1) == "fail")
        {
            messages.ITextGetter_Take(u"Cannot show fail");
            return kCodecInvalidArgument;
        }
        std::vector<TItemState>& shown = fShown[port];
        shown.resize(kItemCount);
        std::vector<TMIDIEvent> events;
        for (u32 item = 0; item < kItemCount; ++item)
        {
            const TItemState& state = fStates[item];
            if (state.fEnabled == 0 || std::memcmp(&state, &shown[item], sizeof state) == 0)
                continue;
            shown[item] = state;
            events.push_back(Event({0xB0, static_cast<u8>(item), static_cast<u8>(state.fValue & 0x7F)}));
        }
        return events.empty() ? kCodecOK : getter.IMIDIEventGetter_Take(events.data(), u32(events.size()));
    }
    u32 IControlSurface_GetShutdownEvents(IMIDIEventGetter& getter, u32 port, ITextGetter&) override
    {
        const TMIDIEvent event = Event({0xF0, 0x7D, 0x02, static_cast<u8>(port), 0xF7});
        return getter.IMIDIEventGetter_Take(&event, 1);
    }
    u32 IControlSurface_Destroy() override
    {
        delete this;
        return kCodecOK;
    }

private:
    static constexpr u32 kItemCount = 4;

    // The faults that messages and frames share: status for a bad status, kCodecOK for none.
    u32 Misbehave(u32 status) const
    {
        if (fFault == EFault::kThrows)
            throw std::runtime_error("thrown by the codec");
        if (fFault == EFault::kSleeps)
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return fFault == EFault::kBadStatus ? status : kCodecOK;
    }

    TControlSurfaceInfo fInfo;
    const EFault fFault;
    std::mutex fHandlerLock;
    IControlSurfaceInputHandler* fHandler = nullptr;
    std::vector<TItemState> fStates;
    std::vector<TItemState> fShown[kMaxPortCount];
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
        *result = kStates ? 0 : 1;
        return kCodecOK;
    }
    u32 ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter& getter, ITextGetter&) override
    {
        std::vector<TControlSurfaceInfo> infos(fModels.size());
        for (std::size_t i = 0; i < fModels.size(); ++i)
        {
            TControlSurfaceInfo& info = infos[i];
            SetText(info.fManufacturer, fModels[i].first);
            SetText(info.fModel, fModels[i].second);
            info.fInPortCount = 1;
            info.fOutPortCount = 2;
            info.fOutPortOptional[1] = 1;
            SetText(info.fSetupInfoText, fScriptURL);
            SetText(info.fSetupWarningText, fCodecsFolder);
        }
        return getter.IControlSurfaceInfoGetter_Take(infos.data(), u32(infos.size()));
    }
    IControlSurface* ICodec2_CreateControlSurface(const TControlSurfaceInfo& info, u32* status) override
    {
        const std::string model = TextOf(info.fModel, kMaxSurfaceNameLength + 1);
        for (std::size_t i = 0; i < kModelCount; ++i)
            if (model == kModels[i])
            {
                *status = kCodecOK;
                return new (std::nothrow) CStateSurface(info, EFault(i));
            }
        *status = kCodecBadFormat;
        return nullptr;
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
    u32 ICodec2_ProbeForControlSurface(IMIDIProber&, const TControlSurfaceInfo&, IProbeResultGetter&,
                                       ITextGetter&) override
    {
        return kCodecOK;
    }
    u32 ICodec2_Destroy() override
    {
        delete this;
        return kCodecOK;
    }

    // Reads the models of the script at a "file://" URL; false for "fail".
    bool BindScript(const std::string& url)
    {
        fScriptURL = url;
        std::string path;
        for (std::size_t i = 7; i < url.size(); ++i)
            if (url[i] == '%' && i + 2 < url.size())
            {
                path += static_cast<char>(std::stoi(url.substr(i + 1, 2), nullptr, 16));
                i += 2;
            }
            else
                path += url[i];
        std::ifstream script(path);
        fModels.clear();
        for (std::string line; std::getline(script, line);)
        {
            if (line == "fail")
                return false;
            if (const std::size_t tab = line.find('\t'); tab != std::string::npos)
                fModels.emplace_back(line.substr(0, tab), line.substr(tab + 1));
        }
        return true;
    }

    void SetCodecsFolder(const std::string& folder) { fCodecsFolder = folder; }

private:
#if defined(BRASSFOLD_TEST_CODEC_STATES) || defined(BRASSFOLD_TEST_CODEC_FAULTY)
    static constexpr bool kStates = true;
#else
    static constexpr bool kStates = false;
#endif
#ifdef BRASSFOLD_TEST_CODEC_FAULTY
    static constexpr std::size_t kModelCount = std::size(kModels);
#else
    static constexpr std::size_t kModelCount = 1;
#endif
    static std::vector<std::pair<std::string, std::string>> Models()
    {
        std::vector<std::pair<std::string, std::string>> models;
        for (std::size_t i = 0; i < kModelCount; ++i)
            models.emplace_back("Brassfold Tests", kStates ? kModels[i] : "Plain Box");
        return models;
    }
    std::vector<std::pair<std::string, std::string>> fModels = Models();
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
        ICodec2* codec = std::strcmp(interfaceName, kCodecInterfaceName) == 0 ? new (std::nothrow) CTestCodec : nullptr;
        *status = codec != nullptr ? kCodecOK : kCodecUnsupportedInterface;
        return codec;
    }
#endif

#ifdef BRASSFOLD_TEST_CODEC_GOOD
    void SetLuaCodec(ICodec2* codec, const char* url, u32* status, ITextGetter* messages)
    {
        *status = static_cast<CTestCodec*>(codec)->BindScript(url) ? kCodecOK : kCodecBadFormat;
        if (*status != kCodecOK)
            messages->ITextGetter_Take((u"Script refused: " + std::u16string(url, url + std::strlen(url))).c_str());
    }

    void SetLuaCodecsDir(ICodec2* codec, const char* folder, u32* status)
    {
        static_cast<CTestCodec*>(codec)->SetCodecsFolder(folder);
        *status = kCodecOK;
    }
#endif
}
