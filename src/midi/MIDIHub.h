#pragma once
// The port hub: the one way of the program to MIDI ports.
//
// A physical port can be opened only once, yet several users want it: a
// running surface, the MIDI test window, a probe. The hub opens a port at its
// first use, shares it, fans incoming messages out to every receiver, and
// closes the port when its last user has gone.
//
// A device that goes away takes its ports with it. WatchPorts, which the
// program calls now and then, notices an open port that no longer reaches
// its device, closes it in the library and keeps it as vanished, with all its
// users; when the port is listed again (same backend and name) it is opened
// anew for all of them. Both are said in the log. Sends on a vanished port
// fail at once and are counted.
//
// A user holds a CMIDIInPort for input (its constructor subscribes an
// IMIDIReceiver, its destructor ends that) and a shared pointer to
// IMIDISender for output (GetSender), and never sees the library.
//
// Threads. Everything here is for the user interface thread, except
// IMIDIReceiver::Receive and the handlers of COpenInPort, which run on a
// delivery thread of the library (a MIDI thread). Delivery only tries the
// port's lock: while the user interface thread adds or removes a receiver of
// that port, a message that arrives is lost, and neither side ever waits for
// the other. A receiver that fails doesn't keep the message from the others.
// Receivers take their own locks inside it. A receiver must not
// open or close ports from inside Receive, and a CMIDIInPort must not be
// destroyed while its owner holds a lock that its Receive takes.

#include "foundation/Types.h"
#include "midi/Tonewell.h"

#include <memory>
#include <mutex>
#include <vector>

namespace NSMIDIHub
{
// One whole MIDI message, status byte first, system exclusive with F0 and F7.
using TBinary = std::vector<u8>;

// Value-like handle of one port. A default-made address is empty: no port is
// assigned. Copies clone the library's object; equality is the library's
// (see NSTonewell::IMIDIPortSpec), and two empty addresses are equal. Any thread.
class CMIDIPortSpec
{
public:
    CMIDIPortSpec() = default;
    // Clones address.
    explicit CMIDIPortSpec(const NSTonewell::IMIDIPortSpec& address);
    CMIDIPortSpec(const CMIDIPortSpec& other);
    CMIDIPortSpec(CMIDIPortSpec&& other) noexcept = default;
    CMIDIPortSpec& operator=(const CMIDIPortSpec& other);
    CMIDIPortSpec& operator=(CMIDIPortSpec&& other) noexcept = default;

    bool IsEmpty() const { return !fSpec; }
    bool operator==(const CMIDIPortSpec& other) const;
    // The name to show, such as "JACK: synth:midi_out"; empty for an empty address.
    TText16 GetDisplayName() const;
    // Null for an empty address.
    const NSTonewell::IMIDIPortSpec* GetLibraryAddress() const { return fSpec.get(); }

private:
    std::unique_ptr<NSTonewell::IMIDIPortSpec> fSpec;
};

// Implemented by a user of input. Called on a MIDI thread, with one whole
// message that is valid during the call only; port is the address of the port
// it came from, time its arrival in microseconds of the monotonic clock.
class IMIDIReceiver
{
public:
    virtual void Receive(const CMIDIPortSpec& port, const u64* time, const TBinary& data) = 0;

protected:
    ~IMIDIReceiver() = default;
};

// Sends on one output port, on the caller's thread, straight to the library:
// no queue and no lock. An empty binary sends nothing. Failures are thrown
// as ThrowTonewellResult makes them.
class IMIDISender
{
public:
    virtual ~IMIDISender() = default;
    virtual void Send(const u64* time, const TBinary& data) = 0;
    // False while the port has vanished: a send fails at once then.
    virtual bool IsPresent() const { return true; }
};

// Told when the system's ports may have changed.
class IMIDIPortListener
{
public:
    virtual void IMIDIPortListener_OnPortsChanged() = 0;

protected:
    ~IMIDIPortListener() = default;
};

class CMIDIHub;

// A subscription of one receiver to one input port: the constructor opens
// (sharing the port with its other users), the destructor closes. A failure
// to open leaves the constructor as the exception of ThrowTonewellResult.
class CMIDIInPort
{
public:
    // On the hub of GetMIDIHub.
    CMIDIInPort(const CMIDIPortSpec& address, IMIDIReceiver* receiver);
    CMIDIInPort(CMIDIHub& hub, const CMIDIPortSpec& address, IMIDIReceiver* receiver);
    ~CMIDIInPort();
    CMIDIInPort(const CMIDIInPort&) = delete;
    CMIDIInPort& operator=(const CMIDIInPort&) = delete;

