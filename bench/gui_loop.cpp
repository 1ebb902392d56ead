// The workbench's run loop on Qt, under the offscreen platform, with a surface
// of the generic MIDI codec on the loopback cables:
//
// - input latency: one message at a time on "Loopback A", sent after a pause
//   of 1 to 3 ms so that the user interface thread sleeps; measured from the
//   moment the hub posts the custom event on the delivery thread to the
//   input listener's call on the user interface thread (Qt's post, its wake,
//   OnCustomEvent, DriveInput). Median and 99th percentile, in microseconds.
// - output frames: for ten seconds with nothing else to do, the frames per
//   second that a panel reads from the traffic record, the 99th percentile of
//   the frame period, and the CPU time of the whole process meanwhile, as a
//   share of one core.

#include "generic/GenericMidiCodec.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/CodecModules.h"
#include "host/MyAppBehavior.h"
#include "midi/MIDIBytes.h"
#include "BenchSupport.h"

#include <QApplication>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <tuple>
#include <vector>

using namespace NSKinvarCodec;
using namespace std::chrono_literals;
using namespace NSBench;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
constexpr int kWarmUp = 200;
constexpr int kRounds = 2000;
constexpr auto kFramePhase = 10s;

u64 Now()
{
    return NSTonewell::MonotonicMicroseconds();
}

// The toolkit as the hub sees it: notes the moment of each post, then hands
// everything to the Qt adapter.
class CStampingVistal final : public IVistal
{
public:
    explicit CStampingVistal(CQtVistal& vistal) : fVistal(vistal) {}
    u32 IVistal_PostCustomEvent(u32 event, u32 data) override
    {
        fPosted.store(Now(), std::memory_order_release);
        return fVistal.IVistal_PostCustomEvent(event, data);
    }
    u32 IVistal_UpdateCommands() override { return fVistal.IVistal_UpdateCommands(); }
    u32 IVistal_RequestQuit() override { return fVistal.IVistal_RequestQuit(); }
    u32 IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override
    {
        return fVistal.IVistal_ShowAlert(record, listener);
    }
    u32 IVistal_ShowOpenDialog(const TOpenDialogRequest& request,
                               IOpenDialogListener& listener) override
    {
        return fVistal.IVistal_ShowOpenDialog(request, listener);
    }
    u32 IVistal_Yield() override { return fVistal.IVistal_Yield(); }
    u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 type, u32 flags) override
    {
        return fVistal.IVistal_CreateDocumentWindow(creator, type, flags);
    }
    std::atomic<u64> fPosted{0};

private:
    CQtVistal& fVistal;
};

class CLatencyListener final : public IInputListener
{
public:
    explicit CLatencyListener(const CStampingVistal& stamps) : fStamps(stamps) {}
    void IInputListener_OnInput(const TItemInput*) override
    {
        fLatencies.push_back(Now() - fStamps.fPosted.load(std::memory_order_acquire));
        fHeard.fetch_add(1, std::memory_order_release);
    }
    const CStampingVistal& fStamps;
    std::vector<u64> fLatencies;
    std::atomic<int> fHeard{0};
};

// The codec and its model; the codec reads its file at each listing.
std::pair<TCodecPtr, TControlSurfaceInfo> MakeCodec()
{
    const std::filesystem::path definition =
        std::filesystem::temp_directory_path() /
        ("brassfold-bench-" + std::to_string(getpid()) + ".midicodec");
    std::ofstream(definition) << NSBench::kFaderBoxDefinition;
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec({{}, {definition}}),
                          codec_deleter());
    const TControlSurfaceInfo model = GetControlSurfacesForCodec(codec).at(0);
    std::filesystem::remove(definition);
    return {codec, model};
}

// The output frames, on the user interface thread.
struct TFrames
{
    std::vector<u64> fTimes;
    std::pair<u32, u32> fTraffic{0, 0};
    std::atomic<bool> fRecording{false};
};
} // namespace

