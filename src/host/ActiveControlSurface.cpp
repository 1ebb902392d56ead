#include "host/ActiveControlSurface.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"
#include "foundation/Ticks.h"
#include "host/MIDIEventGetter.h"
#include "host/TextRule.h"
#include "midi/MIDIBytes.h"

#include <algorithm>
#include <stdexcept>
#include <string>

using namespace NSKinvarCodec;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
constexpr char16 kRequiredPortsText[] = u"All non-optional MIDI ports need to be chosen!";
constexpr char16 kInPortText[] =
    u"Could not open MIDI in port! Check if another program is already using it!";
constexpr char16 kOutPortText[] =
    u"Could not open MIDI out port! Check if another program is already using it!";

// The program's texts of the failures of a running surface.
constexpr u32 kFrameFailedText = 45;
constexpr u32 kMessageFailedText = 46;
constexpr u32 kInputDroppedText = 47;
constexpr u32 kBadItemText = 49;
constexpr u32 kNoInputText = 51;
constexpr u32 kOutOfRangeText = 52;
constexpr u32 kStepOfZeroText = 53;
constexpr u32 kNoSuchItemText = 54;
constexpr u32 kUnknownInputKindText = 55;
constexpr u32 kUnknownOutputKindText = 56;
constexpr u32 kBadRangeText = 57;
constexpr u32 kNameWithoutEndText = 58;
constexpr u32 kSlowCodecText = 63;
constexpr u32 kHandlingMessageText = 64;
constexpr u32 kOutputFrameText = 65;

thread_local bool tInputLostByHost = false;

// A call into the codec that takes longer holds up its port or the frames.
constexpr u64 kSlowCallMs = 100;

void LogLine(const char16* text) { AddToLog(TText16(text) + u'\n'); }

TText16 Number(i64 value) { return NSTextPackage::Text16FromUTF8(std::to_string(value)); }

TText16 Fill(u32 textId, const std::vector<TText16>& parameters)
{
    return NSTextPackage::SubstituteParameters(GetProgramText(textId), 0, parameters);
}

// How the log names a surface: its manufacturer and model.
TText16 SurfaceLabel(const TControlSurfaceInfo& info)
{
    return GetRecordText(info.fManufacturer) + u" " + GetRecordText(info.fModel);
}

// What is wrong with the description of an item; empty when nothing is.
TText16 FindItemInfoFault(const TItemInfo& info)
{
    const u32 input = info.fInputKind;
    const u32 output = info.fOutputKind;
    if (input < kInputButton || input > kInputNone)
        return Fill(kUnknownInputKindText, {Number(input)});
    if (output < kOutputValue || output > kOutputNone)
        return Fill(kUnknownOutputKindText, {Number(output)});
    const bool ranged = input == kInputButton || input == kInputValue || output == kOutputValue;
    if (ranged && info.fMin > info.fMax)
        return Fill(kBadRangeText, {Number(info.fMin), Number(info.fMax)});
    if (std::find(std::begin(info.fName), std::end(info.fName), 0) == std::end(info.fName))
        return GetProgramText(kNameWithoutEndText);
    return {};
}

// The detail of an input that doesn't fit its item.
TText16 DescribeInputFault(EItemInputFault fault, const TItemInput& input, const TItemInfo& info)
{
    const TText16 item = Number(input.fItemIndex);
    switch (fault)
    {
    case EItemInputFault::kNone:
    case EItemInputFault::kItemTakesNoInput:
        return Fill(kNoInputText, {item});
    case EItemInputFault::kKeyStateOutOfRange:
        return Fill(kOutOfRangeText, {item, Number(input.fValue1), u"0", u"1"});
    case EItemInputFault::kKeyOutOfRange:
        return Fill(kOutOfRangeText, {item, Number(input.fValue2), u"0", u"127"});
    case EItemInputFault::kVelocityOutOfRange:
        return Fill(kOutOfRangeText, {item, Number(input.fValue3), u"0", u"127"});
    case EItemInputFault::kDeltaOfZero:
        return Fill(kStepOfZeroText, {item});
    case EItemInputFault::kValueOutOfRange:
        break;
    }
    return Fill(kOutOfRangeText, {item, Number(input.fValue1), Number(info.fMin), Number(info.fMax)});
}

// For the debug channel: 7-bit characters as they are, "?" for the rest.
std::string Narrow(const TText16& text)
{
    std::string narrow;
    narrow.reserve(text.size());
    for (const char16 c : text)
        narrow += c < 0x80 ? static_cast<char>(c) : '?';
    return narrow;
}

