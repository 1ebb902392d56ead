// The round trip over JACK, measured by JACK's own tool: jack_midi_latency_test
// sends through a loop and reports the latency of what comes back, in frames
// from the message's place in the cycle it was sent to its place in the cycle
// it came back. A server of our own runs with the dummy driver at 256 frames
// (smaller periods make it report xruns on a loaded machine), in synchronous
// mode, so that a client that is late on a shared machine holds up the cycle
// rather than losing its MIDI, under a name that nothing else uses; the tool
// runs twice against it:
//
// - direct: a minimal plain JACK client that copies its MIDI in to its MIDI
//   out in its process callback, the peer's figure;
// - through the hub: a JACK in port of the MIDI hub whose every message the
//   hub sends out again on a JACK out port, from the port's delivery thread
//   (the out port has no other user here). The out port hands it to JACK at
//   the start of the next cycle, so its figure is that cycle's start less the
//   message's place in the cycle it was sent.
//
// Prints the tool's report of each run, then its mean latencies and what the
// hub adds; the goal is that it adds at most one period.

#include "midi/MIDIHub.h"
#include "midi/TonewellLibrary.h"

#include <jack/jack.h>
#include <jack/midiport.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace NSMIDIHub;

namespace
{
constexpr int kFrames = 256;
constexpr int kRate = 48000;
constexpr int kSamples = 300;
const char* const kServer = "brassfold-bench";

[[noreturn]] void Fail(const std::string& why)
{
    std::fprintf(stderr, "bench_jack_latency: %s\n", why.c_str());
    std::exit(2);
}

template <class Predicate> bool WaitUntil(Predicate predicate, std::chrono::milliseconds timeout = 15s)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

// jackd with the dummy driver under kServer, killed with this process.
class CServer
{
public:
    CServer()
    {
        // One bench at a time: the name is ours while the lock is.
        fLock = open((std::string("/tmp/") + kServer + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fLock < 0 || flock(fLock, LOCK_EX | LOCK_NB) != 0)
            Fail("another bench holds the server name");
        setenv("JACK_DEFAULT_SERVER", kServer, 1);
        // Until the server is up, libjack says at every try that it isn't.
        jack_set_error_function([](const char*) {});
        const std::string frames = std::to_string(kFrames);
        const std::string rate = std::to_string(kRate);
        fPid = fork();
        if (fPid == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, 1);
            dup2(null, 2);
            execlp("jackd", "jackd", "--no-realtime", "--sync", "-d", "dummy", "-r", rate.c_str(), "-p", frames.c_str(),
                   nullptr);
            _exit(127);
        }
        if (fPid < 0 || !WaitUntil([&] { return (fClient = jack_client_open("bf-bench", JackNoStartServer, nullptr)); }))
            Fail("jackd (Debian package jackd2) did not start with the dummy driver");
        // An anchor for the hub's ports, which open on a port that is listed:
        // an out port to listen to (kept empty, for JACK mixes it into ours)
        // and an in port to send to.
        fAnchorOut = jack_port_register(fClient, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_port_register(fClient, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(fClient, &CServer::Process, this);
        jack_activate(fClient);
    }

    ~CServer()
    {
        jack_client_close(fClient);
        kill(fPid, SIGTERM);
        waitpid(fPid, nullptr, 0);
        close(fLock);
    }

    // The first port whose name matches pattern, or empty.
    std::string FindPort(const std::string& pattern) const
    {
        std::string name;
        if (const char** ports = jack_get_ports(fClient, pattern.c_str(), JACK_DEFAULT_MIDI_TYPE, 0))
        {
            if (ports[0] != nullptr)
                name = ports[0];
            jack_free(static_cast<void*>(ports));
        }
        return name;
    }

private:
    static int Process(jack_nframes_t frames, void* self)
    {
        jack_midi_clear_buffer(jack_port_get_buffer(static_cast<CServer*>(self)->fAnchorOut, frames));
        return 0;
    }

    int fLock = -1;
    pid_t fPid = -1;
    jack_client_t* fClient = nullptr;
    jack_port_t* fAnchorOut = nullptr;
};

// The plain client of the direct run: copies in to out in the same cycle.
class CEcho
{
public:
    CEcho() : fClient(jack_client_open("bf-echo", JackNoStartServer, nullptr))
    {
        if (fClient == nullptr)
            Fail("the echo client was refused");
        fIn = jack_port_register(fClient, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        fOut = jack_port_register(fClient, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(fClient, &CEcho::Process, this);
        jack_activate(fClient);
    }
    ~CEcho() { jack_client_close(fClient); }

private:
    static int Process(jack_nframes_t frames, void* self)
    {
        auto* echo = static_cast<CEcho*>(self);
        void* in = jack_port_get_buffer(echo->fIn, frames);
        void* out = jack_port_get_buffer(echo->fOut, frames);
        jack_midi_clear_buffer(out);
        for (jack_nframes_t i = 0; i < jack_midi_get_event_count(in); ++i)
        {
            jack_midi_event_t event;
            if (jack_midi_event_get(&event, in, i) == 0)
                jack_midi_event_write(out, event.time, event.buffer, event.size);
        }
        return 0;
    }

    jack_client_t* fClient;
    jack_port_t* fIn = nullptr;
    jack_port_t* fOut = nullptr;
};

// The hub's relay: every message of its in port goes out on its out port, on
// the in port's delivery thread.
class CRelay final : public IMIDIReceiver
{
public:
    void Receive(const CMIDIPortSpec&, const u64* time, const TBinary& data) override { fSender->Send(time, data); }
    std::shared_ptr<IMIDISender> fSender;
};

// Runs the tool on the loop from out to in; its report, echoed, and the mean
// latency it gives in milliseconds.
double RunTool(const std::string& out, const std::string& in, const char* label)
{
    const std::string command = "jack_midi_latency_test -s " + std::to_string(kSamples) + " '" + out + "' '" + in +
                                "' 2>&1";
    std::printf("== %s: %s\n", label, command.c_str());
    std::fflush(stdout);
    FILE* tool = popen(command.c_str(), "r");
    if (tool == nullptr)
        Fail("jack_midi_latency_test (Debian package jackd2) did not run");
    std::string report;
    char line[512];
    while (std::fgets(line, sizeof line, tool) != nullptr)
        report += line;
    pclose(tool);
    std::fputs(report.c_str(), stdout);
    // "Average latency: 5.33 ms" or the like; the first figure in ms after "verage".
    std::smatch match;
    if (!std::regex_search(report, match, std::regex(R"(verage[^0-9]*([0-9.]+) *ms)")))
        Fail("no average latency in the tool's report");
    return std::stod(match[1]);
}
} // namespace

int main()
{
    CServer server;
    const double period = 1000.0 * kFrames / kRate;

    double direct = 0;
    {
        CEcho echo;
        direct = RunTool("bf-echo:in", "bf-echo:out", "direct");
    }

    NSTonewell::CTonewellLibrary library({NSTonewell::EBackend::kJACK});
    CMIDIHub hub(library);
    std::optional<CMIDIPortSpec> from;
    std::optional<CMIDIPortSpec> to;
    WaitUntil([&] {
        for (const auto& port : hub.GetInPorts())
            if (port.GetDisplayName() == u"JACK: bf-bench:out")
                from = port;
        for (const auto& port : hub.GetOutPorts())
            if (port.GetDisplayName() == u"JACK: bf-bench:in")
                to = port;
        return from && to;
    });
    if (!from || !to)
        Fail("the hub lists no anchor ports");
    CRelay relay;
    relay.fSender = hub.GetSender(*to);
    double throughHub = 0;
    {
        CMIDIInPort port(hub, *from, &relay);
        const std::string own = NSTonewell::OwnPortPrefix();
        const std::string prefix = ":" + std::regex_replace(own, std::regex(R"(\.)"), R"(\.)");
        throughHub = RunTool(server.FindPort(prefix + "in"), server.FindPort(prefix + "out"), "through the hub");
    }
    relay.fSender.reset();
    std::printf("direct_ms=%.2f through_hub_ms=%.2f added_ms=%.2f period_ms=%.2f\n", direct, throughHub,
                throughHub - direct, period);
    return 0;
}
