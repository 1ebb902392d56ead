#include "midi/DeliveryThread.h"

#include "foundation/Assert.h"
#include "midi/Backend.h"
#include "midi/MIDIBytes.h"

#include <algorithm>
#include <pthread.h>

namespace NSTonewell
{
namespace
{
// The most messages of one channel in one pass, so that a flood on one port
// doesn't starve the others and Close never waits long.
constexpr int kMessagesPerPass = 256;
// Room for the longest message without growing on the delivery thread.
constexpr std::size_t kInitialMessageRoom = 64 * 1024;
} // namespace

void DeliverMessage(IMIDIInHandler& handler, IMIDIInPort& port, u64 time, const u8* data,
                    std::size_t size)
{
    if (size == 0)
        return;
    if (data[0] == kSysexBegin)
    {
        handler.IMIDIInHandler_OnSysexBegin(&port);
        const bool complete = size >= 2 && data[size - 1] == kSysexEnd;
        const std::size_t inner = complete ? size - 2 : size - 1;
        if (inner > 0)
            handler.IMIDIInHandler_OnSysexData(&port, &time, data + 1, static_cast<u32>(inner));
        if (complete)
            handler.IMIDIInHandler_OnSysexEnd(&port, &time);
        else
            handler.IMIDIInHandler_OnSysexAbort(&port);
        return;
    }
    if (size > 3 || ShortMessageLength(data[0]) == 0)
        return;
    TTonewellShortMessage message{};
    message.fTime = time;
    std::copy(data, data + size, message.fBytes);
    handler.IMIDIInHandler_OnShortMessage(&port, &message);
}

void NoteLost(const CLibraryDebug& debug, const CInputChannel& channel, const std::string& port)
{
    if (const u64 lost = channel.GetLostCount(); lost > 0)
        debug.Note(port + ": " + std::to_string(lost) +
                   " messages were lost, since they came faster than they were taken");
}

CInputChannel::CInputChannel(CDeliveryThread& delivery, IMIDIInHandler& handler, IMIDIInPort& port,
                             std::size_t capacity)
    : fDelivery(delivery), fHandler(handler), fPort(port), fRing(capacity), fClosed(false), fLost(0)
{
}

bool CInputChannel::Post(u64 time, const u8* data, std::size_t size) noexcept
{
    if (!fRing.TryPush(time, data, size))
        return false;
    fDelivery.Wake();
    return true;
}

void CInputChannel::CountLost() noexcept
{
    fLost.fetch_add(1, std::memory_order_relaxed);
}

u64 CInputChannel::GetLostCount() const noexcept
{
    return fLost.load(std::memory_order_relaxed);
}

std::size_t CInputChannel::GetMaxMessageSize() const noexcept
{
    return fRing.GetMaxMessageSize();
}

CDeliveryThread::CDeliveryThread(const std::string& name) : fSignal(0), fStop(false)
{
    fMessage.reserve(kInitialMessageRoom);
    fThread = std::thread([this] { Run(); });
    pthread_setname_np(fThread.native_handle(), name.substr(0, 15).c_str());
}

CDeliveryThread::~CDeliveryThread()
{
    fStop.store(true, std::memory_order_release);
    Wake();
    fThread.join();
    BF_ASSERT(std::none_of(fChannels.begin(), fChannels.end(),
                           [](const auto& channel) { return !channel->fClosed.load(); }));
}

std::shared_ptr<CInputChannel> CDeliveryThread::Open(IMIDIInHandler& handler, IMIDIInPort& port,
                                                     std::size_t capacity)
{
    auto channel = std::make_shared<CInputChannel>(*this, handler, port, capacity);
    {
        std::lock_guard lock(fOpenedLock);
        fOpened.push_back(channel);
    }
    Wake();
    return channel;
}

void CDeliveryThread::Close(const std::shared_ptr<CInputChannel>& channel) noexcept
{
    channel->fClosed.store(true, std::memory_order_release);
    // On the delivery thread the flag is enough: it is read before each
    // message. Elsewhere a pass may be inside the handler right now.
    if (!IsCurrentThread())
        std::lock_guard lock(fPassLock);
}

void CDeliveryThread::Wake() noexcept
{
    fSignal.fetch_add(1, std::memory_order_release);
    fSignal.notify_one();
}

bool CDeliveryThread::IsCurrentThread() const noexcept
{
    return std::this_thread::get_id() == fThread.get_id();
}

void CDeliveryThread::Run()
{
    for (;;)
    {
        // The signal is read before the stop flag and before the pass, so
        // that a wake-up between them makes the wait below return at once.
        const u32 seen = fSignal.load(std::memory_order_acquire);
        if (fStop.load(std::memory_order_acquire))
            break;
        if (DeliverPass())
            continue;
        fSignal.wait(seen, std::memory_order_acquire);
    }
    std::lock_guard lock(fPassLock);
    AdoptOpened();
}

void CDeliveryThread::AdoptOpened()
{
    std::lock_guard lock(fOpenedLock);
    fChannels.insert(fChannels.end(), fOpened.begin(), fOpened.end());
    fOpened.clear();
}

bool CDeliveryThread::DeliverPass()
{
    std::lock_guard lock(fPassLock);
    AdoptOpened();
    bool delivered = false;
    for (const auto& channel : fChannels)
    {
        for (int i = 0; i < kMessagesPerPass; ++i)
        {
            if (channel->fClosed.load(std::memory_order_acquire) || channel->fRing.IsEmpty())
                break;
            DeliverOne(*channel);
            delivered = true;
        }
    }
    std::erase_if(fChannels, [](const auto& channel)
                  { return channel->fClosed.load(std::memory_order_acquire); });
    return delivered;
}

void CDeliveryThread::DeliverOne(CInputChannel& channel)
{
    u64 time = 0;
    if (!channel.fRing.TryPop(time, fMessage))
        return;
    try
    {
        DeliverMessage(channel.fHandler, channel.fPort, time, fMessage.data(), fMessage.size());
    }
    catch (...)
    {
        // The handlers guard their edge and never throw; should one do so
        // anyway, the message is lost and delivery goes on.
    }
}
} // namespace NSTonewell