// Status bytes that never reach a codec: MTC quarter frame, song position,
// clock and active sensing.
bool IsFilteredStatus(u8 status)
{
    return status == 0xFE || status == 0xF1 || status == 0xF2 || status == 0xF8;
}

[[noreturn]] void ThrowRequiredPortMissing()
{
    LogLine(kRequiredPortsText);
    BF_THROW_SITE();
    throw std::logic_error(std::string(Narrow(kRequiredPortsText)));
}
} // namespace

void NoteInputLostByHost() noexcept { tInputLostByHost = true; }

CActiveControlSurface::CActiveControlSurface(const TCodecPtr& codec,
                                             const std::vector<CMIDIPortSpec>& inPorts,
                                             const std::vector<CMIDIPortSpec>& outPorts,
                                             std::shared_ptr<IControlSurfaceInputHandler> handler,
                                             const TControlSurfaceInfo& info, ISurfacePorts& ports)
    : fOwnHandler(std::move(handler)), fFailures(SurfaceLabel(info)), fPorts(ports), fInfo(info),
      fName(GetRecordText(info.fModel))
{
    BF_TRACE("Creating Control Surface: %s %s", Narrow(GetRecordText(fInfo.fManufacturer)).c_str(),
             Narrow(fName).c_str());
    OpenInPorts(inPorts);
    OpenOutPorts(outPorts);
    fTraffic.resize(fOutPorts.size());
    CreateSurface(codec, fOwnHandler.get());
    fItemStates.assign(GetItemCount(), TItemState{});
    CheckItemInfos();
    SendStartupEvents();
}

CActiveControlSurface::CActiveControlSurface(const TCodecPtr& codec,
                                             const std::vector<CMIDIPortSpec>& inPorts,
                                             const std::vector<CMIDIPortSpec>& outPorts,
                                             IControlSurfaceInputHandler* handler,
                                             const TControlSurfaceInfo& info, ISurfacePorts& ports)
    : CActiveControlSurface(codec, inPorts, outPorts,
                            std::shared_ptr<IControlSurfaceInputHandler>(handler, [](auto*) {}), info, ports)
{
}

CActiveControlSurface::~CActiveControlSurface()
{
    {
        std::lock_guard locker(fLock);
        fControlSurface->IControlSurface_SetInputHandler(nullptr);
        fEnding = true;
    }
    // The end messages go out without fLock: metered at wire speed they take
    // long, and a message on its way in would wait for fLock meanwhile,
    // holding up its port's delivery. It finds fEnding set instead.
    SendShutdownEvents();
    // The ports close only now: the members go in reverse order, so the
    // surface is still there for a message on its way in, and is destroyed
    // last.
}

void CActiveControlSurface::CheckItemInfos()
{
    const u32 count = static_cast<u32>(fItemStates.size());
    fItemInfos.reserve(count);
    for (u32 item = 0; item < count; ++item)
    {
        TText16 fault;
        try
        {
            fItemInfos.push_back(GetItemInfo(item));
            fault = FindItemInfoFault(fItemInfos.back());
        }
        catch (...)
        {
            // An item that can't be described takes no input.
            fItemInfos.resize(item + 1, TItemInfo{});
            fault = DescribeCurrentException({});
        }
        if (!fault.empty())
            AddLineToLog(kBadItemText, {SurfaceLabel(fInfo), Number(item), fault});
    }
}

bool CActiveControlSurface::CheckInput(const TItemInput& input)
{
    if (input.fItemIndex >= fItemInfos.size())
    {
        fFailures.Report(kInputDroppedText,
                         Fill(kNoSuchItemText, {Number(input.fItemIndex), Number(i64(fItemInfos.size()))}));
        return false;
    }
    const TItemInfo& info = fItemInfos[input.fItemIndex];
    const EItemInputFault fault = FindItemInputFault(input, info);
    if (fault != EItemInputFault::kNone)
        fFailures.Report(kInputDroppedText, DescribeInputFault(fault, input, info));
    return fault == EItemInputFault::kNone;
}

void CActiveControlSurface::OpenInPorts(const std::vector<CMIDIPortSpec>& inPorts)
{
    BF_ASSERT(inPorts.size() <= kMaxPortCount && inPorts.size() == fInfo.fInPortCount);
    for (std::size_t i = 0; i < inPorts.size(); ++i)
    {
        if (inPorts[i].IsEmpty())
        {
            if (i >= kMaxPortCount || fInfo.fInPortOptional[i] != 1)
                ThrowRequiredPortMissing();
            fInPorts.emplace_back();
            continue;
        }
        try
        {
            fInPorts.push_back({inPorts[i], fPorts.Listen(inPorts[i], this)});
        }
        catch (...)
        {
            LogLine(kInPortText);
            throw;
        }
    }
}

