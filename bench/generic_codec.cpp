// How fast the generic codec turns MIDI into item inputs.
//
// The definition has 128 items on four channels: 64 knobs, each one rule
// "B<c> <cc> xx" giving x, and 64 pads, each two rules, "9<c> <nn> 00" giving
// 0 and "9<c> <nn> ??" giving 1. Messages are drawn at random among the rules
// and go through IControlSurface_HandleMIDIEvent to a handler that counts. The
// baseline is a switch decoder of the same mapping, written by hand, that
// hands the same records to the same handler. Both report items per second,
// that is messages per second.
//
//   bench_generic_codec [--benchmark_format=json]

#include "generic/GenericMidiCodec.h"

#include "codec/CodecSupport.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NSKinvarCodec;

namespace
{
constexpr int kChannels = 4;
constexpr int kKnobsPerChannel = 16;
constexpr int kPadsPerChannel = 16;
constexpr int kFirstController = 0x10;
constexpr int kFirstNote = 0x24;
constexpr int kKnobCount = kChannels * kKnobsPerChannel;
constexpr std::size_t kMessageCount = 4096;

std::string Hex(int value)
{
    char text[4];
    std::snprintf(text, sizeof text, "%02X", value);
    return text;
}

std::string BenchDefinition()
{
    std::string items;
    std::string rules;
    for (int channel = 0; channel < kChannels; ++channel)
    {
        for (int k = 0; k < kKnobsPerChannel; ++k)
        {
            const std::string name = "Knob " + std::to_string(channel * kKnobsPerChannel + k + 1);
            items += "Item\t" + name + "\tvalue\t0\t127\n";
            rules += "Map\tB" + std::to_string(channel) + " " + Hex(kFirstController + k) + " xx\t" + name + "\tx\t\t\t\n";
        }
    }
    for (int channel = 0; channel < kChannels; ++channel)
    {
        for (int p = 0; p < kPadsPerChannel; ++p)
        {
            const std::string name = "Pad " + std::to_string(channel * kPadsPerChannel + p + 1);
            const std::string prefix = "Map\t9" + std::to_string(channel) + " " + Hex(kFirstNote + p);
            items += "Item\t" + name + "\tbutton\t0\t1\n";
            rules += prefix + " 00\t" + name + "\t0\t\t\t\n";
            rules += prefix + " ??\t" + name + "\t1\t\t\t\n";
        }
    }
    return "Universal MIDI Codec Control Surface Definition File\n"
           "File Format Version\t1.0.0\n"
           "Control Surface Manufacturer\tBench\n"
           "Control Surface Model\t128 Items\n"
           "Codec Version\t1.0.0\n"
           "Item Header\tName\tType\tMin\tMax\n" +
           items + "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n" + rules;
}

// Messages drawn at random among the 192 rules, fixed by the seed.
std::vector<TMIDIEvent> RandomMessages()
{
    std::mt19937 random(20261122);
    std::uniform_int_distribution<int> rule(0, kKnobCount * 3 - 1);
    std::uniform_int_distribution<int> data(0, 127);
    std::vector<TMIDIEvent> events(kMessageCount);
    for (TMIDIEvent& event : events)
    {
        event = TMIDIEvent{};
        event.fSize = 3;
        const int r = rule(random);
        if (r < kKnobCount)
        {
            event.fData[0] = u8(0xB0 + r / kKnobsPerChannel);
            event.fData[1] = u8(kFirstController + r % kKnobsPerChannel);
            event.fData[2] = u8(data(random));
        }
        else
        {
            const int pad = (r - kKnobCount) / 2;
            const bool release = (r - kKnobCount) % 2 == 0;
            event.fData[0] = u8(0x90 + pad / kPadsPerChannel);
            event.fData[1] = u8(kFirstNote + pad % kPadsPerChannel);
            event.fData[2] = release ? 0 : u8(1 + data(random) % 127);
        }
    }
    return events;
}

class CCountingHandler : public IControlSurfaceInputHandler
{
public:
    u64 fCount = 0;
    i64 fSum = 0;

    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput* input) override
    {
        ++fCount;
        fSum += input->fValue1 + input->fItemIndex;
        return NSKinvarCodec::kCodecOK;
    }
};

