#pragma once
// What the workbench's latency benchmarks share: the one-fader definition
// file they run, their percentiles, the process's CPU time and the loopback
// cables by name. Header-only: each benchmark is one program of its own.

#include "midi/MIDIHub.h"

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace NSBench
{
// One fader on controller 7, with a start message so that an output port
// is part of the model.
inline const char* const kFaderBoxDefinition =
    "Universal MIDI Codec Control Surface Definition File\n"
    "File Format Version\t1.0.0\n"
    "Control Surface Manufacturer\tBrassfold Bench\n"
    "Control Surface Model\tFader Box\n"
    "Codec Version\t1.0.0\n"
    "Setup\tF0 7D 00 F7\n"
    "Item Header\tName\tType\tMin\tMax\n"
    "Item\tFader\tvalue\t0\t127\n"
    "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n"
    "Map\tB0 07 xx\tFader\tx\t\t\t\n";

// The value below which that share of the values lie; 0 for none.
template <class T> T Percentile(std::vector<T> values, double share)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? T()
                          : values[std::min(values.size() - 1, std::size_t(share * values.size()))];
}

// User and system time of the process so far.
inline double CPUSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

// The port of that display name; a benchmark without it cannot run.
inline NSMIDIHub::CMIDIPortSpec FindPort(const std::vector<NSMIDIHub::CMIDIPortSpec>& ports,
                                         const char16_t* name)
{
    for (const NSMIDIHub::CMIDIPortSpec& port : ports)
        if (port.GetDisplayName() == name)
            return port;
    std::fprintf(stderr, "no port named as the loopback cables are\n");
    std::exit(2);
}
// The input phase of a latency run: one controller message after a random
// pause of 1 to 3 ms, so that it meets the loop at any point of its idle
// wait, and each waited for (a second at most) until the listener heard it.
inline void SendOneByOne(NSMIDIHub::IMIDISender& sender, int rounds, const std::atomic<int>& heard)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> pause(1000, 3000);
    for (int round = 0; round < rounds; ++round)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
        sender.Send(nullptr, {0xB0, 0x07, static_cast<unsigned char>(round & 0x7F)});
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (heard.load(std::memory_order_acquire) <= round && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

// The frame phase: frames are recorded while `recording` is set, for that
// span. Answers the process's CPU seconds and the wall seconds it took.
inline std::pair<double, double> RecordFrames(std::atomic<bool>& recording, std::chrono::seconds span)
{
    recording.store(true, std::memory_order_release);
    const double cpuStart = CPUSeconds();
    const auto wallStart = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(span);
    recording.store(false, std::memory_order_release);
    return {CPUSeconds() - cpuStart,
            std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count()};
}
} // namespace NSBench
