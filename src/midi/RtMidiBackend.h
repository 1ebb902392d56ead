#pragma once
// The backends on RtMidi: the ALSA sequencer and JACK.
//
// Every RtMidi object is a client named "Brassfold". Ports are listed
// through one pair of RtMidi objects kept for the purpose (ALSA refuses new
// clients after about 64) or, for JACK, through the watch client of
// midi/JackWatch.h. Each open port is an RtMidi object of its own, whose
// port is named with OwnPortPrefix() so that the lists leave it out.
//
// RtMidi's error callback is set on every object, so that RtMidi never
// throws after construction; an error becomes a status word. Input is taken
// whole from RtMidi's callback (sysex, clock and active sensing included),
// stamped with the monotonic clock, copied into the port's channel and
// handed to the handler on this backend's delivery thread.
//
// A backend that cannot start lists no ports and says why once on the debug
// channel. ALSA is tried once; JACK again at a listing, at most every two
// seconds, so that a server started later is found.

#include "midi/Backend.h"
#include "midi/DeliveryThread.h"
#include "midi/JackWatch.h"

#include <chrono>
#include <memory>
#include <mutex>

class RtMidiIn;
class RtMidiOut;

namespace NSTonewell
{
class CRtMidiBackend;

// Whether an open port still reaches the port it was opened on: its
// address, the name under which that was listed, our own port's name, and
// the record of the last check, so that most calls cost one comparison. The
// thread that uses the port.
class CPortPresence
{
public:
    CPortPresence(CRtMidiBackend& backend, const CPortAddress& address,
                  std::shared_ptr<CJackWatch> watch);
    void Opened(const std::string& listedName, const std::string& ownName);
    bool IsStillThere();

private:
    friend class CRtMidiBackend;

    CRtMidiBackend& fBackend;
    const CPortAddress fAddress;
    const std::shared_ptr<CJackWatch> fWatch;
    std::string fListedName;
    std::string fOwnName;
    u64 fSeen;
};

class CRtMidiBackend final : public CBackend
{
public:
    // kind is EBackend::kALSA or EBackend::kJACK.
    CRtMidiBackend(EBackend kind, const CLibraryDebug& debug);
    ~CRtMidiBackend() override;

    EBackend GetKind() const override { return fKind; }
    std::vector<std::string> ListPorts(EDirection direction) override;
    std::unique_ptr<IMIDIInPort> OpenIn(IMIDIInHandler& handler, const CPortAddress& address,
                                        u32& status) override;
    std::unique_ptr<IMIDISender> OpenOut(const CPortAddress& address, u32& status) override;

    // Whether an open port still reaches the port it was opened on: for
    // JACK, whether our port is still connected to it; for ALSA, whether it
    // is still listed under the same name (a device that comes back gets new
    // numbers). Checked again when the JACK graph changed, or every 200 ms.
    bool IsStillThere(CPortPresence& port);

private:
    bool Start();
    bool StartALSA(std::string& why);
    bool StartJACK(std::string& why);
    std::vector<std::string> ListLocked(EDirection direction);
    std::string NextOwnPortName(const char* kind);

    const EBackend fKind;
    const CLibraryDebug& fDebug;
    bool fSaidWhy;
    bool fGaveUp;
    std::chrono::steady_clock::time_point fNextTry;
    // Guards the listers, which senders use too.
    std::mutex fListLock;
    std::unique_ptr<RtMidiIn> fInLister;
    std::unique_ptr<RtMidiOut> fOutLister;
    std::shared_ptr<CJackWatch> fWatch;
    u32 fPortsMade;
    // Made at start, after the listers; it outlives every port of ours.
    std::unique_ptr<CDeliveryThread> fDelivery;
};
} // namespace NSTonewell