    const CMIDIPortSpec& GetSpec() const { return fSpec; }
    IMIDIReceiver* GetReceiver() const { return fReceiver; }

private:
    CMIDIPortSpec fSpec;
    IMIDIReceiver* fReceiver;
    CMIDIHub& fHub;
};

// One open input port of the library with its receivers.
class COpenInPort final : public NSTonewell::IMIDIInHandler
{
public:
    // Opens the library's port; throws what ThrowTonewellResult makes of a failure.
    COpenInPort(CMIDIHub& hub, const CMIDIPortSpec& address);
    // Ends delivery before anything else goes.
    ~COpenInPort();
    COpenInPort(const COpenInPort&) = delete;
    COpenInPort& operator=(const COpenInPort&) = delete;

    const CMIDIPortSpec& GetSpec() const { return fSpec; }
    bool HasReceiver(IMIDIReceiver* receiver) const;
    // A receiver that listens already is a failed assertion.
    void AddReceiver(IMIDIReceiver* receiver);
    // A receiver that doesn't listen is a failed assertion and XNotFound.
    // The last receiver's going closes the port.
    void RemoveReceiver(IMIDIReceiver* receiver);

    // Whether the library's port is open; false while the port has vanished.
    bool IsPresent() const { return fPort != nullptr; }
    // Whether the open library port still reaches its device.
    bool IsAlive() const;
    // Closes the library's port and keeps the receivers; says so in the log.
    void Vanish();
    // Opens the library's port anew; false when it can't be had yet.
    bool Reopen();

    // The library's callbacks, on its delivery thread.
    u32 IMIDIInHandler_OnShortMessage(NSTonewell::IMIDIInPort* port,
                                      const NSTonewell::TTonewellShortMessage* message) override;
    u32 IMIDIInHandler_OnSysexBegin(NSTonewell::IMIDIInPort* port) override;
    u32 IMIDIInHandler_OnSysexData(NSTonewell::IMIDIInPort* port, const u64* time, const u8* bytes,
                                   u32 size) override;
    u32 IMIDIInHandler_OnSysexEnd(NSTonewell::IMIDIInPort* port, const u64* time) override;
    u32 IMIDIInHandler_OnSysexAbort(NSTonewell::IMIDIInPort* port) override;
    u32 IMIDIInHandler_OnNotification(u32 word) override;

private:
    void Deliver(const u64* time, const TBinary& data);

    std::mutex fLock;
    CMIDIPortSpec fSpec;
    CMIDIHub* fHub;
    std::vector<IMIDIReceiver*> fReceivers;
    std::unique_ptr<NSTonewell::IMIDIInPort> fPort;
    TBinary fSysex;
    // The delivery thread's own: the system exclusive message in progress
    // lost a piece to a busy lock, so the rest of it is dropped too, and
    // fSysex may hold a leftover.
    bool fSysexBroken = false;
};

// One open output port of the library with its senders.
class COpenOutPort final : public NSTonewell::IMIDIOutHandler
{
public:
    COpenOutPort(CMIDIHub& hub, const CMIDIPortSpec& address);
    COpenOutPort(const COpenOutPort&) = delete;
    COpenOutPort& operator=(const COpenOutPort&) = delete;

