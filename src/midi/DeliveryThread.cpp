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
// Room for the longest message without growing on the delivery thread.
constexpr std::size_t kInitialMessageRoom = 64 * 1024;

// The delivery that the calling thread belongs to, if any.
thread_local const CDeliveryThread* tDelivery = nullptr;
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

CInputChannel::CInputChannel(IMIDIInHandler& handler, IMIDIInPort& port, std::size_t capacity)
    : fHandler(handler), fPort(port), fRing(capacity), fClosed(false), fLost(0), fSignal(0)
{
    fMessage.reserve(kInitialMessageRoom);
}

bool CInputChannel::Post(u64 time, const u8* data, std::size_t size) noexcept
{
    if (!fRing.TryPush(time, data, size))
        return false;
    Wake();
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

void CInputChannel::Wake() noexcept
{
    fSignal.fetch_add(1, std::memory_order_release);
    fSignal.notify_one();
}

void CInputChannel::Run(const CDeliveryThread& delivery)
{
    tDelivery = &delivery;
    for (;;)
    {
        // The signal is read before the closed flag and before the ring, so
        // that a wake-up between them makes the wait below return at once.
        const u32 seen = fSignal.load(std::memory_order_acquire);
        bool delivered = false;
        while (!fClosed.load(std::memory_order_acquire) && DeliverOne())
            delivered = true;
        if (fClosed.load(std::memory_order_acquire))
            return;
        if (!delivered)
            fSignal.wait(seen, std::memory_order_acquire);
    }
}

bool CInputChannel::DeliverOne()
{
    u64 time = 0;
    if (!fRing.TryPop(time, fMessage))
        return false;
    try
    {
        DeliverMessage(fHandler, fPort, time, fMessage.data(), fMessage.size());
    }
    catch (...)
    {
        // The handlers guard their edge and never throw; should one do so
        // anyway, the message is lost and delivery goes on.
    }
    return true;
}

CDeliveryThread::CDeliveryThread(const std::string& name) : fName(name.substr(0, 15)), fOpenCount(0)
{
}

CDeliveryThread::~CDeliveryThread()
{
    BF_ASSERT(fOpenCount.load() == 0);
}

std::shared_ptr<CInputChannel> CDeliveryThread::Open(IMIDIInHandler& handler, IMIDIInPort& port,
                                                     std::size_t capacity)
{
    auto channel = std::make_shared<CInputChannel>(handler, port, capacity);
    // The thread keeps the channel while it runs: a handler that closes its
    // own port may free the port's hold on it before the callback returns.
    channel->fThread = std::thread([channel, this] { channel->Run(*this); });
    pthread_setname_np(channel->fThread.native_handle(), fName.c_str());
    fOpenCount.fetch_add(1);
    return channel;
}

void CDeliveryThread::Close(const std::shared_ptr<CInputChannel>& channel) noexcept
{
    if (channel->fClosed.exchange(true, std::memory_order_acq_rel))
        return;
    fOpenCount.fetch_sub(1);
    channel->Wake();
    // On its own thread the flag is enough: it is read before each message,
    // and the thread ends once the callback in hand returns. Elsewhere the
    // thread may be inside the handler right now.
    if (channel->fThread.get_id() == std::this_thread::get_id())
        channel->fThread.detach();
    else
        channel->fThread.join();
}

bool CDeliveryThread::IsCurrentThread() const noexcept
{
    return tDelivery == this;
}
} // namespace NSTonewell
