#pragma once
// CMIDIProber: every port of the machine, open for one run of auto-detection,
// as the codecs' probes see them (NSKinvarCodec::IMIDIProber).
//
// A port that can't be opened (another program holds it) is left out with a
// debug line and no word to the user. An output port left out this way stays
// in the list of output addresses all the same, so from there on an output
// port's index among the senders (which a probe sends by) and among the addresses
// (which a probe's port map resolves by) differ by the number of ports that
// failed ahead of it. That asymmetry is kept on purpose: codecs of the field
// rely on the indices as they are.
//
// The user interface thread; the input ports fill their buffers on MIDI
// threads.

#include "codec/KinvarCodec.h"
#include "midi/BufferingMIDIInPort.h"
#include "midi/MIDIHub.h"

#include <memory>
#include <vector>

namespace NSKinvarSetupUtils
{
class CMIDIProber final : public NSKinvarCodec::IMIDIProber
{
public:
    // Opens every port that hub lists now.
    explicit CMIDIProber(NSMIDIHub::CMIDIHub& hub);
    CMIDIProber(const CMIDIProber&) = delete;
    CMIDIProber& operator=(const CMIDIProber&) = delete;

    // The codec edge: a std::exception becomes its status, anything else 23021.
    NSKinvarCodec::u32 IMIDIProber_GetOutPortCount(NSKinvarCodec::u32* count) override;
    // The events go out in order on the sender of that index, with their
    // times, unthrottled. A bad index is a failed assertion.
    NSKinvarCodec::u32 IMIDIProber_SendEvents(NSKinvarCodec::u32 outPort, NSKinvarCodec::u32 count,
                                              const NSKinvarCodec::TMIDIEvent* events) override;
    NSKinvarCodec::u32 IMIDIProber_GetInPortCount(NSKinvarCodec::u32* count) override;
    // Empties that port's buffer into one call of getter, also when nothing
    // came. A bad index is a failed assertion.
    NSKinvarCodec::u32 IMIDIProber_GetEvents(NSKinvarCodec::u32 inPort,
                                             NSKinvarCodec::IMIDIEventGetter& getter) override;

    const std::vector<std::shared_ptr<CBufferingMIDIInPort>>& GetInPorts() const
    {
        return fInPorts;
    }
    const std::vector<NSMIDIHub::CMIDIPortSpec>& GetOutPortSpecs() const { return fOutPortSpecs; }

private:
    std::vector<std::shared_ptr<CBufferingMIDIInPort>> fInPorts;
    std::vector<std::shared_ptr<NSMIDIHub::IMIDISender>> fSenders;
    std::vector<NSMIDIHub::CMIDIPortSpec> fOutPortSpecs;
};
} // namespace NSKinvarSetupUtils
