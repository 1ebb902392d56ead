#include "midi/RtMidiBackend.h"

#include "midi/MIDIBytes.h"

#include <RtMidi.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <thread>
#include <unistd.h>
#include <utility>

namespace NSTonewell
{
namespace
{
const char* const kClientName = "Brassfold";
// Room of an input port: a long dump, or some 16000 short messages.
constexpr std::size_t kChannelCapacity = 256 * 1024;
constexpr auto kJackRetryInterval = std::chrono::seconds(2);
// How often an ALSA output port looks whether its destination is still listed.
constexpr auto kALSACheckInterval = std::chrono::milliseconds(200);
// A JACK connection shows in the graph at the server's next cycle.
constexpr auto kJackConnectionTimeout = std::chrono::seconds(2);
constexpr u32 kJackSettlingCycles = 2;

RtMidi::Api ApiOf(EBackend kind)
{
    return kind == EBackend::kALSA ? RtMidi::LINUX_ALSA : RtMidi::UNIX_JACK;
}

const char* NameOf(EBackend kind)
{
    return kind == EBackend::kALSA ? "ALSA" : "JACK";
}

// Collects what RtMidi reports through its error callback, so that it never
// throws. RtMidi may report on its own threads, hence the lock.
class CRtMidiErrors
{
public:
    static void Record(RtMidiError::Type type, const std::string& text, void* self)
    {
        if (type == RtMidiError::DEBUG_WARNING)
            return;
        auto* errors = static_cast<CRtMidiErrors*>(self);
        std::lock_guard lock(errors->fLock);
        if (errors->fFirst.empty())
            errors->fFirst = text.empty() ? "unknown RtMidi error" : text;
    }

    // The first report since the last call, or empty.
    std::string Take()
    {
        std::lock_guard lock(fLock);
        return std::exchange(fFirst, std::string());
    }

private:
    std::mutex fLock;
    std::string fFirst;
};

void IgnoreError(RtMidiError::Type, const std::string&, void*) {}

template <class TRtMidi> std::vector<std::string> ListNames(TRtMidi& midi)
{
    CRtMidiErrors errors;
    midi.setErrorCallback(&CRtMidiErrors::Record, &errors);
    std::vector<std::string> names;
    const unsigned count = midi.getPortCount();
    for (unsigned i = 0; i < count; ++i)
    {
        std::string name = midi.getPortName(i);
        // A port that left between the count and the name reports an error.
        if (errors.Take().empty() && !IsOwnPort(name))
            names.push_back(std::move(name));
    }
    midi.setErrorCallback(&IgnoreError, nullptr);
    return names;
}

// Waits until the JACK graph shows our port connected to other, and then
// for the server to run with it, so that the first message sent gets through.
bool WaitForConnection(const CJackWatch& watch, const std::string& ownName,
                       const std::string& other)
{
    const auto deadline = std::chrono::steady_clock::now() + kJackConnectionTimeout;
    while (!watch.IsConnected(ownName, other))
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return watch.WaitForCycles(kJackSettlingCycles, kJackConnectionTimeout);
}

// What opening a port came to: a status, the reason of a failure, and the
// name under which the port was listed when it opened.
struct TOpening
{
    u32 fStatus = kTonewellOK;
    std::string fError;
    std::string fListedName;
};

// Makes the RtMidi object of a port and opens the port of address on it. The
// port is looked up in that object's own listing, our own ports included,
// since its positions are the ones that openPort takes. prepare runs just
// before the port opens.
template <class TRtMidi, class Prepare>
TOpening OpenOnNewClient(std::unique_ptr<TRtMidi>& midi, CRtMidiErrors& errors, EBackend kind,
                         const CPortAddress& address, const std::string& ownName, Prepare&& prepare)
{
    try
    {
        midi = std::make_unique<TRtMidi>(ApiOf(kind), kClientName);
    }
    catch (const RtMidiError& e)
    {
        return {kTonewellOpenFailed, e.getMessage(), {}};
    }
    midi->setErrorCallback(&CRtMidiErrors::Record, &errors);
    std::vector<std::string> names;
    const unsigned count = midi->getPortCount();
    for (unsigned i = 0; i < count; ++i)
        names.push_back(midi->getPortName(i)); // empty for one that left meanwhile
    errors.Take();
    const std::optional<u32> index = FindPort(address, names);
    if (!index)
        return {kTonewellPortGone, "the port is no longer listed", {}};
    prepare(*midi);
    midi->openPort(*index, ownName);
    std::string error = errors.Take();
    if (error.empty() && !midi->isPortOpen())
        error = "the port did not open";
    return {error.empty() ? kTonewellOK : kTonewellOpenFailed, error, names[*index]};
}

class CRtMidiInPort final : public IMIDIInPort
{
public:
    CRtMidiInPort(CRtMidiBackend& backend, CDeliveryThread& delivery, IMIDIInHandler& handler,
                  const CLibraryDebug& debug, const CPortAddress& address,
                  std::shared_ptr<CJackWatch> watch)
        : fDebug(debug), fName(address.GetDisplayName()), fDelivery(delivery),
          fChannel(delivery.Open(handler, *this, kChannelCapacity)),
          fPresence(backend, address, std::move(watch))
    {
    }

