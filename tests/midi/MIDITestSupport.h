#pragma once
// Helpers of the MIDI tests: a receiver that records what arrives, and
// bounded waits, so that no test can hang on a message that never comes.

#include "midi/MIDIHub.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace NSMIDITesting
{
using NSMIDIHub::TBinary;
using namespace std::chrono_literals;

// Long enough for a loaded machine, short enough to fail fast in CI.
inline constexpr auto kPatience = 10s;

template <class Predicate>
bool WaitUntil(Predicate predicate, std::chrono::milliseconds timeout = kPatience)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class CRecordingReceiver final : public NSMIDIHub::IMIDIReceiver
{
public:
    void Receive(const NSMIDIHub::CMIDIPortSpec& port, const u64* time,
                 const TBinary& data) override
    {
        std::lock_guard lock(fLock);
        fMessages.push_back(data);
        fTimes.push_back(time != nullptr ? *time : 0);
        fPorts.push_back(port);
        fArrived.notify_all();
    }

    // True when at least count messages arrived within the timeout.
    bool WaitForCount(std::size_t count, std::chrono::milliseconds timeout = kPatience)
    {
        std::unique_lock lock(fLock);
        return fArrived.wait_for(lock, timeout, [&] { return fMessages.size() >= count; });
    }

    std::vector<TBinary> Messages() const
    {
        std::lock_guard lock(fLock);
        return fMessages;
    }

    std::vector<u64> Times() const
    {
        std::lock_guard lock(fLock);
        return fTimes;
    }

    std::vector<NSMIDIHub::CMIDIPortSpec> Ports() const
    {
        std::lock_guard lock(fLock);
        return fPorts;
    }

    std::size_t Count() const
    {
        std::lock_guard lock(fLock);
        return fMessages.size();
    }

private:
    mutable std::mutex fLock;
    std::condition_variable fArrived;
    std::vector<TBinary> fMessages;
    std::vector<u64> fTimes;
    std::vector<NSMIDIHub::CMIDIPortSpec> fPorts;
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

// An input handler that takes every callback and does nothing; tests
// override what they watch.
class CQuietHandler : public NSTonewell::IMIDIInHandler
{
public:
    u32 IMIDIInHandler_OnShortMessage(NSTonewell::IMIDIInPort*,
                                      const NSTonewell::TTonewellShortMessage*) override
    {
        return kTonewellOK;
    }
    u32 IMIDIInHandler_OnSysexBegin(NSTonewell::IMIDIInPort*) override { return kTonewellOK; }
    u32 IMIDIInHandler_OnSysexData(NSTonewell::IMIDIInPort*, const u64*, const u8*, u32) override
    {
        return kTonewellOK;
    }
    u32 IMIDIInHandler_OnSysexEnd(NSTonewell::IMIDIInPort*, const u64*) override
    {
        return kTonewellOK;
    }
    u32 IMIDIInHandler_OnSysexAbort(NSTonewell::IMIDIInPort*) override { return kTonewellOK; }
    u32 IMIDIInHandler_OnNotification(u32) override { return kTonewellOK; }
};

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
