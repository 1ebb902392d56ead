#include "midi/JackWatch.h"

#include "foundation/Debugger.h"
#include "midi/Backend.h"

#include <cctype>
#include <cstdlib>
#include <jack/jack.h>
#include <mutex>
#include <thread>

namespace NSTonewell
{
namespace
{
// Set while we ask whether a server runs: libjack's complaints about the
// missing server are the expected answer, not news.
std::atomic<bool> gQuiet{false};

void ForwardError(const char* text)
{
    if (!gQuiet.load())
        WriteLine(std::string("JACK: ") + text);
}

void DropMessage(const char*) {}

// Frees a list that libjack allocated.
struct TJackFree
{
    void operator()(const char** list) const { jack_free(static_cast<void*>(list)); }
};
using TPortNames = std::unique_ptr<const char*, TJackFree>;

std::vector<std::string> ToStrings(const TPortNames& names)
{
    std::vector<std::string> result;
    for (const char** name = names.get(); name != nullptr && *name != nullptr; ++name)
        result.emplace_back(*name);
    return result;
}

std::string EscapeForPattern(const std::string& text)
{
    std::string escaped;
    for (char c : text)
    {
        if (!std::isalnum(static_cast<unsigned char>(c)))
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string ServerName()
{
    const char* name = std::getenv("JACK_DEFAULT_SERVER");
    return name != nullptr && *name != 0 ? name : "default";
}
} // namespace

void CJackWatch::RouteMessages()
{
    static std::once_flag once;
    std::call_once(once,
                   []
                   {
                       jack_set_error_function(&ForwardError);
                       jack_set_info_function(&DropMessage);
                   });
}

std::unique_ptr<CJackWatch> CJackWatch::Connect(std::string& why)
{
    RouteMessages();
    jack_status_t status{};
    gQuiet.store(true);
    jack_client_t* client = jack_client_open("Brassfold", JackNoStartServer, &status);
    gQuiet.store(false);
    if (client == nullptr)
    {
        why = (status & JackServerFailed) != 0
                  ? "no JACK server \"" + ServerName() + "\" is running"
                  : "the JACK server \"" + ServerName() + "\" refused a client (status " +
                        std::to_string(static_cast<unsigned>(status)) + ")";
        return nullptr;
    }
    std::unique_ptr<CJackWatch> watch(new CJackWatch(client));
    jack_set_process_callback(client, &CJackWatch::OnCycle, watch.get());
    jack_on_shutdown(client, &CJackWatch::OnShutdown, watch.get());
    jack_set_port_registration_callback(client, &CJackWatch::OnPortRegistration, watch.get());
    jack_set_client_registration_callback(client, &CJackWatch::OnClientRegistration, watch.get());
    if (jack_activate(client) != 0)
    {
        why = "the JACK server \"" + ServerName() + "\" refused to activate a client";
        return nullptr;
    }
    return watch;
}

CJackWatch::CJackWatch(jack_client_t* client)
    : fClient(client), fAlive(true), fGeneration(0), fCycles(0)
{
}

CJackWatch::~CJackWatch()
{
    // The JACK library crashes on closing a client whose server has ended
    // (its shared memory is gone); such a client is left as it is.
    if (IsAlive())
        jack_client_close(fClient);
}

// JACK's realtime thread: one atomic increment.
int CJackWatch::OnCycle(unsigned, void* self)
{
    static_cast<CJackWatch*>(self)->fCycles.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

void CJackWatch::OnShutdown(void* self)
{
    auto* watch = static_cast<CJackWatch*>(self);
    watch->fAlive.store(false);
    watch->fGeneration.fetch_add(1);
}

void CJackWatch::OnPortRegistration(unsigned, int, void* self)
{
    static_cast<CJackWatch*>(self)->fGeneration.fetch_add(1);
}

void CJackWatch::OnClientRegistration(const char*, int, void* self)
{
    static_cast<CJackWatch*>(self)->fGeneration.fetch_add(1);
}

bool CJackWatch::IsAlive() const noexcept
{
    return fAlive.load();
}

u64 CJackWatch::GetGeneration() const noexcept
{
    return fGeneration.load();
}

std::vector<std::string> CJackWatch::ListPorts(EDirection direction) const
{
    if (!IsAlive())
        return {};
    // An input of ours reads from a port that outputs, and the other way round.
    const unsigned long flags = direction == EDirection::kIn ? JackPortIsOutput : JackPortIsInput;
    const TPortNames names(jack_get_ports(fClient, nullptr, JACK_DEFAULT_MIDI_TYPE, flags));
    std::vector<std::string> ports = ToStrings(names);
    std::erase_if(ports, [](const std::string& name) { return IsOwnPort(name); });
    return ports;
}

bool CJackWatch::HasPort(const std::string& name) const
{
    return IsAlive() && jack_port_by_name(fClient, name.c_str()) != nullptr;
}

u64 CJackWatch::GetCycles() const noexcept
{
    return fCycles.load(std::memory_order_relaxed);
}

bool CJackWatch::WaitForCycles(u32 count, std::chrono::milliseconds timeout) const
{
    const u64 target = fCycles.load(std::memory_order_relaxed) + count;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (fCycles.load(std::memory_order_relaxed) < target)
    {
        if (!IsAlive() || std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool CJackWatch::IsConnected(const std::string& ownShortName, const std::string& other) const
{
    if (!IsAlive())
        return false;
    std::string pattern = EscapeForPattern(ownShortName);
    pattern.insert(pattern.begin(), ':');
    pattern.push_back('$');
    const std::vector<std::string> own =
        ToStrings(TPortNames(jack_get_ports(fClient, pattern.c_str(), JACK_DEFAULT_MIDI_TYPE, 0)));
    for (const std::string& name : own)
    {
        jack_port_t* port = jack_port_by_name(fClient, name.c_str());
        if (port == nullptr)
            continue;
        const TPortNames connections(jack_port_get_all_connections(fClient, port));
        for (const std::string& connected : ToStrings(connections))
            if (connected == other)
                return true;
    }
    return false;
}
} // namespace NSTonewell
