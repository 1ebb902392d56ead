#include "midi/BufferingMIDIInPort.h"

#include "foundation/Assert.h"

#include <algorithm>

namespace NSKinvarSetupUtils
{
using NSKinvarCodec::kMaxMIDIEventSize;
using NSKinvarCodec::TMIDIEvent;

CBufferingMIDIInPort::CBufferingMIDIInPort(NSMIDIHub::CMIDIHub& hub,
                                           const NSMIDIHub::CMIDIPortSpec& address)
    : fBuffer(kCapacity), fPort(hub, address, this)
{
}

void CBufferingMIDIInPort::Receive(const NSMIDIHub::CMIDIPortSpec& port, const u64* time,
                                   const NSMIDIHub::TBinary& data)
{
    BF_ASSERT(port == fPort.GetSpec());
    if (data.size() > kMaxMIDIEventSize)
        return;
    TMIDIEvent event{};
    event.fTime = time != nullptr ? *time : 0;
    event.fSize = static_cast<u32>(data.size());
    std::copy(data.begin(), data.end(), event.fData);
    fBuffer.Push(event);
}

std::vector<TMIDIEvent> CBufferingMIDIInPort::TakeEvents()
{
    std::vector<TMIDIEvent> events;
    // The size read once: what arrives meanwhile waits for the next call.
    const std::size_t count = fBuffer.GetSize();
    events.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        events.push_back(fBuffer.Pop());
    return events;
}
} // namespace NSKinvarSetupUtils