    ~CRtMidiInPort() override
    {
        // RtMidi's callbacks have ended when its object is gone; then the
        // channel may close.
        fMidi.reset();
        fDelivery.Close(fChannel);
        NoteLost(fDebug, *fChannel, fName);
    }

    TOpening Open(EBackend kind, const CPortAddress& address, const std::string& ownName)
    {
        TOpening opening = OpenOnNewClient(fMidi, fErrors, kind, address, ownName,
                                           [this](RtMidiIn& midi)
                                           {
                                               // Sysex, clock and active sensing too: the hub filters.
                                               midi.ignoreTypes(false, false, false);
                                               midi.setCallback(&CRtMidiInPort::OnInput, this);
                                           });
        fPresence.Opened(opening.fListedName, ownName);
        return opening;
    }

    u32 IMIDIInPort_IsAlive(u32* alive) override
    {
        return GuardEdge(kTonewellEdge, [&] { *alive = fPresence.IsStillThere() ? 1 : 0; });
    }

private:
    // RtMidi's thread; JACK's realtime thread for JACK.
    static void OnInput(double, std::vector<unsigned char>* message, void* self)
    {
        auto* port = static_cast<CRtMidiInPort*>(self);
        if (message == nullptr || message->empty())
            return;
        if (!port->fChannel->Post(MonotonicMicroseconds(), message->data(), message->size()))
            port->fChannel->CountLost();
    }

    const CLibraryDebug& fDebug;
    const std::string fName;
    CDeliveryThread& fDelivery;
    std::shared_ptr<CInputChannel> fChannel;
    CPortPresence fPresence;
    CRtMidiErrors fErrors;
    std::unique_ptr<RtMidiIn> fMidi;
};

// RtMidi hands JACK an output port's bytes through a ring that the port's
// client empties every cycle, and a send waits for room in it by spinning: when
// the server stops running cycles (it ended, or it dropped the client) a full
// ring would hang the sending thread for good. So the guard keeps count of
// what may still be in the ring, and when a message might not fit it waits
// for cycles, for a bounded time, and refuses the send if none come.
//
// What was written before the watch showed cycle c is gone from the ring once
// the watch shows c + 3: a whole cycle of the port's client has then run after
// it. So the count has two parts: the bytes written since the current mark,
// and those of the mark before.
class CJackRingGuard
{
public:
    explicit CJackRingGuard(const CJackWatch& watch)
        : fWatch(watch), fMark(watch.GetCycles()), fSinceMark(0), fBeforeMark(0)
    {
    }

    // False when the ring might be full and the server runs no cycle.
    bool MakeRoom(std::size_t size)
    {
        const std::size_t cost = size + kEntryHeader;
        MoveMark();
        if (fBeforeMark + fSinceMark + cost > kRingBytes)
        {
            if (!fWatch.WaitForCycles(kCyclesToEmpty, kJackConnectionTimeout))
                return false;
            fMark = fWatch.GetCycles();
            fSinceMark = fBeforeMark = 0;
        }
        fSinceMark += cost;
        return true;
    }

private:
    // RtMidi's default ring, and more than its own header per message.
    static constexpr std::size_t kRingBytes = 16384 - 64;
    static constexpr std::size_t kEntryHeader = 8;
    static constexpr u32 kCyclesToEmpty = 3;

    void MoveMark()
    {
        const u64 cycles = fWatch.GetCycles();
        if (cycles < fMark + kCyclesToEmpty)
            return;
        fMark = cycles;
        fBeforeMark = fSinceMark;
        fSinceMark = 0;
    }

    const CJackWatch& fWatch;
    u64 fMark;
    std::size_t fSinceMark;
    std::size_t fBeforeMark;
};

class CRtMidiOutPort final : public IMIDISender
{
public:
    CRtMidiOutPort(CRtMidiBackend& backend, const CPortAddress& address,
                   std::shared_ptr<CJackWatch> watch)
        : fWatch(watch), fPresence(backend, address, std::move(watch)), fGone(false), fSent(false)
    {
        if (fWatch)
            fRing.emplace(*fWatch);
    }

