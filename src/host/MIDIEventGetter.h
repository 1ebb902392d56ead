#pragma once
// The sink through which a running surface's outgoing MIDI reaches a port.
//
// A codec hands over records; each whole message goes to the sender while the
// codec's call runs. A system exclusive message that a codec splits over
// several records of one call is put together first; nothing is kept from
// one call to the next, so a sysex left open at the end of a call is dropped.
//
// Start and end messages of a surface, which can be long, are metered at the
// speed of a MIDI wire (kThrottleOn): the calling thread sleeps as long as
// the bytes take on the wire, so as not to overrun the hardware. Frames are
// not metered (kThrottleOff).

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"
#include "midi/MIDIHub.h"

#include <functional>
#include <memory>

inline constexpr u32 kThrottleOff = 78;
inline constexpr u32 kThrottleOn = 79;

// Bytes per second of a MIDI wire: 31250 baud, ten bits a byte.
inline constexpr u32 kMIDIWireBytesPerSecond = 3125;

class CMIDIEventGetter final : public NSKinvarCodec::IMIDIEventGetter
{
public:
    // How the getter waits when it meters; tests replace it.
    using TSleeper = std::function<void(u32 milliseconds)>;

    CMIDIEventGetter(std::shared_ptr<NSMIDIHub::IMIDISender> sender, u32 throttleMode);
    CMIDIEventGetter(std::shared_ptr<NSMIDIHub::IMIDISender> sender, u32 throttleMode,
                     TSleeper sleeper);

    // On the thread of the codec's call. No exception leaves: a failure
    // becomes the codec edge's status word, and the records after it are not
    // sent. A record that is empty or longer than the contract allows, or a
    // sysex start while another is being put together, is the codec's fault;
    // a sender that fails, the port's.
    NSKinvarCodec::u32 IMIDIEventGetter_Take(const NSKinvarCodec::TMIDIEvent* events,
                                             NSKinvarCodec::u32 count) override;

    // Bytes handed to the sender so far.
    u32 GetByteCount() const { return fByteCount; }
    // What went wrong first, for the log, whatever the codec made of the
    // status it got; empty while nothing did.
    const TText16& GetFailure() const { return fFailure; }
    // Milliseconds of wire time not slept yet (may be negative).
    float GetThrottleDebtMs() const { return fThrottleDebtMs; }

private:
    void TakeEvents(const NSKinvarCodec::TMIDIEvent* events, NSKinvarCodec::u32 count);
    // Keeps the first failure.
    void Fail(const TText16& failure);
    void Send(const NSMIDIHub::TBinary& data, u64 time);
    void Throttle(std::size_t size);

    std::shared_ptr<NSMIDIHub::IMIDISender> fSender;
    u32 fThrottleMode;
    float fThrottleDebtMs = 0;
    u32 fByteCount = 0;
    TSleeper fSleeper;
    TText16 fFailure;
};
