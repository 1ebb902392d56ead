// A hardware panel under a flood: a surface of 128 value items (the generic
// MIDI codec, controllers 0 to 127 on channel 1) runs in a real panel of the
// workbench, with the Qt adapter, the run behaviour and the hub, on the
// offscreen platform. A thread sends 100,000 controller messages a second
// for ten seconds into "Loopback A", in steps of 100 every millisecond; the
// cable holds a fast sender back rather than lose messages, and the hub's
// queue drops what it cannot hold.
//
// Measured: the inputs that reached the panel per second and those that were
// lost on the way; the period of the output frames (from the frame clock's
// own times) at the 99th percentile; and the longest stall of the user
// interface thread, as the longest gap between two calls of a 2 ms timer.

#include "foundation/TextPackage.h"
#include "generic/GenericMidiCodec.h"
#include "gui/HardwarePanel.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/CodecModules.h"
#include "host/MyAppBehavior.h"
#include "host/OutputFrameClock.h"
#include "BenchSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

using namespace NSKinvarCodec;
using namespace std::chrono_literals;
using namespace NSBench;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
constexpr int kItems = 128;
constexpr int kMessagesPerMs = 100;
constexpr auto kFlood = 10s;
constexpr auto kDrain = 3s;

std::string Definition()
{
    std::string text = "Universal MIDI Codec Control Surface Definition File\n"
                       "File Format Version\t1.0.0\n"
                       "Control Surface Manufacturer\tBrassfold Bench\n"
                       "Control Surface Model\tFlood 128\n"
                       "Codec Version\t1.0.0\n"
                       "Setup\tF0 7D 00 F7\n"
                       "Item Header\tName\tType\tMin\tMax\n";
    for (int i = 0; i < kItems; ++i)
        text += "Item\tFader " + std::to_string(i + 1) + "\tvalue\t0\t127\n";
    text += "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n";
    char pattern[16];
    for (int i = 0; i < kItems; ++i)
    {
        std::snprintf(pattern, sizeof pattern, "B0 %02X xx", i);
        text += std::string("Map\t") + pattern + "\tFader " + std::to_string(i + 1) + "\tx\t\t\t\n";
    }
    return text;
}

// Counts what reaches the panel's surface, beside the panel.
class CCounter final : public IInputListener
{
public:
    void IInputListener_OnInput(const TItemInput*) override { ++fHeard; }
    u64 fHeard = 0;
};

struct TRun
{
    std::atomic<u64> fSent{0};
    std::atomic<bool> fSending{true};
    double fSendSeconds = 0;
    std::vector<double> fFramePeriods;
    double fLongestGapMs = 0;
    u64 fHeard = 0;
};

void Flood(NSMIDIHub::IMIDISender& sender, TRun& run)
{
    const auto start = std::chrono::steady_clock::now();
    auto next = start;
    u64 sent = 0;
    while (std::chrono::steady_clock::now() - start < kFlood)
    {
        for (int i = 0; i < kMessagesPerMs; ++i, ++sent)
            sender.Send(nullptr, {0xB0, static_cast<u8>(sent % kItems), static_cast<u8>((sent / kItems) % 128)});
        run.fSent.store(sent, std::memory_order_release);
        next += 1ms;
        std::this_thread::sleep_until(next);
    }
    run.fSendSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.fSending.store(false, std::memory_order_release);
}
} // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("BRASSFOLD_MIDI", "loopback", 1);
    QApplication application(argc, argv);
    const std::filesystem::path definition =
        std::filesystem::temp_directory_path() / ("brassfold-panel-" + std::to_string(getpid()) + ".midicodec");
    std::ofstream(definition) << Definition();
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec({{}, {definition}}), codec_deleter());
    const TControlSurfaceInfo model = GetControlSurfacesForCodec(codec).at(0);
    std::filesystem::remove(definition);

    NSMIDIHub::CMIDIHub& ports = NSMIDIHub::GetMIDIHub();
    CQtVistal vistal;
    CVistalInstallation installation(vistal);
    CQtWorkbenchWindows windows(vistal);
    TRun run;
    CCounter counter;
    std::thread flood;
    std::shared_ptr<NSMIDIHub::IMIDISender> sender;
    QTimer monitor;
    QElapsedTimer sinceLast;
    std::optional<i64> lastFrame;
    QTimer::singleShot(0, [&] {
        windows.IWorkbenchWindows_OpenHardwarePanel(codec, model, {FindPort(ports.GetInPorts(), u"Loopback A")},
                                                    {FindPort(ports.GetOutPorts(), u"Loopback B")});
        const u32 id = windows.GetPanels().front()->GetSurfaceId();
        GetKinvarHUB().AddInputListener(id, &counter);
        monitor.setTimerType(Qt::PreciseTimer);
        monitor.start(2);
        sinceLast.start();
        sender = ports.GetSender(FindPort(ports.GetOutPorts(), u"Loopback A"));
        flood = std::thread(Flood, std::ref(*sender), std::ref(run));
    });
    QElapsedTimer draining;
    QObject::connect(&monitor, &QTimer::timeout, [&] {
        run.fLongestGapMs = std::max(run.fLongestGapMs, sinceLast.nsecsElapsed() / 1e6);
        sinceLast.restart();
        const std::optional<i64> frame = GetOutputFrameClock().GetLastOutputTime();
        if (lastFrame && frame != lastFrame)
            run.fFramePeriods.push_back(static_cast<double>(*frame - *lastFrame));
        lastFrame = frame;
        if (run.fSending.load(std::memory_order_acquire))
            return;
        if (!draining.isValid())
            draining.start();
        if (counter.fHeard >= run.fSent.load() || draining.elapsed() > std::chrono::milliseconds(kDrain).count())
        {
            monitor.stop();
            run.fHeard = counter.fHeard;
            vistal.IVistal_RequestQuit();
        }
    });
    vistal.Run(new CMyAppBehavior(windows), MakeStartupParams());
    flood.join();
    sender.reset();

    const u64 sent = run.fSent.load();
    const double handledPerSecond = run.fHeard / run.fSendSeconds;
    std::printf("sent %llu messages in %.2f s (%.0f a second, asked for %d)\n", (unsigned long long)sent,
                run.fSendSeconds, sent / run.fSendSeconds, kMessagesPerMs * 1000);
    std::printf("the panel handled %llu (%.0f a second), %llu lost\n", (unsigned long long)run.fHeard,
                handledPerSecond, (unsigned long long)(sent - run.fHeard));
    std::printf("frames: %zu, period median %.1f ms, 99th percentile %.1f ms, longest %.1f ms\n",
                run.fFramePeriods.size() + 1, Percentile(run.fFramePeriods, 0.5), Percentile(run.fFramePeriods, 0.99),
                Percentile(run.fFramePeriods, 1.0));
    std::printf("handled_per_s=%.0f dropped=%llu frame_p99_ms=%.1f ui_stall_max_ms=%.1f\n", handledPerSecond,
                (unsigned long long)(sent - run.fHeard), Percentile(run.fFramePeriods, 0.99), run.fLongestGapMs);
    return 0;
}