    ~CRtMidiOutPort() override
    {
        // RtMidi hands JACK what was sent at the client's next cycle; a
        // client closed before that takes the last messages with it (the
        // shutdown messages of a surface, say).
        if (fWatch && fSent && !fGone)
            fWatch->WaitForCycles(kJackSettlingCycles, kJackConnectionTimeout);
    }

    TOpening Open(EBackend kind, const CPortAddress& address, const std::string& ownName)
    {
        TOpening opening = OpenOnNewClient(fMidi, fErrors, kind, address, ownName, [](RtMidiOut&) {});
        fPresence.Opened(opening.fListedName, ownName);
        return opening;
    }

    u32 IMIDISender_IsAlive(u32* alive) override
    {
        return GuardEdge(kTonewellEdge, [&] { *alive = !fGone && fPresence.IsStillThere() ? 1 : 0; });
    }

    u32 IMIDISender_SendShort(const TTonewellShortMessage* message) override
    {
        if (message == nullptr)
            return kTonewellInvalidArgument;
        return Send(message->fBytes, ShortMessageLength(message->fBytes[0]));
    }

    u32 IMIDISender_SendSysex(const u8* bytes, u32 size) override
    {
        if (bytes == nullptr || size < 2 || bytes[0] != kSysexBegin || bytes[size - 1] != kSysexEnd)
            return kTonewellInvalidArgument;
        return Send(bytes, size);
    }

private:
    u32 Send(const u8* bytes, std::size_t size)
    {
        if (size == 0)
            return kTonewellInvalidArgument;
        if (!fGone && !fPresence.IsStillThere())
            fGone = true;
        if (fGone)
            return kTonewellPortGone;
        if (fRing && !fRing->MakeRoom(size))
            return fWatch->IsAlive() ? kTonewellSendFailed : kTonewellPortGone;
        fSent = true;
        u32 status = GuardEdge(kTonewellEdge, [&] { fMidi->sendMessage(bytes, size); });
        if (status == kTonewellOK && !fErrors.Take().empty())
            status = kTonewellSendFailed;
        return status;
    }

