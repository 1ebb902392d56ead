// The loopback cables, measured from IMIDISender::Send to IMIDIReceiver::Receive
// through the port hub, in one run:
//
// - latency: one message at a time, each sent a pause after the last has
//   arrived, so that the delivery thread has gone to sleep; the median and
//   the 99th percentile, in microseconds (also printed: the same back to
//   back, with the delivery thread awake);
// - throughput: a stream of three-byte messages sent as fast as the sender
//   can, counted at the receiver, which must get every one of them.
//
// For comparison the same run measures the bare hand-over between two
// threads that wake each other (the floor under any delivery thread). The
// last line reads "median_us=... p99_us=... msgs_per_s=...".

#include "midi/MIDIHub.h"
#include "midi/TonewellLibrary.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

using namespace NSMIDIHub;
using Clock = std::chrono::steady_clock;

namespace
{
constexpr int kLatencyWarmUp = 2000;
constexpr int kLatencyRounds = 20000;
constexpr u64 kStreamLength = 500000;
constexpr auto kPatience = std::chrono::seconds(10);
constexpr auto kPause = std::chrono::microseconds(100);

i64 Nanoseconds()
{
    return Clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

// Notes the time of each arrival.
class CTimingReceiver final : public IMIDIReceiver
{
public:
    void Receive(const CMIDIPortSpec&, const u64*, const TBinary&) override
    {
        fArrival.store(Nanoseconds(), std::memory_order_relaxed);
        fCount.fetch_add(1, std::memory_order_release);
    }
    std::atomic<i64> fArrival{0};
    std::atomic<u64> fCount{0};
};

// The waiters of this benchmark yield while they poll: the thread they wake
// is often placed on the waiter's own core, and a waiter that spins without
// yielding keeps it off that core until the scheduler's next tick, which
// measured the benchmark's own waiting (milliseconds) instead of the
// hand-over.
bool WaitForCount(const std::atomic<u64>& count, u64 expected)
{
    const auto deadline = Clock::now() + kPatience;
    while (count.load(std::memory_order_acquire) < expected)
    {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::yield();
    }
    return true;
}

struct TPercentiles
{
    double fMedian;
    double fP99;
};

TPercentiles Percentiles(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return {samples[samples.size() / 2], samples[samples.size() * 99 / 100]};
}

CMIDIPortSpec Port(const std::vector<CMIDIPortSpec>& ports, const std::u16string& name)
{
    for (const auto& port : ports)
        if (port.GetDisplayName() == name)
            return port;
    std::fprintf(stderr, "bench_midi_loopback: no loopback port\n");
    std::exit(1);
}

// pause 0: each message goes out as soon as the last has arrived, and the
// delivery thread is still awake.
TPercentiles MeasureLatency(CMIDIHub& hub, std::chrono::microseconds pause)
{
    CTimingReceiver receiver;
    CMIDIInPort port(hub, Port(hub.GetInPorts(), u"Loopback A"), &receiver);
    auto sender = hub.GetSender(Port(hub.GetOutPorts(), u"Loopback A"));
    std::vector<double> samples;
    samples.reserve(kLatencyRounds);
    for (int i = 0; i < kLatencyWarmUp + kLatencyRounds; ++i)
    {
        const TBinary note{0x90, static_cast<u8>(i & 0x7F), 0x40};
        const u64 before = receiver.fCount.load();
        const i64 sent = Nanoseconds();
        sender->Send(nullptr, note);
        if (!WaitForCount(receiver.fCount, before + 1))
        {
            std::fprintf(stderr, "bench_midi_loopback: a message was lost\n");
            std::exit(1);
        }
        if (i >= kLatencyWarmUp)
            samples.push_back((receiver.fArrival.load() - sent) / 1000.0);
        // A pause, as between a player's moves: the delivery thread goes to
        // sleep, and each message pays for waking it.
        if (pause.count() > 0)
            std::this_thread::sleep_for(pause);
    }
    return Percentiles(samples);
}

double MeasureThroughput(CMIDIHub& hub, u64& received)
{
    CTimingReceiver receiver;
    CMIDIInPort port(hub, Port(hub.GetInPorts(), u"Loopback B"), &receiver);
    auto sender = hub.GetSender(Port(hub.GetOutPorts(), u"Loopback B"));
    const TBinary message{0xB0, 0x07, 0x40};
    const i64 start = Nanoseconds();
    for (u64 i = 0; i < kStreamLength; ++i)
        sender->Send(nullptr, message);
    WaitForCount(receiver.fCount, kStreamLength);
    received = receiver.fCount.load();
    const double seconds = (receiver.fArrival.load() - start) / 1e9;
    return received / seconds;
}

// Two bare threads that wake each other through an atomic, as the delivery
// thread is woken.
TPercentiles MeasureBareHandover()
{
    std::atomic<u32> signal{0};
    std::atomic<i64> woke{0};
    std::atomic<bool> stop{false};
    std::thread waiter(
        [&]
        {
            u32 seen = 0;
            while (!stop.load())
            {
                signal.wait(seen);
                seen = signal.load();
                woke.store(Nanoseconds());
            }
        });
    std::vector<double> samples;
    for (int i = 0; i < kLatencyWarmUp + kLatencyRounds; ++i)
    {
        // Let the waiter fall asleep, as the delivery thread does between messages.
        std::this_thread::sleep_for(kPause);
        const i64 before = woke.load();
        const i64 sent = Nanoseconds();
        signal.fetch_add(1);
        signal.notify_one();
        while (woke.load() == before)
            std::this_thread::yield();
        if (i >= kLatencyWarmUp)
            samples.push_back((woke.load() - sent) / 1000.0);
    }
    stop.store(true);
    signal.fetch_add(1);
    signal.notify_one();
    waiter.join();
    return Percentiles(samples);
}
} // namespace

int main()
{
    NSTonewell::CTonewellLibrary library({NSTonewell::EBackend::kLoopback});
    CMIDIHub hub(library);

    const TPercentiles bare = MeasureBareHandover();
    std::printf("baseline: bare thread hand-over median_us=%.1f p99_us=%.1f\n", bare.fMedian,
                bare.fP99);
    const TPercentiles awake = MeasureLatency(hub, std::chrono::microseconds(0));
    std::printf("back to back: median_us=%.1f p99_us=%.1f\n", awake.fMedian, awake.fP99);
    const TPercentiles latency = MeasureLatency(hub, kPause);
    u64 received = 0;
    const double rate = MeasureThroughput(hub, received);
    std::printf("stream: %llu of %llu messages arrived\n",
                static_cast<unsigned long long>(received),
                static_cast<unsigned long long>(kStreamLength));
    std::printf("median_us=%.1f p99_us=%.1f msgs_per_s=%.0f\n", latency.fMedian, latency.fP99,
                rate);
    return received == kStreamLength ? 0 : 1;
}
