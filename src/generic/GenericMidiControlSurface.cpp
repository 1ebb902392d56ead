#include "generic/GenericMidiControlSurface.h"

#include "generic/GenericTexts.h"

#include "codec/CodecSupport.h"
#include "foundation/Assert.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace NSGenericMidiCodec
{
using namespace NSKinvarCodec;
using NSKinvarCodec::kCodecOK;

namespace
{
TText16 Decimal(u32 value)
{
    const std::string digits = std::to_string(value);
    return TText16(digits.begin(), digits.end());
}

TText16 InPortName(u32 port, u32 count)
{
    if (count == 1)
        return GetGenericCodecText(kTextMIDIInput);
    return NSTextPackage::SubstituteParameters(GetGenericCodecText(kTextMIDIInputNumbered), 0, {Decimal(port + 1)});
}
} // namespace

std::string MakeUniqueName(const CGenericMidiCodecConfig& config)
{
    return "GenericMIDICodec/" + NSTextPackage::UTF8FromText16(config.fManufacturer) + "/" +
           NSTextPackage::UTF8FromText16(config.fModel);
}

void FillControlSurfaceInfo(const CGenericMidiCodecConfig& config, TControlSurfaceInfo& info)
{
    info = TControlSurfaceInfo{};
    SetRecordText(info.fManufacturer, config.fManufacturer);
    SetRecordText(info.fModel, config.fModel);
    // 16 passes the reader but not this check: the record's table has 16 rows,
    // the count is held to less.
    BF_ASSERT(config.fInPortCount != 0);
    BF_ASSERT(config.fInPortCount < kMaxPortCount);
    info.fInPortCount = config.fInPortCount;
    for (u32 port = 0; port < config.fInPortCount && port < kMaxPortCount; ++port)
    {
        SetRecordText(info.fInPortNames[port], InPortName(port, config.fInPortCount));
        info.fInPortOptional[port] = port == 0 ? 0 : 1;
    }
    // The output port only carries what is sent at probing and at start, so the
    // user may leave it unassigned.
    if (!config.fIdentityRequest.empty() || !config.fSetupMessages.empty())
    {
        info.fOutPortCount = 1;
        info.fOutPortOptional[0] = 1;
        SetRecordText(info.fOutPortNames[0], GetGenericCodecText(kTextMIDIOutputOptional));
    }
    SetRecordText(info.fSetupInfoText, config.fSetupInfoText);
    SetRecordText(info.fSetupWarningText, config.fSetupWarningText);
    SetRecordText(info.fSetupUserActionText, config.fSetupUserActionText);
    info.fHasKeyboard = config.fHasKeyboard ? 1 : 0;
}

CGenericMidiControlSurface::CGenericMidiControlSurface(CGenericMidiCodecConfig config)
    : fConfig(std::move(config)), fDispatcher(fConfig.fItems)
{
}

CGenericMidiControlSurface::~CGenericMidiControlSurface() = default;

template <class Body> u32 CGenericMidiControlSurface::Guarded(Body&& body)
{
    return GuardCodecOperation([this] { return IControlSurface_CheckInvariant(); }, std::forward<Body>(body));
}

// The surface holds nothing that could fall out of step: its definition is a
// copy made at creation, and its buffers are bounded by their use.
u32 CGenericMidiControlSurface::IControlSurface_CheckInvariant() { return 1; }

u32 CGenericMidiControlSurface::IControlSurface_GetUniqueName(char* buffer)
{
    return Guarded([&] {
        if (buffer == nullptr)
            throw std::invalid_argument("NULL buffer pointer");
        std::memset(buffer, 0, kUniqueNameBufferSize);
        const std::string name = MakeUniqueName(fConfig);
        std::memcpy(buffer, name.data(), std::min<std::size_t>(name.size(), kUniqueNameBufferSize - 1));
    });
}

u32 CGenericMidiControlSurface::IControlSurface_GetInfo(TControlSurfaceInfo* info)
{
    return Guarded([&] {
        if (info == nullptr)
            throw std::invalid_argument("NULL info pointer");
        FillControlSurfaceInfo(fConfig, *info);
    });
}

u32 CGenericMidiControlSurface::IControlSurface_GetItemCount(u32* count)
{
    return Guarded([&] {
        if (count == nullptr)
            throw std::invalid_argument("NULL count pointer");
        *count = u32(fConfig.fItems.size());
    });
}

u32 CGenericMidiControlSurface::IControlSurface_GetItemInfo(u32 itemIndex, TItemInfo* info)
{
    return Guarded([&] {
        if (info == nullptr || itemIndex >= fConfig.fItems.size())
            throw std::invalid_argument("Bad item index");
        const CGenericMidiItem& item = fConfig.fItems[itemIndex];
        *info = TItemInfo{};
        SetRecordText(info->fName, item.fName);
        info->fInputKind = item.fInputKind;
        info->fOutputKind = kOutputNone;
        info->fMin = item.fMin;
        info->fMax = item.fMax;
        info->fStateCount = 0;
    });
}

u32 CGenericMidiControlSurface::IControlSurface_GetItemStateName(u32, u32, char16*)
{
    return kCodecProgrammingError;
}

u32 CGenericMidiControlSurface::IControlSurface_GetStartupEvents(IMIDIEventGetter& getter, u32 outPort,
                                                                 ITextGetter&)
{
    return Guarded([&] {
        BF_ASSERT(outPort == 0);
        std::vector<TMIDIEvent> events;
        events.reserve(fConfig.fSetupMessages.size());
        for (const TMIDIBytes& message : fConfig.fSetupMessages)
        {
            if (message.size() > kMaxMIDIEventSize)
            {
                BF_ASSERT(message.size() <= kMaxMIDIEventSize);
                throw std::runtime_error("sysex data too large");
            }
            TMIDIEvent& event = events.emplace_back(TMIDIEvent{});
            event.fSize = u32(message.size());
            std::copy(message.begin(), message.end(), event.fData);
        }
        if (!events.empty())
            ThrowCodecResult(getter.IMIDIEventGetter_Take(events.data(), u32(events.size())));
    });
}

u32 CGenericMidiControlSurface::IControlSurface_SetInputHandler(IControlSurfaceInputHandler* handler)
{
    return Guarded([&] { fInputHandler = handler; });
}

u32 CGenericMidiControlSurface::IControlSurface_HandleMIDIEvent(const TMIDIEvent* event, u32 inPort, ITextGetter&)
{
    return Guarded([&] {
        BF_ASSERT(inPort < fConfig.fInPortCount);
        BF_ASSERT(inPort < kMaxPortCount);
        if (event == nullptr || event->fSize > kMaxMIDIEventSize || inPort >= kMaxPortCount)
            throw std::invalid_argument("Bad MIDI event");
        HandleMessage(*event, inPort);
    });
}

void CGenericMidiControlSurface::HandleMessage(const TMIDIEvent& event, u32 inPort)
{
    TRuleMatch match;
    if (fInputHandler == nullptr || !fDispatcher.Dispatch(event, inPort, match))
        return;
    TItemInput input{};
    input.fTime = event.fTime;
    input.fItemIndex = match.fItemIndex;
    input.fValue1 = match.fValue1;
    input.fValue2 = match.fValue2;
    input.fValue3 = match.fValue3;
    ThrowCodecResult(fInputHandler->IControlSurfaceInputHandler_HandleInput(this, &input));
}

u32 CGenericMidiControlSurface::IControlSurface_SetItemStates(u32, const TItemState*, ITextGetter&)
{
    return Guarded([] {});
}

u32 CGenericMidiControlSurface::IControlSurface_GetOutputEvents(u32, u32, IMIDIEventGetter&, ITextGetter&)
{
    return Guarded([] {});
}

u32 CGenericMidiControlSurface::IControlSurface_GetShutdownEvents(IMIDIEventGetter& getter, u32 outPort, ITextGetter&)
{
    return Guarded([&] {
        BF_ASSERT(outPort == 0);
        ThrowCodecResult(getter.IMIDIEventGetter_Take(nullptr, 0));
    });
}

u32 CGenericMidiControlSurface::IControlSurface_Destroy()
{
    delete this;
    return kCodecOK;
}
} // namespace NSGenericMidiCodec