    const std::shared_ptr<CJackWatch> fWatch;
    CPortPresence fPresence;
    bool fGone;
    bool fSent;
    std::optional<CJackRingGuard> fRing;
    CRtMidiErrors fErrors;
    std::unique_ptr<RtMidiOut> fMidi;
};
} // namespace

CRtMidiBackend::CRtMidiBackend(EBackend kind, const CLibraryDebug& debug)
    : fKind(kind), fDebug(debug), fSaidWhy(false), fGaveUp(false), fNextTry(), fPortsMade(0)
{
}

CRtMidiBackend::~CRtMidiBackend()
{
    fDelivery.reset();
    fInLister.reset();
    fOutLister.reset();
    fWatch.reset();
}

bool CRtMidiBackend::Start()
{
    if (fKind == EBackend::kALSA ? fInLister != nullptr : fWatch != nullptr && fWatch->IsAlive())
        return true;
    if (fGaveUp || std::chrono::steady_clock::now() < fNextTry)
        return false;
    std::string why;
    const bool started = fKind == EBackend::kALSA ? StartALSA(why) : StartJACK(why);
    if (started)
    {
        if (!fDelivery)
            fDelivery =
                std::make_unique<CDeliveryThread>(fKind == EBackend::kALSA ? "bf-alsa" : "bf-jack");
        if (fSaidWhy)
            fDebug.Note(std::string(NameOf(fKind)) + ": the backend runs now");
        fSaidWhy = false;
        return true;
    }
    if (!fSaidWhy)
        fDebug.Note(std::string(NameOf(fKind)) + ": " + why + "; the " + NameOf(fKind) +
                    " backend lists no ports");
    fSaidWhy = true;
    fNextTry = std::chrono::steady_clock::now() + kJackRetryInterval;
    return false;
}

bool CRtMidiBackend::StartALSA(std::string& why)
{
    // Only once: a sequencer device doesn't come later.
    fGaveUp = true;
    const char* device = "/dev/snd/seq";
    if (access(device, R_OK | W_OK) != 0)
    {
        why = std::string("no sequencer device (") + device + ": " + std::strerror(errno) + ")";
        return false;
    }
    try
    {
        auto in = std::make_unique<RtMidiIn>(RtMidi::LINUX_ALSA, kClientName);
        auto out = std::make_unique<RtMidiOut>(RtMidi::LINUX_ALSA, kClientName);
        std::lock_guard lock(fListLock);
        fInLister = std::move(in);
        fOutLister = std::move(out);
    }
    catch (const RtMidiError& e)
    {
        why = "the sequencer can't be opened (" + e.getMessage() + ")";
        return false;
    }
    fGaveUp = false;
    return true;
}

bool CRtMidiBackend::StartJACK(std::string& why)
{
    std::shared_ptr<CJackWatch> watch = CJackWatch::Connect(why);
    if (!watch)
        return false;
    fWatch = std::move(watch);
    return true;
}

std::vector<std::string> CRtMidiBackend::ListPorts(EDirection direction)
{
    if (!Start())
        return {};
    std::lock_guard lock(fListLock);
    return ListLocked(direction);
}

std::vector<std::string> CRtMidiBackend::ListLocked(EDirection direction)
{
    if (fKind == EBackend::kJACK)
        return fWatch->ListPorts(direction);
    if (direction == EDirection::kIn)
        return ListNames(*fInLister);
    return ListNames(*fOutLister);
}

std::string CRtMidiBackend::NextOwnPortName(const char* kind)
{
    return OwnPortPrefix() + kind + std::to_string(++fPortsMade);
}

namespace
{
// The port when it opened (and, for JACK, is connected); else null, with a
// debug note that says why.
template <class TPort>
std::unique_ptr<TPort> KeepIfOpen(std::unique_ptr<TPort> port, TOpening opening, EBackend kind,
                                  const CJackWatch* watch, const CLibraryDebug& debug,
                                  const CPortAddress& address, const std::string& ownName, u32& status)
{
    if (opening.fStatus == kTonewellOK && kind == EBackend::kJACK &&
        !WaitForConnection(*watch, ownName, address.GetListedName()))
        opening = {kTonewellOpenFailed, "no connection was made", {}};
    status = opening.fStatus;
    if (status == kTonewellOK)
        return port;
    debug.Note(std::string(NameOf(kind)) + ": can't open the port " + address.GetDisplayName() + ": " +
               opening.fError);
    return nullptr;
}
} // namespace

std::unique_ptr<IMIDIInPort> CRtMidiBackend::OpenIn(IMIDIInHandler& handler, const CPortAddress& address,
                                                    u32& status)
{
    if (!Start())
    {
        status = kTonewellPortGone;
        return nullptr;
    }
    const std::string ownName = NextOwnPortName("in");
    auto port = std::make_unique<CRtMidiInPort>(*this, *fDelivery, handler, fDebug, address, fWatch);
    TOpening opening = port->Open(fKind, address, ownName);
    return KeepIfOpen(std::move(port), std::move(opening), fKind, fWatch.get(), fDebug, address,
                      ownName, status);
}

std::unique_ptr<IMIDISender> CRtMidiBackend::OpenOut(const CPortAddress& address, u32& status)
{
    if (!Start())
    {
        status = kTonewellPortGone;
        return nullptr;
    }
    const std::string ownName = NextOwnPortName("out");
    auto port = std::make_unique<CRtMidiOutPort>(*this, address, fWatch);
    TOpening opening = port->Open(fKind, address, ownName);
    return KeepIfOpen(std::move(port), std::move(opening), fKind, fWatch.get(), fDebug, address,
                      ownName, status);
}

CPortPresence::CPortPresence(CRtMidiBackend& backend, const CPortAddress& address,
                             std::shared_ptr<CJackWatch> watch)
    : fBackend(backend), fAddress(address), fWatch(std::move(watch)), fSeen(0)
{
}

void CPortPresence::Opened(const std::string& listedName, const std::string& ownName)
{
    fListedName = listedName;
    fOwnName = ownName;
    fSeen = fWatch ? fWatch->GetGeneration() : 0;
}

bool CPortPresence::IsStillThere()
{
    return fBackend.IsStillThere(*this);
}

bool CRtMidiBackend::IsStillThere(CPortPresence& port)
{
    if (fKind == EBackend::kJACK)
    {
        const std::shared_ptr<CJackWatch>& watch = port.fWatch;
        if (!watch || !watch->IsAlive())
            return false;
        const u64 generation = watch->GetGeneration();
        if (generation == port.fSeen)
            return true;
        port.fSeen = generation;
        // The other end may have come back under the same name meanwhile; our
        // connection to it didn't.
        return watch->IsConnected(port.fOwnName, port.fListedName);
    }
    const u64 generation =
        static_cast<u64>(std::chrono::steady_clock::now().time_since_epoch() / kALSACheckInterval);
    if (generation == port.fSeen)
        return true;
    port.fSeen = generation;
    // A device that came back has new client numbers, and so a new listed name.
    std::lock_guard lock(fListLock);
    const std::vector<std::string> names = ListLocked(port.fAddress.GetDirection());
    const std::optional<u32> index = FindPort(port.fAddress, names);
    return index && names[*index] == port.fListedName;
}
} // namespace NSTonewell
