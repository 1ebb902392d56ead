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
    CLoopbackInPort(CLoopbackBackend::CCable& cable, CDeliveryThread& delivery,
                    IMIDIInHandler& handler, const CLibraryDebug& debug)
        : fDebug(debug), fCable(cable), fDelivery(delivery),
          fChannel(delivery.Open(handler, *this, kChannelCapacity))
    {
        fCable.Attach(fChannel);
    }

    ~CLoopbackInPort() override
    {
        fCable.Detach(fChannel);
        fDelivery.Close(fChannel);
        NoteLost(fDebug, *fChannel, fCable.GetName());
    }

private:
    const CLibraryDebug& fDebug;
    CLoopbackBackend::CCable& fCable;
    CDeliveryThread& fDelivery;
    std::shared_ptr<CInputChannel> fChannel;
};

class CLoopbackOutPort final : public IMIDISender
{
public:
    explicit CLoopbackOutPort(CLoopbackBackend::CCable& cable) : fCable(cable) {}

    u32 IMIDISender_SendShort(const TTonewellShortMessage* message) override
    {
        return GuardEdge(kTonewellEdge,
                         [&]
                         {
                             const std::size_t size = ShortMessageLength(message->fBytes[0]);
                             if (size == 0)
                                 throw std::invalid_argument("");
                             fCable.Transmit(message->fBytes, size);
                         });
    }

    u32 IMIDISender_SendSysex(const u8* bytes, u32 size) override
    {
        return GuardEdge(kTonewellEdge,
                         [&]
                         {
                             if (size < 2 || bytes[0] != kSysexBegin ||
                                 bytes[size - 1] != kSysexEnd)
                                 throw std::invalid_argument("");
                             fCable.Transmit(bytes, size);
                         });
    }

private:
    CLoopbackBackend::CCable& fCable;
};
} // namespace

CLoopbackBackend::CCable::CCable(std::string name, CDeliveryThread& delivery)
    : fName(std::move(name)), fDelivery(delivery)
{
}

void CLoopbackBackend::CCable::Attach(const std::shared_ptr<CInputChannel>& channel)
{
    std::lock_guard lock(fLock);
    fChannels.push_back(channel);
}

void CLoopbackBackend::CCable::Detach(const std::shared_ptr<CInputChannel>& channel)
{
    std::lock_guard lock(fLock);
    std::erase(fChannels, channel);
}

void CLoopbackBackend::CCable::Transmit(const u8* data, std::size_t size)
{
    // The message arrives at the far end of the cable at once.
    const u64 time = MonotonicMicroseconds();
    std::unique_lock lock(fLock);
    for (std::size_t i = 0; i < fChannels.size(); ++i)
        if (!fChannels[i]->Post(time, data, size))
            PostPatiently(lock, i, time, data, size);
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
    return {kLoopbackCableNames[0], kLoopbackCableNames[1]};
}

CLoopbackBackend::CCable* CLoopbackBackend::FindCable(const std::string& name)
{
    for (CCable& cable : fCables)
        if (cable.GetName() == name)
            return &cable;
    return nullptr;
}

std::unique_ptr<IMIDIInPort> CLoopbackBackend::OpenIn(IMIDIInHandler& handler,
                                                      const CPortAddress& address, u32& status)
{
    CCable* cable = FindCable(address.GetIdentityName());
    if (cable == nullptr || address.GetOccurrence() != 0)
    {
        status = kTonewellPortGone;
        return nullptr;
    }
    status = kTonewellOK;
    return std::make_unique<CLoopbackInPort>(*cable, fDelivery, handler, fDebug);
}

std::unique_ptr<IMIDISender> CLoopbackBackend::OpenOut(const CPortAddress& address, u32& status)
{
    CCable* cable = FindCable(address.GetIdentityName());
    if (cable == nullptr || address.GetOccurrence() != 0)
    {
        status = kTonewellPortGone;
        return nullptr;
    }
    status = kTonewellOK;
    return std::make_unique<CLoopbackOutPort>(*cable);
}
} // namespace NSTonewell
