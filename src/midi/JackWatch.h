#pragma once
// The JACK backend's own client, named "Brassfold": it lists the MIDI ports
// of the server and watches them come and go, while the ports themselves are
// opened through RtMidi.
//
// RtMidi can't tell whether a JACK connection was really made, nor when the
// far end of a connection went away; this client can, so a port is checked
// after it opened and an output port fails its sends once its destination is
// gone. It also counts the server's cycles: a new connection carries data
// only once the server has run a cycle with it, and a message sent before
// that is lost. It never starts a server: when none runs under the
// name that JACK_DEFAULT_SERVER gives (or the default), Connect says why.
//
// Made and used on the thread that opens ports; the watch's notifications
// arrive on JACK's threads and touch atomics only.

#include "midi/PortAddress.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

typedef struct _jack_client jack_client_t;

namespace NSTonewell
{
class CJackWatch
{
public:
    // Null, with the reason in why, when no server runs.
    static std::unique_ptr<CJackWatch> Connect(std::string& why);
    ~CJackWatch();
    CJackWatch(const CJackWatch&) = delete;
    CJackWatch& operator=(const CJackWatch&) = delete;

    // False once the server has shut down.
    bool IsAlive() const noexcept;
    // Changes whenever a port or client comes or goes. Any thread.
    u64 GetGeneration() const noexcept;
    // The server's MIDI ports, full names: sources for kIn, destinations
    // for kOut. Our own ports are left out.
    std::vector<std::string> ListPorts(EDirection direction) const;
    bool HasPort(const std::string& name) const;
    // Whether the port of ours with that short name is connected to other.
    bool IsConnected(const std::string& ownShortName, const std::string& other) const;
    // The server's cycles so far. Any thread.
    u64 GetCycles() const noexcept;
    // Waits until the server has run count more cycles; false at the
    // timeout or when the server is gone.
    bool WaitForCycles(u32 count, std::chrono::milliseconds timeout) const;

    // Sends libjack's own error messages to the debug channel and drops its
    // chatter. Any number of calls; the first does it.
    static void RouteMessages();

private:
    explicit CJackWatch(jack_client_t* client);
    static int OnCycle(unsigned frames, void* self);
    static void OnShutdown(void* self);
    static void OnPortRegistration(unsigned port, int registered, void* self);
    static void OnClientRegistration(const char* name, int registered, void* self);

    jack_client_t* fClient;
    std::atomic<bool> fAlive;
    std::atomic<u64> fGeneration;
    std::atomic<u64> fCycles;
};
} // namespace NSTonewell
