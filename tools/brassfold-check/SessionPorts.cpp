#include "SessionPorts.h"

#include "midi/PortAddress.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace NSCheckTool
{
namespace
{
using NSMIDIHub::CMIDIPortSpec;
using NSTonewell::EDirection;

// Addresses that no backend lists: they only have to tell the ports apart.
std::vector<CMIDIPortSpec> MakeAddresses(EDirection direction, u32 count)
{
    std::vector<CMIDIPortSpec> addresses;
    const std::string prefix = direction == EDirection::kIn ? "Session in " : "Session out ";
    for (u32 port = 0; port < count; ++port)
        addresses.emplace_back(
            NSTonewell::CPortAddress(NSTonewell::EBackend::kLoopback, direction, prefix + std::to_string(port + 1), 0));
    return addresses;
}

std::vector<CMIDIPortSpec> Assigned(const std::vector<CMIDIPortSpec>& all, const std::vector<bool>& assigned)
{
    std::vector<CMIDIPortSpec> addresses(all.size());
    for (std::size_t port = 0; port < all.size(); ++port)
        if (port < assigned.size() && assigned[port])
            addresses[port] = all[port];
    return addresses;
}

u32 IndexOf(const std::vector<CMIDIPortSpec>& addresses, const CMIDIPortSpec& port)
{
    const auto found = std::find(addresses.begin(), addresses.end(), port);
    if (found == addresses.end())
        throw std::invalid_argument("no port of the session");
    return u32(found - addresses.begin());
}
} // namespace

class CSessionPorts::CCapture final : public NSMIDIHub::IMIDISender
{
public:
    CCapture(const TSink& sink, u32 port) : fSink(sink), fPort(port) {}
    void Send(const u64*, const NSMIDIHub::TBinary& data) override { fSink(fPort, data); }

private:
    const TSink& fSink;
    u32 fPort;
};

CSessionPorts::CSessionPorts(u32 inPortCount, u32 outPortCount, TSink sink)
    : fIn(MakeAddresses(EDirection::kIn, inPortCount)), fOut(MakeAddresses(EDirection::kOut, outPortCount)),
      fReceivers(inPortCount, nullptr), fSink(std::move(sink))
{
}

std::vector<CMIDIPortSpec> CSessionPorts::InAddresses(const std::vector<bool>& assigned) const
{
    return Assigned(fIn, assigned);
}

std::vector<CMIDIPortSpec> CSessionPorts::OutAddresses(const std::vector<bool>& assigned) const
{
    return Assigned(fOut, assigned);
}

bool CSessionPorts::IsListened(u32 inPort) const
{
    return inPort < fReceivers.size() && fReceivers[inPort];
}

void CSessionPorts::Feed(u32 inPort, const NSMIDIHub::TBinary& message) const
{
    const u64 time = fNow;
    fReceivers.at(inPort)->Receive(fIn.at(inPort), &time, message);
}

std::shared_ptr<void> CSessionPorts::Listen(const CMIDIPortSpec& port, NSMIDIHub::IMIDIReceiver* receiver)
{
    const u32 index = IndexOf(fIn, port);
    fReceivers[index] = receiver;
    // Listening ends with the handle.
    return std::shared_ptr<void>(&fReceivers[index], [](NSMIDIHub::IMIDIReceiver** slot) { *slot = nullptr; });
}

std::shared_ptr<NSMIDIHub::IMIDISender> CSessionPorts::GetSender(const CMIDIPortSpec& port)
{
    return std::make_shared<CCapture>(fSink, IndexOf(fOut, port));
}

void CSessionPorts::WaitForWire(u32 milliseconds)
{
    Advance(u64(milliseconds) * 1000);
}
} // namespace NSCheckTool