// The definition written to a folder of its own, for the codec's scan.
class CBenchFolder
{
public:
    CBenchFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "brassfold-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        fPath = pattern;
        std::ofstream(fPath / "bench.midicodec") << BenchDefinition();
    }
    ~CBenchFolder() { std::filesystem::remove_all(fPath); }
    const std::filesystem::path& Path() const { return fPath; }

private:
    std::filesystem::path fPath;
};

void GenericCodec(benchmark::State& state)
{
    const CBenchFolder folder;
    TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec({{folder.Path()}, {}}), codec_deleter());
    bool told = false;
    const auto infos = GetControlSurfacesForCodec(codec, [&](const TText16&) { told = true; });
    if (infos.size() != 1 || told)
    {
        state.SkipWithError("the bench definition was refused");
        return;
    }
    u32 status = 0;
    TControlSurfacePtr surface(codec->ICodec2_CreateControlSurface(infos[0], &status), codecsurface_deleter());
    CCountingHandler handler;
    surface->IControlSurface_SetInputHandler(&handler);
    const std::vector<TMIDIEvent> events = RandomMessages();
    CCodecTextGetter messages;
    for (auto _ : state)
    {
        for (const TMIDIEvent& event : events)
            surface->IControlSurface_HandleMIDIEvent(&event, 0, messages);
    }
    benchmark::DoNotOptimize(handler.fSum);
    if (handler.fCount != u64(state.iterations()) * events.size())
        state.SkipWithError("a message was not decoded");
    state.SetItemsProcessed(i64(state.iterations()) * i64(events.size()));
}

// The same mapping as a switch, as one would write it by hand.
u32 DecodeBySwitch(const TMIDIEvent& event, IControlSurfaceInputHandler& handler)
{
    const u8 status = event.fData[0];
    const int channel = status & 0x0F;
    const int data1 = event.fData[1];
    const int data2 = event.fData[2];
    TItemInput input{};
    input.fTime = event.fTime;
    switch (status & 0xF0)
    {
    case 0xB0:
        if (channel >= kChannels || data1 < kFirstController || data1 >= kFirstController + kKnobsPerChannel)
            return NSKinvarCodec::kCodecOK;
        input.fItemIndex = u32(channel * kKnobsPerChannel + data1 - kFirstController);
        input.fValue1 = data2;
        break;
    case 0x90:
        if (channel >= kChannels || data1 < kFirstNote || data1 >= kFirstNote + kPadsPerChannel)
            return NSKinvarCodec::kCodecOK;
        input.fItemIndex = u32(kKnobCount + channel * kPadsPerChannel + data1 - kFirstNote);
        input.fValue1 = data2 == 0 ? 0 : 1;
        break;
    default:
        return NSKinvarCodec::kCodecOK;
    }
    return handler.IControlSurfaceInputHandler_HandleInput(nullptr, &input);
}

void SwitchDecoder(benchmark::State& state)
{
    CCountingHandler handler;
    IControlSurfaceInputHandler& asInterface = handler;
    const std::vector<TMIDIEvent> events = RandomMessages();
    CCodecTextGetter messages;
    for (auto _ : state)
    {
        for (const TMIDIEvent& event : events)
            benchmark::DoNotOptimize(DecodeBySwitch(event, asInterface));
    }
    benchmark::DoNotOptimize(handler.fSum);
    state.SetItemsProcessed(i64(state.iterations()) * i64(events.size()));
}

BENCHMARK(GenericCodec)->Name("generic_codec/128_items");
BENCHMARK(SwitchDecoder)->Name("switch_decoder/128_items");
} // namespace

BENCHMARK_MAIN();
