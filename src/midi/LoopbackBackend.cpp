#include "midi/LoopbackBackend.h"

#include "midi/MIDIBytes.h"

#include <chrono>
#include <thread>

namespace NSTonewell
{
namespace
{
// Room of an input port: at 16 bytes for a short message, 65536 of them.
constexpr std::size_t kChannelCapacity = 1024 * 1024;
constexpr auto kPatience = std::chrono::milliseconds(250);

class CLoopbackInPort final : public IMIDIInPort
{
public:
    CLoopbackInPort(CLoopbackBackend::CCable& cable, u64 plugging, CDeliveryThread& delivery,
                    IMIDIInHandler& handler, const CLibraryDebug& debug)
        : fDebug(debug), fCable(cable), fPlugging(plugging), fDelivery(delivery),
          fChannel(delivery.Open(handler, *this, kChannelCapacity))
    {
        fCable.Attach(fChannel, fPlugging);
    }

    ~CLoopbackInPort() override
    {
        fCable.Detach(fChannel);
        fDelivery.Close(fChannel);
        NoteLost(fDebug, *fChannel, fCable.GetName());
    }

    u32 IMIDIInPort_IsAlive(u32* alive) override
    {
        return GuardEdge(kTonewellEdge, [&] { *alive = fCable.IsPluggedAs(fPlugging) ? 1 : 0; });
    }

private:
    const CLibraryDebug& fDebug;
    CLoopbackBackend::CCable& fCable;
    const u64 fPlugging;
    CDeliveryThread& fDelivery;
    std::shared_ptr<CInputChannel> fChannel;
};

class CLoopbackOutPort final : public IMIDISender
{
public:
    CLoopbackOutPort(CLoopbackBackend::CCable& cable, u64 plugging) : fCable(cable), fPlugging(plugging)
    {
    }

    u32 IMIDISender_IsAlive(u32* alive) override
    {
        return GuardEdge(kTonewellEdge, [&] { *alive = fCable.IsPluggedAs(fPlugging) ? 1 : 0; });
    }

    u32 IMIDISender_SendShort(const TTonewellShortMessage* message) override
    {
        const std::size_t size = ShortMessageLength(message->fBytes[0]);
        return size == 0 ? kTonewellInvalidArgument : Transmit(message->fBytes, size);
    }

    u32 IMIDISender_SendSysex(const u8* bytes, u32 size) override
    {
        if (size < 2 || bytes[0] != kSysexBegin || bytes[size - 1] != kSysexEnd)
            return kTonewellInvalidArgument;
        return Transmit(bytes, size);
    }

private:
    u32 Transmit(const u8* bytes, std::size_t size)
    {
        bool plugged = true;
        const u32 status =
            GuardEdge(kTonewellEdge, [&] { plugged = fCable.Transmit(bytes, size, fPlugging); });
        return status == kTonewellOK && !plugged ? kTonewellPortGone : status;
    }

