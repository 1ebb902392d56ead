#pragma once
// ITonewell: the MIDI library as the program sees it. The port hub
// (midi/MIDIHub.h) is its only user; everybody else goes through the hub.
//
// This is an edge with status words: every operation returns a status (or
// takes a status pointer), kTonewellOK (991) on success, and the caller passes
// it to ThrowTonewellResult. No exception crosses the edge in either
// direction: the handlers that the program implements wrap their bodies with
// GuardEdge(kTonewellEdge, ...), and so does the library.
//
// Behind the interface stand our backends (midi/TonewellLibrary.h): the
// in-process loopback cables, and the ALSA sequencer and JACK through RtMidi.
// Input is handed to the handlers on a delivery thread of the library, never
// on the thread that opens ports, and never after the input port object's
// destructor has returned.

#include "foundation/Failures.h"
#include "foundation/Types.h"

#include <cstddef>
#include <memory>

namespace NSTonewell
{
// Status words of the library beyond those that stand for the family of
// foundation/Exceptions.h: ThrowTonewellResult makes each a plain std::exception.
inline constexpr u32 kTonewellInvalidArgument = 993;  // std::invalid_argument
inline constexpr u32 kTonewellPortGone = 997;         // the port is no longer there
inline constexpr u32 kTonewellOpenFailed = 998;       // the backend refused to open it
inline constexpr u32 kTonewellSendFailed = 999;       // the backend refused the message
inline constexpr u32 kTonewellNoSuchInterface = 1000; // Tonewell_Create with another name

// The kind codes of TTonewellPortInfo.
inline constexpr u16 kPortKindInput = 'I';
inline constexpr u16 kPortKindOutput = 'O';

inline constexpr std::size_t kPortNameLength = 256;

// The description of one port, zero-filled by the caller and filled in by the
// library. Names are zero-terminated and cut at 255 units.
struct TTonewellPortInfo
{
    u16 fKind;                            // kPortKindInput or kPortKindOutput
    char16 fName[kPortNameLength];        // the backend's own name of the port
    char16 fDisplayName[kPortNameLength]; // what the program shows, such as "JACK: synth:out"
    u8 fIsLoopback;                       // 1 for a loopback cable
    u8 fReserved;
    u64 fOccurrence; // the position among ports of equal name, from 0
};
static_assert(sizeof(TTonewellPortInfo) == 1040);
static_assert(offsetof(TTonewellPortInfo, fName) == 2);
static_assert(offsetof(TTonewellPortInfo, fDisplayName) == 514);
static_assert(offsetof(TTonewellPortInfo, fIsLoopback) == 1026);
static_assert(offsetof(TTonewellPortInfo, fOccurrence) == 1032);

// One short message: the time in microseconds of the monotonic clock, then
// status and data bytes; bytes that the message doesn't have are 0.
struct TTonewellShortMessage
{
    u64 fTime;
    u8 fBytes[3];
    u8 fPadding[5];
};
static_assert(sizeof(TTonewellShortMessage) == 16);

// The debug channel as the library receives it.
class IDebugger
{
public:
    virtual void IDebugger_Assert(const char* file, u32 line, const char* text) = 0;
    virtual void IDebugger_Trace(const char* text) = 0;
    virtual void IDebugger_Indent() = 0;
    virtual void IDebugger_Outdent() = 0;
    virtual ~IDebugger() = default;
};

// One port of one backend. Two addresses are equal when they name the same port:
// the same backend and direction, the same name (for ALSA without the client
// and port numbers, which change when devices are plugged in), and the same
// position among ports of that name. So an address finds its port again after the
// ports have been listed anew. Any thread.
class IMIDIPortSpec
{
public:
    virtual ~IMIDIPortSpec() = default;
    virtual u32 IMIDIPortSpec_GetInfo(TTonewellPortInfo* info) const = 0;
    // result non-zero when both denote one port.
    virtual u32 IMIDIPortSpec_Equals(const IMIDIPortSpec* other, u32* result) const = 0;
    // A copy owned by the caller; null with status set on failure.
    virtual std::unique_ptr<IMIDIPortSpec> IMIDIPortSpec_Clone(u32* status) const = 0;
};

// A snapshot of the ports of one direction. The list owns its addresses.
class IMIDIPortList
{
public:
    virtual ~IMIDIPortList() = default;
    virtual u32 IMIDIPortList_GetCount(u32* count) = 0;
    // Never null on success; the address lives as long as the list.
    virtual IMIDIPortSpec* IMIDIPortList_GetAt(const u32* index, u32* status) = 0;
};

// An open input port. Destroying it ends delivery: once the destructor has
// returned, its handler is not called again.
class IMIDIInPort
{
public:
    virtual ~IMIDIInPort() = default;
    // alive 0 once the port no longer reaches its source: the device went
    // away, or came back as a new one, which an open port doesn't follow. A
    // port that is not alive delivers nothing more; the program opens the
    // port anew when it is listed again. A backend that can't tell answers 1.
    // The thread that opens ports.
    virtual u32 IMIDIInPort_IsAlive(u32* alive)
    {
        *alive = 1;
        return kTonewellOK;
    }
};

// An open output port. Messages go out in the order of the calls. A port
// that has gone away fails with kTonewellPortGone where the backend can tell.
// The thread that sends is the caller's; one thread at a time.
class IMIDISender
{
public:
    virtual ~IMIDISender() = default;
    // As IMIDIInPort_IsAlive, for the port's destination.
    virtual u32 IMIDISender_IsAlive(u32* alive)
    {
        *alive = 1;
        return kTonewellOK;
    }
    virtual u32 IMIDISender_SendShort(const TTonewellShortMessage* message) = 0;
    // A whole system exclusive message, F0 to F7.
    virtual u32 IMIDISender_SendSysex(const u8* bytes, u32 size) = 0;
};

// Implemented by the program: receives one input port's messages, called on
// a delivery thread of the library (a MIDI thread). A short message comes
// whole, padded to 3 bytes; a system exclusive message as begin, data (any
// number of pieces, without F0 and F7), and end, or abort when it broke off.
class IMIDIInHandler
{
public:
    virtual u32 IMIDIInHandler_OnShortMessage(IMIDIInPort* port,
                                              const TTonewellShortMessage* message) = 0;
    virtual u32 IMIDIInHandler_OnSysexBegin(IMIDIInPort* port) = 0;
    virtual u32 IMIDIInHandler_OnSysexData(IMIDIInPort* port, const u64* time, const u8* bytes,
                                           u32 size) = 0;
    virtual u32 IMIDIInHandler_OnSysexEnd(IMIDIInPort* port, const u64* time) = 0;
    virtual u32 IMIDIInHandler_OnSysexAbort(IMIDIInPort* port) = 0;
    virtual u32 IMIDIInHandler_OnNotification(u32 word) = 0;

protected:
    ~IMIDIInHandler() = default;
};

// Implemented by the program for each output port.
class IMIDIOutHandler
{
public:
    virtual u32 IMIDIOutHandler_OnNotification(u32 word) = 0;

protected:
    ~IMIDIOutHandler() = default;
};

// Implemented by the program to hear of changes of the system's ports.
class IMIDINotificationHandler
{
public:
    virtual u32 IMIDINotificationHandler_OnPortsChanged() = 0;

protected:
    ~IMIDINotificationHandler() = default;
};

// The library. Its operations are called on one thread at a time (the user
// interface thread).
class ITonewell
{
public:
    virtual ~ITonewell() = default;
    // Takes the debug channel; called once, right after creation.
    virtual u32 ITonewell_SetDebugger(IDebugger* debugger) = 0;
    // Registers the program's handler; null withdraws it.
    virtual u32 ITonewell_SetNotificationHandler(IMIDINotificationHandler* handler) = 0;
    virtual std::unique_ptr<IMIDIPortList> ITonewell_GetInPorts(u32* status) = 0;
    // Opens the port and starts delivery to handler; fails if the port can't be had.
    virtual std::unique_ptr<IMIDIInPort>
    ITonewell_OpenInPort(IMIDIInHandler* handler, const IMIDIPortSpec* port, u32* status) = 0;
    virtual std::unique_ptr<IMIDIPortList> ITonewell_GetOutPorts(u32* status) = 0;
    virtual std::unique_ptr<IMIDISender>
    ITonewell_OpenOutPort(IMIDIOutHandler* handler, const IMIDIPortSpec* port, u32* status) = 0;
};

} // namespace NSTonewell

// Makes the library, "ITonewell" being the only interface name it knows.
// BRASSFOLD_MIDI (a comma list of "loopback", "alsa", "jack") restricts the
// backends; without it all three are tried. A backend that cannot start (no
// sequencer device, no JACK server) lists no ports and says why once on the
// debug channel. No JACK server is ever started. Null with status set on
// failure.
std::unique_ptr<NSTonewell::ITonewell> Tonewell_Create(const char* interfaceName, u32 reserved,
                                                       u32* status);
