#pragma once
// How a running surface reaches its MIDI ports, and how its start and end
// messages wait for the wire. In the workbench these are the port hub's ports
// and real time (GetHubSurfacePorts). The check tool's sessions run a surface
// with ports of their own, which capture what goes out and feed input
// straight in, on a clock of their own, so that a session gives the same
// output on every run.
//
// The user interface thread.

#include "foundation/Types.h"
#include "midi/MIDIHub.h"

#include <memory>

class ISurfacePorts
{
public:
    // Input of port reaches receiver until the result goes. Never null;
    // throws what opening the port throws.
    virtual std::shared_ptr<void> Listen(const NSMIDIHub::CMIDIPortSpec& port, NSMIDIHub::IMIDIReceiver* receiver) = 0;
    // Throws what opening the port throws.
    virtual std::shared_ptr<NSMIDIHub::IMIDISender> GetSender(const NSMIDIHub::CMIDIPortSpec& port) = 0;
    // Holds the calling thread that long: start and end messages are metered
    // at the speed of a MIDI wire.
    virtual void WaitForWire(u32 milliseconds) = 0;
    // Looks after ports that vanished or came back; called now and then
    // between frames while surfaces run.
    virtual void WatchPorts() = 0;

protected:
    ~ISurfacePorts() = default;
};

// The ports of the process's port hub, and the real clock.
ISurfacePorts& GetHubSurfacePorts();
