#pragma once
// The delivery of a backend's input: the threads that hand messages to the
// program's handlers, and the input channels that feed them.
//
// A backend receives input on threads it doesn't own (RtMidi's, JACK's
// realtime thread) or on the sender's thread (the loopback cables). None of
// them may run the program's handlers: a realtime thread must not wait for a
// lock or run a codec, and a sender must not run the receiver's code. So the
// producer copies each whole message into its port's channel, and the
// channel's delivery thread hands the messages to the port's handler, in
// order, as the IMIDIInHandler callbacks.
//
// Each channel, that is each open input port, has a delivery thread of its
// own: a handler that takes long (a slow codec, a surface that is ending)
// holds up its own port and no other, and closing a port waits for the
// message in hand on that port alone.
//
// Closing a channel ends its deliveries: after Close has returned, the
// handler is not called again, whichever thread Close runs on (a handler may
// close its own port from inside a callback).

#include "midi/MessageRing.h"
#include "midi/Tonewell.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace NSTonewell
{
class CDeliveryThread;

class CInputChannel
{
public:
    CInputChannel(IMIDIInHandler& handler, IMIDIInPort& port, std::size_t capacity);
    CInputChannel(const CInputChannel&) = delete;
    CInputChannel& operator=(const CInputChannel&) = delete;

    // Producer side, one thread at a time, realtime-safe: queues one whole
    // message and wakes the delivery thread. False when the channel is full;
    // the message is then not queued (see CountLost).
    bool Post(u64 time, const u8* data, std::size_t size) noexcept;
    // Counts a message that the producer gave up on.
    void CountLost() noexcept;
    u64 GetLostCount() const noexcept;
    std::size_t GetMaxMessageSize() const noexcept;

private:
    friend class CDeliveryThread;

    void Wake() noexcept;
    // The channel's thread, until the channel is closed.
    void Run(const CDeliveryThread& delivery);
    bool DeliverOne();

    IMIDIInHandler& fHandler;
    IMIDIInPort& fPort;
    CMessageRing fRing;
    std::atomic<bool> fClosed;
    std::atomic<u64> fLost;
    std::atomic<u32> fSignal;
    // The delivery thread's own.
    std::vector<u8> fMessage;
    std::thread fThread;
};

// The delivery threads of one backend.
class CDeliveryThread
{
public:
    // The threads are named name in the operating system (15 characters).
    explicit CDeliveryThread(const std::string& name);
    // Every channel must have been closed.
    ~CDeliveryThread();
    CDeliveryThread(const CDeliveryThread&) = delete;
    CDeliveryThread& operator=(const CDeliveryThread&) = delete;

    // Any thread. Starts the channel's thread; capacity is its room in bytes.
    std::shared_ptr<CInputChannel> Open(IMIDIInHandler& handler, IMIDIInPort& port,
                                        std::size_t capacity);
    // Any thread; see above.
    void Close(const std::shared_ptr<CInputChannel>& channel) noexcept;
    // Whether the calling thread is one of this backend's delivery threads.
    bool IsCurrentThread() const noexcept;

private:
    const std::string fName;
    std::atomic<u32> fOpenCount;
};

class CLibraryDebug;

// Says on the debug channel how many messages the channel of that port lost,
// if any. For a port's destructor, after the channel closed.
void NoteLost(const CLibraryDebug& debug, const CInputChannel& channel, const std::string& port);

// Hands one whole message to handler as its callbacks: short messages padded
// to 3 bytes, system exclusive as begin, data and end (abort when the F7 is
// missing). A message that is neither is dropped.
void DeliverMessage(IMIDIInHandler& handler, IMIDIInPort& port, u64 time, const u8* data,
                    std::size_t size);
} // namespace NSTonewell
