#pragma once
// The ports of a session's surface. Nothing goes to a real MIDI port: what
// the surface sends is handed to a sink, one call for each whole message
// with its port's index, and input is handed straight to the surface through
// Feed. The wait that meters start and end messages at wire speed only moves
// the session's clock on, so that a session takes no longer than its work and
// the time stamps of its input are the same on every run.

#include "host/SurfacePorts.h"

#include <functional>
#include <memory>
#include <vector>

namespace NSCheckTool
{
class CSessionPorts final : public ISurfacePorts
{
public:
    using TSink = std::function<void(u32 outPort, const NSMIDIHub::TBinary& message)>;

    // Addresses for the ports of a model, as many of each as it has.
    CSessionPorts(u32 inPortCount, u32 outPortCount, TSink sink);

    // The addresses to hand to the hub: empty where assigned is false.
    std::vector<NSMIDIHub::CMIDIPortSpec> InAddresses(const std::vector<bool>& assigned) const;
    std::vector<NSMIDIHub::CMIDIPortSpec> OutAddresses(const std::vector<bool>& assigned) const;

    // Whether a surface listens to the input port.
    bool IsListened(u32 inPort) const;
    // Hands message to the surface that listens to inPort, stamped with the
    // session's clock, as the port hub hands it over.
    void Feed(u32 inPort, const NSMIDIHub::TBinary& message) const;

    // Microseconds of the session's clock.
    u64 Now() const { return fNow; }
    void Advance(u64 microseconds) { fNow += microseconds; }

    std::shared_ptr<void> Listen(const NSMIDIHub::CMIDIPortSpec& port, NSMIDIHub::IMIDIReceiver* receiver) override;
    std::shared_ptr<NSMIDIHub::IMIDISender> GetSender(const NSMIDIHub::CMIDIPortSpec& port) override;
    void WaitForWire(u32 milliseconds) override;
    // A session's ports never vanish.
    void WatchPorts() override {}

private:
    class CCapture;

    std::vector<NSMIDIHub::CMIDIPortSpec> fIn;
    std::vector<NSMIDIHub::CMIDIPortSpec> fOut;
    std::vector<NSMIDIHub::IMIDIReceiver*> fReceivers;
    TSink fSink;
    u64 fNow = 0;
};
} // namespace NSCheckTool
