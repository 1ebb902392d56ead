// The host's main road on the loopback cables, with the generic MIDI codec,
// the run behaviour and the headless run loop, whose idle scheduling is the
// one the workbench's toolkit adapter follows:
//
// - input latency: one message at a time on "Loopback A", sent after a pause
//   of 1 to 3 ms so that the main thread sleeps; measured from the port's
//   delivery (a receiver ahead of the surface on the same port notes the
//   moment) to the listener's call on the main thread, through the codec,
//   the hub's queue, the posted event and DriveInput. Median and 99th
//   percentile, in microseconds. For comparison, the same from the moment
//   of sending, which adds the cable's own delivery.
// - output frames: for ten seconds with nothing else to do, the period of
//   the frames (mean, and the share from 33 to 35 ms), the frames per second
//   that a panel reads from the traffic record, and the CPU time of the whole
//   process meanwhile, as a share of one core.

#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "generic/GenericMidiCodec.h"
#include "host/CodecModules.h"
#include "host/HeadlessVistal.h"
#include "host/MyAppBehavior.h"
#include "midi/MIDIBytes.h"
#include "BenchSupport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <tuple>
#include <vector>

using namespace NSKinvarCodec;
using namespace std::chrono_literals;
using namespace NSBench;
using NSMIDIHub::CMIDIPortSpec;
using NSMIDIHub::TBinary;

namespace
{
constexpr int kWarmUp = 200;
constexpr int kRounds = 2000;
constexpr auto kFramePhase = 10s;

u64 Now() { return NSTonewell::MonotonicMicroseconds(); }

// Windows of a program without a GUI: the log goes to standard error.
class CBenchWindows final : public IWorkbenchWindows
{
public:
    void IWorkbenchWindows_FlushLog() override
    {
        if (const TText16 text = TakePendingLog(); !text.empty())
            std::fprintf(stderr, "%s\n", NSTextPackage::UTF8FromText16(text).c_str());
    }
    void IWorkbenchWindows_IdlePanels() override {}
    void IWorkbenchWindows_IdleMIDITestWindow() override {}
    void IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener&) override {}
    void IWorkbenchWindows_OpenMIDITestWindow() override {}
    void IWorkbenchWindows_OpenLogWindow() override {}
    void IWorkbenchWindows_OpenHardwarePanel(const TCodecPtr&, const TControlSurfaceInfo&,
                                             const std::vector<CMIDIPortSpec>&,
                                             const std::vector<CMIDIPortSpec>&) override
    {
    }
    std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() override
    {
        return nullptr;
    }
};

// Notes when the port delivers each message: it listens ahead of the surface.
class CDeliveryStamp final : public NSMIDIHub::IMIDIReceiver
{
public:
    void Receive(const CMIDIPortSpec&, const u64*, const TBinary& data) override
    {
        fDelivered[data.at(2)].store(Now(), std::memory_order_release);
    }
    std::array<std::atomic<u64>, 128> fDelivered{};
};

class CLatencyListener final : public IInputListener
{
public:
    explicit CLatencyListener(const CDeliveryStamp& stamps) : fStamps(stamps)
    {
        fAdded.reserve(kRounds + kWarmUp);
        fTotal.reserve(kRounds + kWarmUp);
    }
    void IInputListener_OnInput(const TItemInput* input) override
    {
        const u64 now = Now();
        fAdded.push_back(now - fStamps.fDelivered[input->fValue1 & 0x7F].load(std::memory_order_acquire));
        fTotal.push_back(now - input->fTime);
        fHeard.fetch_add(1, std::memory_order_release);
    }
    const CDeliveryStamp& fStamps;
    std::vector<u64> fAdded;
    std::vector<u64> fTotal;
    std::atomic<int> fHeard{0};
};

struct TFrameRecord
{
    std::vector<u64> fTimes; // microseconds; written on the main thread only
    std::atomic<bool> fRecording{false};
};
} // namespace

