// How fast a script decodes and renders, beside the generic codec.
//
// One mapping of 128 items on four MIDI channels: 64 knobs, each "B<c> <cc>
// xx", and 64 pads, "9<c> <nn> 00" released and "9<c> <nn> ??" pressed. It is
// written three times: as a definition file for the generic codec, as a
// script whose items carry it as midi rules, and as a script whose input
// function decodes it by hand. Messages drawn at random among the rules go
// through IControlSurface_HandleMIDIEvent of each to a handler that counts.
//
// Frames: the knobs also show a value (an LED ring) and the pads a lamp. Each
// frame changes the states of 16 items, sets all 128 and asks for the output,
// which the rules script renders into one message per changed item.
//
// The script host is the real module of the build, loaded as the workbench
// loads it.
//
//   bench_lua_codec [seconds per measurement, default 1]

#include "codec/CodecSupport.h"
#include "foundation/Debugger.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "generic/GenericMidiCodec.h"
#include "host/AppCommands.h"
#include "host/CodecModules.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace
{
constexpr int kChannels = 4;
constexpr int kPerChannel = 16;
constexpr int kKnobs = kChannels * kPerChannel;
constexpr int kFirstController = 0x10;
constexpr int kFirstNote = 0x24;
constexpr int kChangedPerFrame = 16;

std::string Hex(int value)
{
    char text[4];
    std::snprintf(text, sizeof text, "%02X", value);
    return text;
}

struct TItem
{
    std::string fName;
    std::string fPrefix; // the pattern's first two bytes
    bool fPad;
};

std::vector<TItem> Items()
{
    std::vector<TItem> items;
    for (const bool pad : {false, true})
        for (int channel = 0; channel < kChannels; ++channel)
            for (int k = 0; k < kPerChannel; ++k)
            {
                const int number = channel * kPerChannel + k + 1;
                const int data = (pad ? kFirstNote : kFirstController) + k;
                std::string name = pad ? "Pad " : "Knob ";
                name += std::to_string(number);
                items.push_back({name, Hex((pad ? 0x90 : 0xB0) + channel) + " " + Hex(data), pad});
            }
    return items;
}

std::string Definition()
{
    std::string items;
    std::string rules;
    for (const TItem& item : Items())
    {
        items += "Item\t" + item.fName + (item.fPad ? "\tbutton\t0\t1\n" : "\tvalue\t0\t127\n");
        rules += item.fPad ? "Map\t" + item.fPrefix + " 00\t" + item.fName + "\t0\t\t\t\nMap\t" + item.fPrefix +
                                 " ??\t" + item.fName + "\t1\t\t\t\n"
                           : "Map\t" + item.fPrefix + " xx\t" + item.fName + "\tx\t\t\t\n";
    }
    return "Universal MIDI Codec Control Surface Definition File\nFile Format Version\t1.0.0\n"
           "Control Surface Manufacturer\tBench\nControl Surface Model\t128 Items\nCodec Version\t1.0.0\n"
           "Item Header\tName\tType\tMin\tMax\n" +
           items + "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n" + rules;
}

// The rules script, or with handDecoded the script that decodes in input().
std::string Script(bool handDecoded)
{
    std::string items;
    for (const TItem& item : Items())
    {
        items += "  { name = '" + item.fName + "', input = '" + (item.fPad ? "button" : "value") +
                 "', output = 'value', min = 0, max = " + (item.fPad ? "1" : "127");
        if (!handDecoded)
            items += item.fPad ? ", midi = { { '" + item.fPrefix + " 00', value = 0 }, { '" + item.fPrefix +
                                     " ?" "?', value = 1 } }"
                               : ", midi = '" + item.fPrefix + " xx'";
        items += " },\n";
    }
    return "local items = {\n" + items +
           "}\n"
           "local out = {}\n"
           "for i, item in ipairs(items) do\n"
           "  local pad = item.name:find('Pad') ~= nil\n"
           "  out[item.name] = { (pad and 0x90 or 0xB0) + (i - 1) // 16 % 4, (pad and 0x24 or 0x10) + (i - 1) % 16 }\n"
           "end\n"
           "return {\n"
           "  models = { { manufacturer = 'Bench', model = '128 Items', inputs = { 'In' }, outputs = { 'Out' },\n"
           "    items = items } },\n" +
           (handDecoded ? "  input = function(surface, port, msg)\n"
                          "    local status, data1, data2 = msg:byte(1, 3)\n"
                          "    local kind, channel = status & 0xF0, status & 0x0F\n"
                          "    if channel >= 4 then return end\n"
                          "    if kind == 0xB0 and data1 >= 0x10 and data1 < 0x20 then\n"
                          "      surface:input(channel * 16 + data1 - 0x0F, data2)\n"
                          "    elseif kind == 0x90 and data1 >= 0x24 and data1 < 0x34 then\n"
                          "      surface:input(65 + channel * 16 + data1 - 0x24, data2 == 0 and 0 or 1)\n"
                          "    end\n"
                          "  end,\n"
                        : "") +
           "  output = function(surface, port)\n"
           "    for _, name in ipairs(surface:changed()) do\n"
           "      local state, to = surface:state(name), out[name]\n"
           "      surface:send(port, midi.message(to[1], to[2], state.enabled and state.value or 0))\n"
           "    end\n"
           "  end,\n"
           "}\n";
}

std::vector<TMIDIEvent> RandomMessages()
{
    std::mt19937 random(20261122);
    std::uniform_int_distribution<int> rule(0, kKnobs * 3 - 1);
    std::uniform_int_distribution<int> data(0, 127);
    std::vector<TMIDIEvent> events(4096);
    for (TMIDIEvent& event : events)
    {
        event = TMIDIEvent{};
        event.fSize = 3;
        const int r = rule(random);
        const bool pad = r >= kKnobs;
        const int item = pad ? (r - kKnobs) / 2 : r;
        event.fData[0] = u8((pad ? 0x90 : 0xB0) + item / kPerChannel);
        event.fData[1] = u8((pad ? kFirstNote : kFirstController) + item % kPerChannel);
        event.fData[2] = pad && (r - kKnobs) % 2 == 0 ? 0 : u8(1 + data(random) % 127);
    }
    return events;
}

class CSinks : public IControlSurfaceInputHandler, public IMIDIEventGetter
{
public:
    u64 fInputs = 0;
    u64 fSent = 0;
    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput*) override
    {
        ++fInputs;
        return NSKinvarCodec::kCodecOK;
    }
    u32 IMIDIEventGetter_Take(const TMIDIEvent*, u32 count) override
    {
        fSent += count;
        return NSKinvarCodec::kCodecOK;
    }
};