int main(int argc, char** argv)
{
    setenv("BRASSFOLD_MIDI", "loopback", 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication application(argc, argv);
    const auto [codec, model] = MakeCodec();
    NSMIDIHub::CMIDIHub& ports = NSMIDIHub::GetMIDIHub();
    const CMIDIPortSpec inA = FindPort(ports.GetInPorts(), u"Loopback A");
    const CMIDIPortSpec outA = FindPort(ports.GetOutPorts(), u"Loopback A");
    const CMIDIPortSpec outB = FindPort(ports.GetOutPorts(), u"Loopback B");

    CKinvarHUB& hub = GetKinvarHUB();
    TFrames frames;
    u32 id = 0;
    COutputFrameClock clock([&](u32 framesPerSecond) {
        hub.DriveOutput(framesPerSecond);
        if (frames.fRecording.load(std::memory_order_acquire))
        {
            frames.fTimes.push_back(Now());
            frames.fTraffic = hub.GetOutputTraffic(id, 0, 1000);
        }
    });
    CQtVistal vistal(clock);
    CStampingVistal stamping(vistal);
    CVistalInstallation installation(stamping);
    CQtWorkbenchWindows windows(vistal);
    id = hub.CreateActiveControlSurface(codec, model, u"Bench", {inA}, {outB});
    CLatencyListener listener(stamping);
    hub.AddInputListener(id, &listener);

    double cpuSeconds = 0;
    double wallSeconds = 0;
    std::thread controller([&] {
        SendOneByOne(*ports.GetSender(outA), kWarmUp + kRounds, listener.fHeard);
        std::tie(cpuSeconds, wallSeconds) = RecordFrames(frames.fRecording, kFramePhase);
        stamping.IVistal_RequestQuit();
    });
    const int status =
        RunWorkbench([&](IVistalRunBehavior* behaviour,
                         const TStartupParams& params) { return vistal.Run(behaviour, params); },
                     std::make_unique<CMyAppBehavior>(windows, hub, clock));
    controller.join();
    if (status != 0 || listener.fLatencies.size() < std::size_t(kWarmUp + kRounds))
    {
        std::fprintf(stderr, "only %zu of %d messages arrived\n", listener.fLatencies.size(),
                     kWarmUp + kRounds);
        return 1;
    }
    const std::vector<u64> latencies(listener.fLatencies.begin() + kWarmUp,
                                     listener.fLatencies.end());
    std::vector<double> periods;
    for (std::size_t i = 1; i < frames.fTimes.size(); ++i)
        periods.push_back((frames.fTimes[i] - frames.fTimes[i - 1]) / 1000.0);
    const double cpuPercent = 100.0 * cpuSeconds / wallSeconds;
    std::printf(
        "input, post on the delivery thread to listener: median %llu us, 99th percentile %llu us, "
        "max %llu us (%d messages)\n",
        (unsigned long long)Percentile(latencies, 0.5),
        (unsigned long long)Percentile(latencies, 0.99),
        (unsigned long long)Percentile(latencies, 1.0), kRounds);
    std::printf("frames over %.1f s: %zu, period median %.2f ms, 99th percentile %.2f ms, longest "
                "%.2f ms\n",
                wallSeconds, frames.fTimes.size(), Percentile(periods, 0.5),
                Percentile(periods, 0.99), Percentile(periods, 1.0));
    std::printf("panel reading: %u frames/s; idle process CPU %.3f s in %.1f s\n",
                frames.fTraffic.first, cpuSeconds, wallSeconds);
    std::printf("median_us=%llu p99_us=%llu fps=%u frame_p99_ms=%.2f cpu_pct=%.2f\n",
                (unsigned long long)Percentile(latencies, 0.5),
                (unsigned long long)Percentile(latencies, 0.99), frames.fTraffic.first,
                Percentile(periods, 0.99), cpuPercent);
    return 0;
}
