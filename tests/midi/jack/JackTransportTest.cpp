// The hub on a real JACK server that the fixture starts for itself with the
// dummy driver, under the first free one of a few fixed names; stopped at the
// end. Skipped with a message where jackd is missing.
//
// A responder answers every message on its input port "bf-responder:in"
// with the same message on its output port "bf-responder:out".

#include "foundation/LogText.h"
#include "midi/Backend.h"
#include "midi/MIDIHub.h"
#include "midi/TonewellLibrary.h"

#include "MIDITestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace NSMIDIHub;
using namespace NSMIDITesting;

namespace
{
const char* const kResponderClient = "bf-responder";

void Silent(const char*) {}

bool JackdInstalled()
{
    return std::system("command -v jackd >/dev/null 2>&1") == 0;
}

// A jackd of our own, stopped by the destructor.
//
// JACK keeps at most 8 servers in its registry, and frees the entry of a
// server that died without cleaning up only when a server of the same name
// starts. So the names come from a small fixed set: names of their own per
// process would fill the registry after a few crashed runs and lock every
// later run out. A test process holds a lock on the name it uses, so that
// tests running side by side never share a server; and its server dies with
// it, so that no orphan keeps a name.
class CJackServer
{
public:
    // Null, with the reason in why, when no server could be started.
    static std::unique_ptr<CJackServer> Start(std::string& why)
    {
        if (!JackdInstalled())
        {
            why = "jackd is not installed (Debian package jackd2): the JACK tests are skipped";
            return nullptr;
        }
        jack_set_error_function(&Silent);
        jack_set_info_function(&Silent);
        why = "every name from brassfold-test-1 to brassfold-test-" +
              std::to_string(kServerNames) + " is in use by other test processes";
        for (int slot = 1; slot <= kServerNames; ++slot)
        {
            const std::string name = "brassfold-test-" + std::to_string(slot);
            const int lock = LockName(name);
            if (lock < 0)
                continue;
            std::unique_ptr<CJackServer> server(new CJackServer(lock));
            if (server->Launch(name, why))
                return server;
        }
        return nullptr;
    }

    ~CJackServer()
    {
        if (fLister != nullptr)
            jack_client_close(fLister);
        if (fPid > 0 && !fExited)
        {
            kill(fPid, SIGTERM);
            if (!WaitForExit(std::chrono::seconds(5)))
            {
                kill(fPid, SIGKILL);
                WaitForExit(std::chrono::seconds(5));
            }
        }
        close(fLock);
    }

    // The full names of the MIDI ports whose names match pattern.
    std::vector<std::string> Ports(const std::string& pattern) const
    {
        std::vector<std::string> names;
        if (const char** ports =
                jack_get_ports(fLister, pattern.c_str(), JACK_DEFAULT_MIDI_TYPE, 0))
        {
            for (const char** port = ports; *port != nullptr; ++port)
                names.emplace_back(*port);
            jack_free(static_cast<void*>(ports));
        }
        return names;
    }

private:
    static constexpr int kServerNames = 6;

    explicit CJackServer(int lock) : fLock(lock) {}

    // An open descriptor that holds the name, or -1 when another process has it.
    static int LockName(const std::string& name)
    {
        const std::string path = "/tmp/" + name + ".lock";
        const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd < 0 || flock(fd, LOCK_EX | LOCK_NB) == 0)
            return fd;
        close(fd);
        return -1;
    }

    bool Launch(const std::string& name, std::string& why)
    {
        setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
        // A client that misses its cycle loses that cycle's MIDI. In
        // synchronous mode the server waits for every client, up to the
        // timeout, so that slow builds (sanitizers) lose nothing.
        const char* argv[] = {"jackd", "--no-realtime", "--sync", "-t",    "5000",
                              "-d",          "dummy",         "-r",     "48000", "-p",
                              "512",         nullptr};
        fPid = fork();
        if (fPid == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, 1);
            dup2(null, 2);
            execvp("jackd", const_cast<char**>(argv));
            _exit(127);
        }
        if (fPid < 0)
        {
            why = "jackd could not be started: " + std::string(std::strerror(errno));
            return false;
        }
        if (WaitUntilReady())
            return true;
        why = "jackd did not come up with the dummy driver as " + name;
        return false;
    }

    bool WaitUntilReady()
    {
        WaitUntil(
            [&]
            {
                if (waitpid(fPid, nullptr, WNOHANG) == fPid)
                {
                    fExited = true;
                    return true;
                }
                // The first client that gets in stays, to list ports.
                fLister = jack_client_open("bf-lister", JackNoStartServer, nullptr);
                return fLister != nullptr;
            },
            std::chrono::seconds(15));
        return fLister != nullptr;
    }

    bool WaitForExit(std::chrono::seconds timeout)
    {
        return WaitUntil([&] { return waitpid(fPid, nullptr, WNOHANG) != 0; }, timeout);
    }

    int fLock;
    pid_t fPid = -1;
    bool fExited = false;
    jack_client_t* fLister = nullptr;
};