TControlSurfacePtr MakeSurface(const TCodecPtr& codec)
{
    const auto infos = GetControlSurfacesForCodec(codec);
    u32 status = kCodecProgrammingError;
    TControlSurfacePtr surface(codec->ICodec2_CreateControlSurface(infos.at(0), &status), codecsurface_deleter());
    ThrowCodecResult(status);
    return surface;
}

double Seconds(std::chrono::steady_clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

// Messages per second through the surface, for about the given time.
double Decode(const TCodecPtr& codec, double seconds, const char* what)
{
    const TControlSurfacePtr surface = MakeSurface(codec);
    CSinks sinks;
    ThrowCodecResult(surface->IControlSurface_SetInputHandler(&sinks));
    const std::vector<TMIDIEvent> events = RandomMessages();
    CCodecTextGetter messages;
    u64 count = 0;
    const auto start = std::chrono::steady_clock::now();
    auto now = start;
    for (; Seconds(now - start) < seconds; now = std::chrono::steady_clock::now())
    {
        for (const TMIDIEvent& event : events)
            ThrowCodecResult(surface->IControlSurface_HandleMIDIEvent(&event, 0, messages));
        count += events.size();
    }
    ThrowCodecResult(surface->IControlSurface_SetInputHandler(nullptr));
    if (sinks.fInputs != count)
        throw std::runtime_error(std::string(what) + ": a message was not decoded");
    const double rate = double(count) / Seconds(now - start);
    std::printf("%-16s %9.0f messages/s\n", what, rate);
    return rate;
}

// Microseconds of one frame: 16 items changed, all 128 set, output asked for.
double Frame(const TCodecPtr& codec, double seconds)
{
    const TControlSurfacePtr surface = MakeSurface(codec);
    std::vector<TItemState> states(Items().size());
    CSinks sinks;
    CCodecTextGetter messages;
    u64 frames = 0;
    std::size_t next = 0;
    const auto start = std::chrono::steady_clock::now();
    auto now = start;
    for (; Seconds(now - start) < seconds; now = std::chrono::steady_clock::now(), ++frames)
    {
        for (int i = 0; i < kChangedPerFrame; ++i, next = (next + 7) % states.size())
        {
            states[next].fEnabled = 1;
            states[next].fValue = (states[next].fValue + 1) % (next < std::size_t(kKnobs) ? 128 : 2);
        }
        ThrowCodecResult(surface->IControlSurface_SetItemStates(u32(states.size()), states.data(), messages));
        ThrowCodecResult(surface->IControlSurface_GetOutputEvents(1000, 0, sinks, messages));
    }
    const double microseconds = Seconds(now - start) * 1e6 / double(frames);
    std::printf("%-16s %9.1f us a frame, 128 items, 16 changed, %.1f messages a frame\n", "frame", microseconds,
                double(sinks.fSent) / double(frames));
    return microseconds;
}

class CBenchFolder
{
public:
    CBenchFolder()
    {
        std::string pattern = (fs::temp_directory_path() / "brassfold-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        fPath = pattern;
    }
    ~CBenchFolder() { fs::remove_all(fPath); }
    fs::path Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(fPath / name) << text;
        return fPath / name;
    }

private:
    fs::path fPath;
};
} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 1.0;
    // The scan's trace lines would stand between the figures.
    SetDebugOutput([](const char*) {});
    try
    {
        const CBenchFolder folder;
        const TCodecPtr rules = LoadCodec(GetScriptHostModule(), folder.Write("Rules.luacodec", Script(false)));
        const TCodecPtr handDecoded = LoadCodec(GetScriptHostModule(), folder.Write("Input.luacodec", Script(true)));
        if (!rules || !handDecoded)
            throw std::runtime_error("LuaHost.kinvarcodec cannot be loaded");
        const TCodecPtr generic(
            NSGenericMidiCodec::CreateGenericMidiCodec({{}, {folder.Write("Bench.midicodec", Definition())}}),
            codec_deleter());
        const double rulesRate = Decode(rules, seconds, "midi rules");
        const double inputRate = Decode(handDecoded, seconds, "input function");
        const double genericRate = Decode(generic, seconds, "generic codec");
        const double frame = Frame(rules, seconds);
        std::printf("rules_per_s=%.0f input_fn_per_s=%.0f generic_per_s=%.0f frame_us=%.1f\n", rulesRate, inputRate,
                    genericRate, frame);
        return 0;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "bench_lua_codec: %s\n%s", e.what(),
                     NSTextPackage::UTF8FromText16(TakePendingLog()).c_str());
        return 1;
    }
}