    const CMIDIPortSpec& GetSpec() const { return fSpec; }
    std::shared_ptr<IMIDISender> NewSender();
    // The last sender's going closes the port.
    void RemoveSender(IMIDISender* sender);
    // See IMIDISender::Send. A port that the library finds gone vanishes.
    void Send(const u64* time, const TBinary& data);

    // As COpenInPort's; a port that is back says how many sends it lost.
    bool IsPresent() const { return fPort != nullptr; }
    bool IsAlive() const;
    void Vanish();
    bool Reopen();

    u32 IMIDIOutHandler_OnNotification(u32 word) override;

private:
    CMIDIPortSpec fSpec;
    CMIDIHub* fHub;
    std::shared_ptr<NSTonewell::IMIDISender> fPort;
    std::vector<IMIDISender*> fSenders;
    // Sends that failed since the port vanished.
    u64 fLostSends = 0;
};

class CSender final : public IMIDISender
{
public:
    explicit CSender(COpenOutPort* openPort) : fOpenPort(openPort) {}
    ~CSender() override;
    CSender(const CSender&) = delete;
    CSender& operator=(const CSender&) = delete;

    void Send(const u64* time, const TBinary& data) override;
    bool IsPresent() const override { return fOpenPort->IsPresent(); }

private:
    COpenOutPort* fOpenPort;
};

class CMIDIHub final : public NSTonewell::IMIDINotificationHandler
{
public:
    // Registers with library, which must outlive the hub.
    explicit CMIDIHub(NSTonewell::ITonewell& library);
    // Every port must have been closed.
    ~CMIDIHub();
    CMIDIHub(const CMIDIHub&) = delete;
    CMIDIHub& operator=(const CMIDIHub&) = delete;

    // All ports that the library lists now, in its order; read anew each time.
    std::vector<CMIDIPortSpec> GetInPorts();
    std::vector<CMIDIPortSpec> GetOutPorts();
    // A sender on that port, opening it unless it is open already.
    std::shared_ptr<IMIDISender> GetSender(const CMIDIPortSpec& port);

    // Looks at every open port once: a port that no longer reaches its
    // device vanishes, a vanished one that is listed again opens anew (see
    // above). A failure of the library is traced, and the next call tries
    // again.
    void WatchPorts() noexcept;

    // For CMIDIInPort.
    void Listen(IMIDIReceiver* receiver, const CMIDIInPort& port);
    void StopListening(IMIDIReceiver* receiver, const CMIDIInPort& port);

    // Listeners to changes of the system's ports. While blocked, a call is
    // remembered and made when the last block goes; nothing calls them yet.
    void AddPortListener(IMIDIPortListener* listener);
    void RemovePortListener(IMIDIPortListener* listener);
    void BlockPortListeners();
    void UnblockPortListeners();
    void NotifyPortListeners();

    u32 IMIDINotificationHandler_OnPortsChanged() override;

    // For the open ports.
    NSTonewell::ITonewell& GetLibrary() const { return fLibrary; }
    void RemoveOpenInPort(COpenInPort* port);
    void RemoveOpenOutPort(COpenOutPort* port);
    std::size_t GetOpenInPortCount() const { return fOpenInPorts.size(); }
    std::size_t GetOpenOutPortCount() const { return fOpenOutPorts.size(); }

private:
    std::vector<CMIDIPortSpec> ReadPorts(std::unique_ptr<NSTonewell::IMIDIPortList> list,
                                         u32 status);
    void CallPortListeners();

    NSTonewell::ITonewell& fLibrary;
    std::vector<std::shared_ptr<COpenInPort>> fOpenInPorts;
    std::vector<std::shared_ptr<COpenOutPort>> fOpenOutPorts;
    std::vector<IMIDIPortListener*> fPortListeners;
    u32 fListenerBlockCount = 0;
    bool fListenerCallPending = false;
};

// The one hub of the process, made at the first call on the library of
// GetTonewell (midi/TonewellSupport.h) and destroyed at process exit.
CMIDIHub& GetMIDIHub();
} // namespace NSMIDIHub
