#pragma once
// What the library (midi/TonewellLibrary.h) asks of each of its backends.
// Backends are part of the library: they speak status words, and the library
// turns whatever else they throw into status words at its edge.
//
// The library calls a backend on one thread at a time (the user interface
// thread); the ports it makes follow the rules of midi/Tonewell.h.

#include "midi/PortAddress.h"
#include "midi/Tonewell.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace NSTonewell
{
// The library's way to the debug channel, set once the program hands it over.
class CLibraryDebug
{
public:
    void SetDebugger(IDebugger* debugger) noexcept { fDebugger.store(debugger); }
    // One line; dropped while no debugger is set. Any thread (the channel
    // itself keeps only the user interface thread's lines).
    void Note(const std::string& text) const noexcept;

private:
    std::atomic<IDebugger*> fDebugger{nullptr};
};

class CBackend
{
public:
    virtual ~CBackend() = default;
    virtual EBackend GetKind() const = 0;
    // The ports of that direction now, in the backend's order; none when the
    // backend can't run.
    virtual std::vector<std::string> ListPorts(EDirection direction) = 0;
    // Null with status set when the port can't be had.
    virtual std::unique_ptr<IMIDIInPort> OpenIn(IMIDIInHandler& handler, const CPortAddress& address,
                                                u32& status) = 0;
    virtual std::unique_ptr<IMIDISender> OpenOut(const CPortAddress& address, u32& status) = 0;
};

// Port names of our own ports begin with this, so that the lists can leave
// them out: a port of ours is no device for the user to pick.
std::string OwnPortPrefix();
bool IsOwnPort(const std::string& listedName);
} // namespace NSTonewell
