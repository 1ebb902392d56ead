#pragma once
// CBufferingMIDIInPort: an input port whose messages wait in a queue until
// somebody asks for them, for a probe or the MIDI test window, which read on
// the user interface thread what arrives on a MIDI thread.

#include "codec/KinvarCodec.h"
#include "foundation/FIFO.h"
#include "midi/MIDIHub.h"

#include <vector>

namespace NSKinvarSetupUtils
{
class CBufferingMIDIInPort final : public NSMIDIHub::IMIDIReceiver
{
public:
    static constexpr std::size_t kCapacity = 1000;

    // Makes the queue first and subscribes last; throws what opening the
    // port throws.
    CBufferingMIDIInPort(NSMIDIHub::CMIDIHub& hub, const NSMIDIHub::CMIDIPortSpec& address);

    const NSMIDIHub::CMIDIPortSpec& GetSpec() const { return fPort.GetSpec(); }

    // The MIDI thread, the one writer: queues the message as a TMIDIEvent.
    // A message longer than the contract allows is dropped without a word;
    // when kCapacity events wait, std::overflow_error leaves (the open port
    // makes it a status) and the message is lost. Nothing else is filtered:
    // clock and the like reach the reader.
    void Receive(const NSMIDIHub::CMIDIPortSpec& port, const u64* time,
                 const NSMIDIHub::TBinary& data) override;

    // The one reader: what arrived since the last call, oldest first.
    std::vector<NSKinvarCodec::TMIDIEvent> TakeEvents();

private:
    CFIFO<NSKinvarCodec::TMIDIEvent> fBuffer;
    NSMIDIHub::CMIDIInPort fPort;
};
} // namespace NSKinvarSetupUtils
