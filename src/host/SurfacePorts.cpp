#include "host/SurfacePorts.h"

#include <chrono>
#include <thread>

namespace
{
class CHubSurfacePorts final : public ISurfacePorts
{
public:
    std::shared_ptr<void> Listen(const NSMIDIHub::CMIDIPortSpec& port, NSMIDIHub::IMIDIReceiver* receiver) override
    {
        return std::make_shared<NSMIDIHub::CMIDIInPort>(port, receiver);
    }

    std::shared_ptr<NSMIDIHub::IMIDISender> GetSender(const NSMIDIHub::CMIDIPortSpec& port) override
    {
        return NSMIDIHub::GetMIDIHub().GetSender(port);
    }

    void WaitForWire(u32 milliseconds) override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }

    void WatchPorts() override { NSMIDIHub::GetMIDIHub().WatchPorts(); }
};
} // namespace

ISurfacePorts& GetHubSurfacePorts()
{
    static CHubSurfacePorts ports;
    return ports;
}
