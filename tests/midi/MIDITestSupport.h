#pragma once
// Helpers of the MIDI tests: a receiver that records what arrives, and
// bounded waits, so that no test can hang on a message that never comes.

#include "midi/MIDIHub.h"

#include "WaitUntil.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace NSMIDITesting
{
using NSMIDIHub::TBinary;
using namespace std::chrono_literals;

using NSTesting::kPatience;
using NSTesting::WaitUntil;

struct TArrival
{
    TBinary fData;
    u64 fTime;
    NSMIDIHub::CMIDIPortSpec fPort;
};

class CRecordingReceiver final : public NSMIDIHub::IMIDIReceiver
{
public:
    void Receive(const NSMIDIHub::CMIDIPortSpec& port, const u64* time,
                 const TBinary& data) override
    {
        std::lock_guard lock(fLock);
        fArrivals.push_back({data, time != nullptr ? *time : 0, port});
        fArrived.notify_all();
    }

    // True when at least count messages arrived within the timeout.
    bool WaitForCount(std::size_t count, std::chrono::milliseconds timeout = kPatience)
    {
        std::unique_lock lock(fLock);
        return fArrived.wait_for(lock, timeout, [&] { return fArrivals.size() >= count; });
    }

    std::vector<TBinary> Messages() const
    {
        std::lock_guard lock(fLock);
        std::vector<TBinary> messages;
        for (const auto& arrival : fArrivals)
            messages.push_back(arrival.fData);
        return messages;
    }

    TArrival At(std::size_t index) const
    {
        std::lock_guard lock(fLock);
        return fArrivals.at(index);
    }

    std::size_t Count() const
    {
        std::lock_guard lock(fLock);
        return fArrivals.size();
    }

private:
    mutable std::mutex fLock;
    std::condition_variable fArrived;
    std::vector<TArrival> fArrivals;
};

// The address of the port of that display name in ports, or an empty one.
inline NSMIDIHub::CMIDIPortSpec FindPortNamed(const std::vector<NSMIDIHub::CMIDIPortSpec>& ports,
                                              const std::u16string& displayName)
{
    for (const auto& port : ports)
        if (port.GetDisplayName() == displayName)
            return port;
    return {};
}

// A system exclusive message of size bytes whose inner bytes count up.
inline TBinary MakeSysex(std::size_t size)
{
    TBinary sysex(size);
    sysex.front() = 0xF0;
    for (std::size_t i = 1; i + 1 < size; ++i)
        sysex[i] = static_cast<u8>(i & 0x7F);
    sysex.back() = 0xF7;
    return sysex;
}
} // namespace NSMIDITesting