    CLoopbackBackend::CCable& fCable;
    const u64 fPlugging;
};
} // namespace

CLoopbackBackend::CCable::CCable(std::string name, CDeliveryThread& delivery)
    : fName(std::move(name)), fDelivery(delivery)
{
}

std::optional<u64> CLoopbackBackend::CCable::GetPlugging()
{
    std::lock_guard lock(fLock);
    return fPlugged ? std::optional<u64>(fPlugging) : std::nullopt;
}

void CLoopbackBackend::CCable::SetPlugged(bool plugged)
{
    std::lock_guard lock(fLock);
    if (plugged == fPlugged)
        return;
    fPlugged = plugged;
    ++fPlugging;
    // The ports of the plugging that ended hear nothing more.
    fChannels.clear();
}

bool CLoopbackBackend::CCable::IsPluggedAs(u64 plugging)
{
    std::lock_guard lock(fLock);
    return fPlugged && fPlugging == plugging;
}

void CLoopbackBackend::CCable::Attach(const std::shared_ptr<CInputChannel>& channel, u64 plugging)
{
    std::lock_guard lock(fLock);
    if (fPlugged && fPlugging == plugging)
        fChannels.push_back(channel);
}

void CLoopbackBackend::CCable::Detach(const std::shared_ptr<CInputChannel>& channel)
{
    std::lock_guard lock(fLock);
    std::erase(fChannels, channel);
}

bool CLoopbackBackend::CCable::Transmit(const u8* data, std::size_t size, u64 plugging)
{
    // The message arrives at the far end of the cable at once.
    const u64 time = MonotonicMicroseconds();
    std::unique_lock lock(fLock);
    if (!fPlugged || fPlugging != plugging)
        return false;
    for (std::size_t i = 0; i < fChannels.size(); ++i)
        if (!fChannels[i]->Post(time, data, size))
            PostPatiently(lock, i, time, data, size);
    return true;
}

// Waits for room with the cable unlocked, so that a handler answering on
// this cable from the delivery thread isn't held up behind us.
void CLoopbackBackend::CCable::PostPatiently(std::unique_lock<std::mutex>& lock, std::size_t index,
                                             u64 time, const u8* data, std::size_t size)
{
    std::shared_ptr<CInputChannel> channel = fChannels[index];
    if (fDelivery.IsCurrentThread() || size > channel->GetMaxMessageSize())
    {
        channel->CountLost();
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    for (;;)
    {
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        lock.lock();
        if (index >= fChannels.size() || fChannels[index] != channel)
            return; // the port closed meanwhile
        if (channel->Post(time, data, size))
            return;
        if (std::chrono::steady_clock::now() > deadline)
        {
            channel->CountLost();
            return;
        }
    }
}

CLoopbackBackend::CLoopbackBackend(const CLibraryDebug& debug)
    : fDebug(debug), fDelivery("bf-loopback"), fCables{CCable(kLoopbackCableNames[0], fDelivery),
                                                       CCable(kLoopbackCableNames[1], fDelivery)}
{
}

CLoopbackBackend::~CLoopbackBackend() = default;

std::vector<std::string> CLoopbackBackend::ListPorts(EDirection)
{
    std::vector<std::string> names;
    for (CCable& cable : fCables)
        if (cable.GetPlugging())
            names.push_back(cable.GetName());
    return names;
}

bool CLoopbackBackend::SetCablePlugged(const std::string& name, bool plugged)
{
    CCable* cable = FindCable(name);
    if (cable != nullptr)
        cable->SetPlugged(plugged);
    return cable != nullptr;
}

CLoopbackBackend::CCable* CLoopbackBackend::FindCable(const std::string& name)
{
    for (CCable& cable : fCables)
        if (cable.GetName() == name)
            return &cable;
    return nullptr;
}

std::optional<u64> CLoopbackBackend::FindPlugging(const CPortAddress& address, CCable*& cable)
{
    cable = FindCable(address.GetIdentityName());
    if (cable == nullptr || address.GetOccurrence() != 0)
        return std::nullopt;
    return cable->GetPlugging();
}

std::unique_ptr<IMIDIInPort> CLoopbackBackend::OpenIn(IMIDIInHandler& handler,
                                                      const CPortAddress& address, u32& status)
{
    CCable* cable = nullptr;
    const std::optional<u64> plugging = FindPlugging(address, cable);
    status = plugging ? kTonewellOK : kTonewellPortGone;
    return plugging ? std::make_unique<CLoopbackInPort>(*cable, *plugging, fDelivery, handler, fDebug) : nullptr;
}

std::unique_ptr<IMIDISender> CLoopbackBackend::OpenOut(const CPortAddress& address, u32& status)
{
    CCable* cable = nullptr;
    const std::optional<u64> plugging = FindPlugging(address, cable);
    status = plugging ? kTonewellOK : kTonewellPortGone;
    return plugging ? std::make_unique<CLoopbackOutPort>(*cable, *plugging) : nullptr;
}
} // namespace NSTonewell