void CActiveControlSurface::OpenOutPorts(const std::vector<CMIDIPortSpec>& outPorts)
{
    BF_ASSERT(outPorts.size() <= kMaxPortCount && outPorts.size() == fInfo.fOutPortCount);
    for (std::size_t i = 0; i < outPorts.size(); ++i)
    {
        if (outPorts[i].IsEmpty())
        {
            if (i >= kMaxPortCount || fInfo.fOutPortOptional[i] != 1)
                ThrowRequiredPortMissing();
            fOutPorts.emplace_back();
            continue;
        }
        try
        {
            fOutPorts.push_back(fPorts.GetSender(outPorts[i]));
        }
        catch (...)
        {
            LogLine(kOutPortText);
            throw;
        }
    }
}

// The contract hands no text getter to ICodec2_CreateControlSurface, so a
// refusal has only its status to say why.
void CActiveControlSurface::CreateSurface(const TCodecPtr& codec, IControlSurfaceInputHandler* handler)
{
    BF_ASSERT(codec != nullptr);
    if (!codec)
        throw XProgrammingError();
    try
    {
        u32 status = kCodecProgrammingError;
        TControlSurfacePtr surface(codec->ICodec2_CreateControlSurface(fInfo, &status),
                                   codecsurface_deleter());
        ThrowCodecResult(status);
        if (!surface)
        {
            BF_ASSERT(surface != nullptr);
            throw XProgrammingError();
        }
        // Input may arrive already: the input ports are open.
        std::lock_guard locker(fLock);
        fControlSurface = std::move(surface);
        ThrowCodecResult(fControlSurface->IControlSurface_SetInputHandler(handler));
    }
    catch (...)
    {
        BF_TRACE("The codec could not create the control surface");
        throw;
    }
}

void CActiveControlSurface::SendStartupEvents()
{
    for (u32 port = 0; port < fOutPorts.size(); ++port)
    {
        if (!fOutPorts[port])
            continue;
        CMIDIEventGetter getter = MeteredGetter(port);
        CCodecTextGetter messages;
        const u32 status = fControlSurface->IControlSurface_GetStartupEvents(getter, port, messages);
        ApplyTextRule(messages, status);
    }
}

CMIDIEventGetter CActiveControlSurface::MeteredGetter(u32 port) const
{
    return CMIDIEventGetter(fOutPorts[port], kThrottleOn, [&ports = fPorts](u32 ms) { ports.WaitForWire(ms); });
}

void CActiveControlSurface::SendShutdownEvents() noexcept
{
    try
    {
        for (u32 port = 0; port < fOutPorts.size(); ++port)
        {
            if (!fOutPorts[port])
                continue;
            CMIDIEventGetter getter = MeteredGetter(port);
            CCodecTextGetter messages;
            const u32 status = fControlSurface->IControlSurface_GetShutdownEvents(getter, port, messages);
            ApplyTextRule(messages, status);
        }
    }
    catch (...)
    {
        BF_TRACE("The control surface failed to send its shutdown events");
    }
}

void CActiveControlSurface::Receive(const CMIDIPortSpec& port, const u64* time,
                                    const NSMIDIHub::TBinary& data)
{
    BF_ASSERT(!data.empty());
    if (data.empty() || IsFilteredStatus(data.front()))
        return;
    std::lock_guard locker(fLock);
    if (data.size() > kMaxReceivedMessageSize || !fControlSurface || fEnding)
        return;
    HandleMessage(port, time, data);
}

void CActiveControlSurface::HandleMessage(const CMIDIPortSpec& port, const u64* time,
                                          const NSMIDIHub::TBinary& data)
{
    const u32 inPort = FindInPort(port);
    TMIDIEvent event;
    event.fTime = time != nullptr ? *time : 0;
    event.fSize = static_cast<u32>(data.size());
    std::copy(data.begin(), data.end(), event.fData);
    CCodecTextGetter messages;
    TText16 failureText;
    const u64 start = NSThreads::GetTicks64();
    tInputLostByHost = false;
    try
    {
        const u32 status = fControlSurface->IControlSurface_HandleMIDIEvent(&event, inPort, messages);
        ApplyTextRule(messages, status, failureText);
    }
    catch (...)
    {
        if (!tInputLostByHost)
            fFailures.ReportCurrentException(kMessageFailedText, failureText);
        throw;
    }
    if (NSThreads::GetTicks64() - start > kSlowCallMs)
        fFailures.Report(kSlowCodecText, GetProgramText(kHandlingMessageText));
}