// A JACK client that answers each message on its port "in" with the same
// message on its port "out", in the same cycle. Written on JACK itself: a
// client closed whole is deactivated before its ports go, whereas closing a
// port of a running client (what RtMidi does first) races with the client's
// own threads inside the JACK library and crashed now and then.
class CResponder
{
public:
    explicit CResponder(const char* name = kResponderClient)
        : fClient(jack_client_open(name, JackNoStartServer, nullptr))
    {
        if (fClient == nullptr)
            return;
        fIn = jack_port_register(fClient, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        fOut = jack_port_register(fClient, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(fClient, &CResponder::Echo, this);
        jack_activate(fClient);
    }
    ~CResponder()
    {
        if (fClient != nullptr)
            jack_client_close(fClient);
    }
    CResponder(const CResponder&) = delete;
    CResponder& operator=(const CResponder&) = delete;

private:
    // JACK's process thread of the client.
    static int Echo(jack_nframes_t frames, void* self)
    {
        auto* responder = static_cast<CResponder*>(self);
        void* in = jack_port_get_buffer(responder->fIn, frames);
        void* out = jack_port_get_buffer(responder->fOut, frames);
        jack_midi_clear_buffer(out);
        const jack_nframes_t count = jack_midi_get_event_count(in);
        for (jack_nframes_t i = 0; i < count; ++i)
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

// Waits until the hub lists the ports of the responder client of that name;
// new ports show in the graph at the server's next cycle.
bool FindResponder(CMIDIHub& hub, const std::u16string& client, CMIDIPortSpec& from,
                   CMIDIPortSpec& to)
{
    return WaitUntil(
        [&]
        {
            from = FindPortNamed(hub.GetInPorts(), u"JACK: " + client + u":out");
            to = FindPortNamed(hub.GetOutPorts(), u"JACK: " + client + u":in");
            return !from.IsEmpty() && !to.IsEmpty();
        });
}

// True when the send fails.
bool SendFails(IMIDISender& sender, const TBinary& message)
{
    try
    {
        sender.Send(nullptr, message);
        return false;
    }
    catch (const std::exception&)
    {
        return true;
    }
}

// A hub on the JACK backend alone, and a responder whose ports it has listed;
// they go in the reverse order.
struct TRig
{
    // False when the responder's ports didn't show.
    bool Open()
    {
        fLibrary = std::make_unique<NSTonewell::CTonewellLibrary>(
            std::vector<NSTonewell::EBackend>{NSTonewell::EBackend::kJACK});
        fHub = std::make_unique<CMIDIHub>(*fLibrary);
        fResponder = std::make_unique<CResponder>();
        return FindResponder(*fHub, u"bf-responder", fFromResponder, fToResponder);
    }

    std::unique_ptr<NSTonewell::CTonewellLibrary> fLibrary;
    std::unique_ptr<CMIDIHub> fHub;
    std::unique_ptr<CResponder> fResponder;
    CMIDIPortSpec fFromResponder;
    CMIDIPortSpec fToResponder;
};

class JackTransportTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        gServer = CJackServer::Start(gWhy);
        gJackdInstalled = JackdInstalled();
        if (gServer)
            WarmUp();
    }
    static void TearDownTestSuite() { gServer.reset(); }

    // Round trips until one gets through: the first use in a process (lazy
    // binding, a sanitizer's shadow memory) can make clients miss cycles,
    // and the messages of those cycles with them.
    static void WarmUp()
    {
        TRig rig;
        if (!rig.Open())
            return;
        CRecordingReceiver receiver;
        CMIDIInPort port(*rig.fHub, rig.fFromResponder, &receiver);
        auto sender = rig.fHub->GetSender(rig.fToResponder);
        for (int i = 0; i < 20 && receiver.Count() == 0; ++i)
        {
            sender->Send(nullptr, {0xF8});
            receiver.WaitForCount(1, std::chrono::milliseconds(250));
        }
    }

    void SetUp() override
    {
        // Where jackd is installed, a server that won't start is a fault of
        // the machine that CI must show, not a reason to pass quietly.
        if (!gServer && !gJackdInstalled)
            GTEST_SKIP() << gWhy;
        ASSERT_TRUE(gServer) << gWhy;
        ASSERT_TRUE(fRig.Open());
        fHub = fRig.fHub.get();
    }

    // Our port from the responder and a sender to it, with one message sent
    // round.
    std::pair<std::unique_ptr<CMIDIInPort>, std::shared_ptr<IMIDISender>>
    OpenRoundTrip(CRecordingReceiver& receiver)
    {
        auto port = std::make_unique<CMIDIInPort>(*fHub, fRig.fFromResponder, &receiver);
        auto sender = fHub->GetSender(fRig.fToResponder);
        sender->Send(nullptr, {0x90, 0x40, 0x7F});
        return {std::move(port), std::move(sender)};
    }

    static std::unique_ptr<CJackServer> gServer;
    static std::string gWhy;
    static bool gJackdInstalled;
    TRig fRig;
    CMIDIHub* fHub = nullptr;
};

std::unique_ptr<CJackServer> JackTransportTest::gServer;
std::string JackTransportTest::gWhy;
bool JackTransportTest::gJackdInstalled = false;

// Our output port is a source like any other to JACK: it isn't listed, and a
// client that comes after it is still found where it is. A receiver that takes
// long holds up its own JACK port and no other, nor the closing of another.
TEST_F(JackTransportTest, ALaterClientIsFoundAndASlowReceiverHoldsUpNoOtherPort)
{
    struct TSlowReceiver final : public IMIDIReceiver
    {
        void Receive(const CMIDIPortSpec&, const u64*, const TBinary&) override
        {
            for (fEntered = true; !fRelease;)
                std::this_thread::sleep_for(1ms);
        }
        std::atomic<bool> fEntered{false};
        std::atomic<bool> fRelease{false};
    } slow;
    auto sender = fHub->GetSender(fRig.fToResponder);
    CResponder later("bf-responder-2");
    CMIDIPortSpec fromLater;
    CMIDIPortSpec toLater;
    ASSERT_TRUE(FindResponder(*fHub, u"bf-responder-2", fromLater, toLater));
    for (const auto& address : fHub->GetInPorts())
        EXPECT_EQ(std::u16string::npos, address.GetDisplayName().find(u":bf"))
            << address.GetDisplayName().size();
    CRecordingReceiver quick;
    CMIDIInPort slowPort(*fHub, fRig.fFromResponder, &slow);
    auto quickPort = std::make_unique<CMIDIInPort>(*fHub, fromLater, &quick);
    sender->Send(nullptr, {0x90, 0x40, 0x7F});
    EXPECT_TRUE(WaitUntil([&] { return slow.fEntered.load(); }));
    fHub->GetSender(toLater)->Send(nullptr, {0x90, 0x41, 0x7F});
    EXPECT_TRUE(quick.WaitForCount(1) && quick.At(0).fPort == fromLater);
    quickPort.reset();
    slow.fRelease = true;
}

// Two users of one port share one JACK port, also when the second comes with
// an address of a new listing; both get all that comes back. The sender
// closes at once: what it sent must still go out.
TEST_F(JackTransportTest, TwoUsersShareOneJackPortAndGetAllThatComesBack)
{
    const std::string ours = NSTonewell::OwnPortPrefix();
    const std::string pattern = ":" + ours.substr(0, ours.size() - 1) + "\\.in";
    const std::vector<TBinary> sent = {{0x90, 0x40, 0x7F}, {0xC0, 0x05}, {0xF8}, MakeSysex(1024)};
    const std::vector<TBinary> expected = {
        {0x90, 0x40, 0x7F}, {0xC0, 0x05, 0x00}, {0xF8, 0x00, 0x00}, MakeSysex(1024)};
    CRecordingReceiver first;
    CRecordingReceiver second;
    {
        CMIDIInPort a(*fHub, fRig.fFromResponder, &first);
        CMIDIInPort b(*fHub, FindPortNamed(fHub->GetInPorts(), u"JACK: bf-responder:out"), &second);
        EXPECT_EQ(1u, gServer->Ports(pattern).size());
        auto sender = fHub->GetSender(fRig.fToResponder);
        for (const TBinary& message : sent)
            sender->Send(nullptr, message);
        sender.reset();
        for (CRecordingReceiver* receiver : {&first, &second})
        {
            ASSERT_TRUE(receiver->WaitForCount(sent.size()));
            EXPECT_EQ(expected, receiver->Messages());
            EXPECT_TRUE(receiver->At(0).fPort == fRig.fFromResponder);
        }
    }
    EXPECT_TRUE(WaitUntil([&] { return gServer->Ports(pattern).empty(); }));
}

// The responder's client ends while our ports are open, as a device that is
// unplugged: sends fail, the lists no longer show its ports, a new user can't
// open them, and the watch says they have gone. When the client comes back
// under its name, the watch opens our ports anew and the round trip works again.
TEST_F(JackTransportTest, APortThatVanishesFailsAndIsOpenedAgainWhenItComesBack)
{
    CRecordingReceiver receiver;
    auto [port, sender] = OpenRoundTrip(receiver);
    ASSERT_TRUE(receiver.WaitForCount(1));
    TakePendingLog();
    std::u16string log;
    const auto watchUntil = [&](const std::u16string& line)
    {
        return WaitUntil(
            [&]
            {
                fHub->WatchPorts();
                log += TakePendingLog();
                return log.find(line) != std::u16string::npos;
            });
    };
    fRig.fResponder.reset();
    EXPECT_TRUE(WaitUntil([&sender = sender] { return SendFails(*sender, {0x90, 0x40, 0x00}); }));
    EXPECT_TRUE(FindPortNamed(fHub->GetInPorts(), u"JACK: bf-responder:out").IsEmpty());
    EXPECT_TRUE(FindPortNamed(fHub->GetOutPorts(), u"JACK: bf-responder:in").IsEmpty());
    EXPECT_TRUE(watchUntil(u"MIDI in port \"JACK: bf-responder:out\" has vanished"));
    EXPECT_TRUE(watchUntil(u"MIDI out port \"JACK: bf-responder:in\" has vanished"));
    CRecordingReceiver newUser;
    EXPECT_THROW(CMIDIInPort(*fHub, fRig.fFromResponder, &newUser), std::exception);
    fRig.fResponder = std::make_unique<CResponder>();
    EXPECT_TRUE(watchUntil(u"MIDI in port \"JACK: bf-responder:out\" is back."));
    EXPECT_TRUE(watchUntil(u"MIDI out port \"JACK: bf-responder:in\" is back"));
    sender->Send(nullptr, {0x90, 0x41, 0x7F});
    ASSERT_TRUE(receiver.WaitForCount(2));
    EXPECT_EQ((TBinary{0x90, 0x41, 0x7F}), receiver.Messages().back());
}

// A suite of its own, last in the file, with a server of its own: after a
// server has ended under clients of this process, the JACK library crashes
// on closing a client of a new server.
class JackServerEndTest : public JackTransportTest
{
};

// The server ends while we flood it with output and its input comes back to
// us: the sending thread gets errors instead of hanging in a full ring (the
// flood ends at the first send that fails), the ports close without trouble,
// and the hub lists no JACK port.
TEST_F(JackServerEndTest, TheServerThatEndsTakesItsPortsWithIt)
{
    CRecordingReceiver receiver;
    auto [port, sender] = OpenRoundTrip(receiver);
    ASSERT_TRUE(receiver.WaitForCount(1));
    std::atomic<bool> stop{false};
    std::atomic<bool> failed{false};
    std::thread flood(
        [&, &sender = sender] // clang 14 captures no structured binding by itself
        {
            while (!stop.load() && !failed.load())
                failed.store(SendFails(*sender, {0xB0, 0x01, 0x02}));
        });
    EXPECT_TRUE(receiver.WaitForCount(50));
    gServer.reset();
    EXPECT_TRUE(WaitUntil([&] { return failed.load(); }));
    stop.store(true);
    flood.join();
    fRig.fResponder.reset();
    port.reset();
    sender.reset();
    EXPECT_TRUE(fHub->GetInPorts().empty());
    EXPECT_EQ(0u, fHub->GetOpenInPortCount());
}
} // namespace