int main()
{
    // The cables are the one transport every machine has.
    setenv("BRASSFOLD_MIDI", "loopback", 1);
    const std::filesystem::path definition =
        std::filesystem::temp_directory_path() / ("brassfold-bench-" + std::to_string(getpid()) + ".midicodec");
    std::ofstream(definition) << NSBench::kFaderBoxDefinition;
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec({{}, {definition}}), codec_deleter());
    const TControlSurfaceInfo model = GetControlSurfacesForCodec(codec).at(0);
    std::filesystem::remove(definition);

    NSMIDIHub::CMIDIHub& ports = NSMIDIHub::GetMIDIHub();
    const CMIDIPortSpec inA = FindPort(ports.GetInPorts(), u"Loopback A");
    const CMIDIPortSpec outA = FindPort(ports.GetOutPorts(), u"Loopback A");
    const CMIDIPortSpec outB = FindPort(ports.GetOutPorts(), u"Loopback B");

    CKinvarHUB& hub = GetKinvarHUB();
    TFrameRecord frames;
    COutputFrameClock clock([&](u32 framesPerSecond) {
        if (frames.fRecording.load(std::memory_order_acquire))
            frames.fTimes.push_back(Now());
        hub.DriveOutput(framesPerSecond);
    });
    CHeadlessVistal vistal(clock);
    CVistalInstallation installation(vistal);
    CBenchWindows windows;
    // The end of the run stops every surface: its traffic is read just before.
    class CBenchBehaviour final : public CMyAppBehavior
    {
    public:
        using CMyAppBehavior::CMyAppBehavior;
        u32 OnEnd() override
        {
            fBeforeEnd();
            return CMyAppBehavior::OnEnd();
        }
        std::function<void()> fBeforeEnd;
    } behaviour(windows, hub, clock);

    CDeliveryStamp stamps;
    NSMIDIHub::CMIDIInPort ahead(inA, &stamps);
    const u32 id = hub.CreateActiveControlSurface(codec, model, u"Name", {inA}, {outB});
    CLatencyListener listener(stamps);
    hub.AddInputListener(id, &listener);

    double cpuSeconds = 0;
    double wallSeconds = 0;
    std::pair<u32, u32> traffic{0, 0};
    std::thread controller([&] {
        SendOneByOne(*ports.GetSender(outA), kWarmUp + kRounds, listener.fHeard);
        std::tie(cpuSeconds, wallSeconds) = RecordFrames(frames.fRecording, kFramePhase);
        vistal.IVistal_RequestQuit();
    });
    behaviour.fBeforeEnd = [&] {
        traffic = hub.GetOutputTraffic(id, 0, 1000);
        hub.RemoveInputListener(id, &listener);
    };
    vistal.Run(behaviour);
    controller.join();

    if (listener.fAdded.size() < static_cast<std::size_t>(kWarmUp + kRounds))
    {
        std::fprintf(stderr, "only %zu of %d messages arrived\n", listener.fAdded.size(), kWarmUp + kRounds);
        return 1;
    }
    const std::vector<u64> added(listener.fAdded.begin() + kWarmUp, listener.fAdded.end());
    const std::vector<u64> total(listener.fTotal.begin() + kWarmUp, listener.fTotal.end());
    std::vector<double> periods;
    for (std::size_t i = 1; i < frames.fTimes.size(); ++i)
        periods.push_back((frames.fTimes[i] - frames.fTimes[i - 1]) / 1000.0);
    const double meanPeriod = periods.empty() ? 0 : (frames.fTimes.back() - frames.fTimes.front()) / 1000.0 / periods.size();
    const auto inRange = std::count_if(periods.begin(), periods.end(), [](double ms) { return ms >= 33 && ms <= 35; });
    const double longest = periods.empty() ? 0 : *std::max_element(periods.begin(), periods.end());

    std::printf("input, port delivery to listener: median %llu us, 99th percentile %llu us, max %llu us (%d messages)\n",
                (unsigned long long)Percentile(added, 0.5), (unsigned long long)Percentile(added, 0.99),
                (unsigned long long)Percentile(added, 1.0), kRounds);
    std::printf("input, send to listener (with the cable's delivery): median %llu us, 99th percentile %llu us\n",
                (unsigned long long)Percentile(total, 0.5), (unsigned long long)Percentile(total, 0.99));
    std::printf("frames over %.1f s: %zu, mean period %.2f ms, %.1f%% from 33 to 35 ms, longest %.2f ms\n",
                wallSeconds, frames.fTimes.size(), meanPeriod, periods.empty() ? 0.0 : 100.0 * inRange / periods.size(),
                longest);
    std::printf("panel reading: %u frames/s; idle process CPU %.3f s in %.1f s\n", traffic.first, cpuSeconds,
                wallSeconds);
    std::printf("median_us=%llu p99_us=%llu frame_ms=%.2f fps=%u cpu_pct=%.2f\n",
                (unsigned long long)Percentile(added, 0.5), (unsigned long long)Percentile(added, 0.99), meanPeriod,
                traffic.first, 100.0 * cpuSeconds / wallSeconds);
    return 0;
}