// The walk does not pass over unassigned ports: a surface whose first input
// port is left out and whose second is used fails at its first message.
u32 CActiveControlSurface::FindInPort(const CMIDIPortSpec& port) const
{
    for (u32 i = 0; i < fInPorts.size(); ++i)
    {
        if (!fInPorts[i].fListening)
        {
            BF_ASSERT(fInPorts[i].fListening != nullptr);
            throw XProgrammingError();
        }
        if (fInPorts[i].fSpec == port)
            return i;
    }
    BF_ASSERT(false);
    throw XProgrammingError();
}

void CActiveControlSurface::DriveOutput(u32 maxBytes)
{
    TText16 failureText;
    const u64 start = NSThreads::GetTicks64();
    try
    {
        DriveOutputPorts(maxBytes, failureText);
    }
    catch (...)
    {
        fFailures.ReportCurrentException(kFrameFailedText, failureText);
        throw;
    }
    if (NSThreads::GetTicks64() - start > kSlowCallMs)
        fFailures.Report(kSlowCodecText, GetProgramText(kOutputFrameText));
}

void CActiveControlSurface::DriveOutputPorts(u32 maxBytes, TText16& failureText)
{
    for (u32 port = 0; port < fOutPorts.size(); ++port)
    {
        // A vanished port is passed over: what the panel changes meanwhile
        // goes out when it is back.
        if (!fOutPorts[port] || !fOutPorts[port]->IsPresent())
            continue;
        CCodecTextGetter stateMessages;
        const u32 stateStatus = fControlSurface->IControlSurface_SetItemStates(
            static_cast<u32>(fItemStates.size()), fItemStates.data(), stateMessages);
        ApplyTextRule(stateMessages, stateStatus, failureText);

        CMIDIEventGetter getter(fOutPorts[port], kThrottleOff);
        CCodecTextGetter messages;
        const u32 status =
            fControlSurface->IControlSurface_GetOutputEvents(maxBytes, port, getter, messages);
        // What the getter met is the better account, whatever the codec made
        // of the status it got.
        if (!getter.GetFailure().empty())
        {
            failureText = getter.GetFailure();
            throw std::runtime_error("");
        }
        ApplyTextRule(messages, status, failureText);

        const u64 now = NSTonewell::MonotonicMicroseconds();
        BF_ASSERT(port < fTraffic.size());
        fTraffic.at(port).Append(now, getter.GetByteCount());
    }
}

std::pair<u32, u32> CActiveControlSurface::GetOutputTraffic(u32 outPort, i64 milliseconds) const
{
    BF_ASSERT(outPort < fTraffic.size());
    BF_ASSERT(milliseconds > 0);
    return fTraffic.at(outPort).GetRates(NSTonewell::MonotonicMicroseconds(), milliseconds);
}

void CActiveControlSurface::GetInfo(TControlSurfaceInfo* result) const
{
    BF_ASSERT(result != nullptr);
    *result = fInfo;
}

u32 CActiveControlSurface::GetItemCount() const
{
    u32 count = 0;
    ThrowCodecResult(fControlSurface->IControlSurface_GetItemCount(&count));
    return count;
}

TItemInfo CActiveControlSurface::GetItemInfo(u32 item) const
{
    TItemInfo info{};
    ThrowCodecResult(fControlSurface->IControlSurface_GetItemInfo(item, &info));
    return info;
}

TText16 CActiveControlSurface::GetItemStateName(u32 item, u32 stateIndex) const
{
    // Room for any name a codec may write: the contract sets no bound.
    char16 modeName[1024] = {};
    ThrowCodecResult(fControlSurface->IControlSurface_GetItemStateName(item, stateIndex, modeName));
    return GetRecordText(modeName);
}

TItemState CActiveControlSurface::GetItemState(u32 item) const
{
    BF_ASSERT(item < fItemStates.size());
    return fItemStates.at(item);
}

void CActiveControlSurface::SetItemState(u32 item, const TItemState& state)
{
    BF_ASSERT(item < fItemStates.size());
    fItemStates.at(item) = state;
}

bool CActiveControlSurface::HoldsSurface(const IControlSurface* surface) const
{
    return fControlSurface.get() == surface;
}
