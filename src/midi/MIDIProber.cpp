#include "midi/MIDIProber.h"

#include "foundation/Assert.h"
#include "foundation/DiagnosticText.h"
#include "foundation/Failures.h"

#include <algorithm>
#include <stdexcept>

namespace NSKinvarSetupUtils
{
using namespace NSKinvarCodec;
using NSMIDIHub::CMIDIPortSpec;

CMIDIProber::CMIDIProber(NSMIDIHub::CMIDIHub& hub) : fOutPortSpecs(hub.GetOutPorts())
{
    for (const CMIDIPortSpec& address : hub.GetInPorts())
    {
        try
        {
            fInPorts.push_back(std::make_shared<CBufferingMIDIInPort>(hub, address));
        }
        catch (...)
        {
            BF_TRACE("Failed to open MIDI input port: %s",
                     UTF8FromText16Lenient(address.GetDisplayName()).c_str());
        }
    }
    for (const CMIDIPortSpec& address : hub.GetOutPorts())
    {
        try
        {
            fSenders.push_back(hub.GetSender(address));
        }
        catch (...)
        {
            BF_TRACE("Failed to open MIDI output port: %s",
                     UTF8FromText16Lenient(address.GetDisplayName()).c_str());
        }
    }
}

u32 CMIDIProber::IMIDIProber_GetOutPortCount(u32* count)
{
    return GuardEdge(kCodecEdge, [&] { *count = static_cast<u32>(fSenders.size()); });
}

u32 CMIDIProber::IMIDIProber_SendEvents(u32 outPort, u32 count, const TMIDIEvent* events)
{
    return GuardEdge(kCodecEdge,
                     [&]
                     {
                         BF_ASSERT(outPort < fSenders.size());
                         if (outPort >= fSenders.size())
                             throw std::invalid_argument("");
                         NSMIDIHub::IMIDISender& sender = *fSenders[outPort];
                         for (u32 i = 0; i < count; ++i)
                         {
                             const TMIDIEvent& event = events[i];
                             const u32 size = std::min(event.fSize, kMaxMIDIEventSize);
                             sender.Send(&event.fTime,
                                         NSMIDIHub::TBinary(event.fData, event.fData + size));
                         }
                     });
}

u32 CMIDIProber::IMIDIProber_GetInPortCount(u32* count)
{
    return GuardEdge(kCodecEdge, [&] { *count = static_cast<u32>(fInPorts.size()); });
}

u32 CMIDIProber::IMIDIProber_GetEvents(u32 inPort, IMIDIEventGetter& getter)
{
    return GuardEdge(kCodecEdge,
                     [&]
                     {
                         BF_ASSERT(inPort < fInPorts.size());
                         if (inPort >= fInPorts.size())
                             throw std::invalid_argument("");
                         const std::vector<TMIDIEvent> events = fInPorts[inPort]->TakeEvents();
                         ThrowCodecResult(getter.IMIDIEventGetter_Take(
                             events.data(), static_cast<u32>(events.size())));
                     });
}
} // namespace NSKinvarSetupUtils
