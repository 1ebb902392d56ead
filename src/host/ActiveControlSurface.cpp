#include "host/ActiveControlSurface.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "host/MIDIEventGetter.h"
#include "host/TextRule.h"
#include "midi/MIDIBytes.h"

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

void LogLine(const char16* text) { AddToLog(TText16(text) + u'\n'); }

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

CActiveControlSurface::CActiveControlSurface(const TCodecPtr& codec,
                                             const std::vector<CMIDIPortSpec>& inPorts,
                                             const std::vector<CMIDIPortSpec>& outPorts,
                                             IControlSurfaceInputHandler* handler,
                                             const TControlSurfaceInfo& info, ISurfacePorts& ports)
    : fPorts(ports), fInfo(info), fName(GetRecordText(info.fModel))
{
    BF_TRACE("Creating Control Surface: %s %s", Narrow(GetRecordText(fInfo.fManufacturer)).c_str(),
             Narrow(fName).c_str());
    OpenInPorts(inPorts);
    OpenOutPorts(outPorts);
    fTraffic.resize(fOutPorts.size());
    CreateSurface(codec, handler);
    fItemStates.assign(GetItemCount(), TItemState{});
    SendStartupEvents();
}

CActiveControlSurface::~CActiveControlSurface()
{
    {
        std::lock_guard locker(fLock);
        fControlSurface->IControlSurface_SetInputHandler(nullptr);
        SendShutdownEvents();
    }
    // The ports close only now, with fLock released: a delivery thread may be
    // inside Receive, waiting for fLock while it holds the open port's lock
    // that closing the port needs. The members go in reverse order, so the
    // surface is still there for a message on its way in, which finds no
    // handler, and is destroyed last.
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
    if (data.size() > kMaxReceivedMessageSize || !fControlSurface)
        return;
    const u32 inPort = FindInPort(port);
    TMIDIEvent event;
    event.fTime = time != nullptr ? *time : 0;
    event.fSize = static_cast<u32>(data.size());
    std::copy(data.begin(), data.end(), event.fData);
    CCodecTextGetter messages;
    const u32 status = fControlSurface->IControlSurface_HandleMIDIEvent(&event, inPort, messages);
    ApplyTextRule(messages, status);
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
    for (u32 port = 0; port < fOutPorts.size(); ++port)
    {
        if (!fOutPorts[port])
            continue;
        CCodecTextGetter stateMessages;
        const u32 stateStatus = fControlSurface->IControlSurface_SetItemStates(
            static_cast<u32>(fItemStates.size()), fItemStates.data(), stateMessages);
        ApplyTextRule(stateMessages, stateStatus);

        CMIDIEventGetter getter(fOutPorts[port], kThrottleOff);
        CCodecTextGetter messages;
        const u32 status =
            fControlSurface->IControlSurface_GetOutputEvents(maxBytes, port, getter, messages);
        ApplyTextRule(messages, status);

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
