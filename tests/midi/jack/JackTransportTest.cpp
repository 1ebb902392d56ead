// The hub on a real JACK server that the fixture starts for itself, under a
// private name, with the dummy driver; stopped at the end. Skipped with a
// message where jackd is missing.
//
// A responder made with RtMidi answers every message on its input port
// "bf-responder:in" with the same message on its output port "bf-echo:out".

#include "midi/Backend.h"
#include "midi/MIDIHub.h"
#include "midi/TonewellLibrary.h"

#include "MIDITestSupport.h"

#include <RtMidi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <jack/jack.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace NSMIDIHub;
using namespace NSMIDITesting;

namespace
{
// Every RtMidi object is a JACK client; two of one name would be renamed.
const char* const kResponderInClient = "bf-responder";
const char* const kResponderOutClient = "bf-echo";

void Silent(const char*) {}

std::string FindOnPath(const std::string& program)
{
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "/usr/bin:/bin";
    std::size_t start = 0;
    while (start <= folders.size())
    {
        const std::size_t end = std::min(folders.find(':', start), folders.size());
        const std::filesystem::path candidate =
            std::filesystem::path(folders.substr(start, end - start)) / program;
        if (access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return {};
}

// A jackd of our own, stopped by the destructor.
class CJackServer
{
public:
    // Null, with the reason in why, when no server could be started.
    static std::unique_ptr<CJackServer> Start(std::string& why)
    {
        const std::string jackd = FindOnPath("jackd");
        if (jackd.empty())
        {
            why = "jackd is not installed (Debian package jackd2): the JACK tests are skipped";
            return nullptr;
        }
        const std::string name = "bf-test-" + std::to_string(getpid());
        setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
        jack_set_error_function(&Silent);
        jack_set_info_function(&Silent);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        // A client that misses its cycle loses that cycle's MIDI. In
        // synchronous mode the server waits for every client, up to the
        // timeout, so that slow builds (sanitizers) lose nothing.
        const char* argv[] = {jackd.c_str(), "--no-realtime", "--sync", "-t",    "5000",
                              "-d",          "dummy",         "-r",     "48000", "-p",
                              "512",         nullptr};
        pid_t pid = 0;
        const int failed =
            posix_spawn(&pid, jackd.c_str(), &actions, nullptr, const_cast<char**>(argv), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failed != 0)
        {
            why = "jackd could not be started: " + std::string(std::strerror(failed));
            return nullptr;
        }
        std::unique_ptr<CJackServer> server(new CJackServer(pid));
        if (!server->WaitUntilReady(why))
            return nullptr;
        return server;
    }

    ~CJackServer()
    {
        if (fLister != nullptr)
            jack_client_close(fLister);
        kill(fPid, SIGTERM);
        if (!WaitForExit(std::chrono::seconds(5)))
        {
            kill(fPid, SIGKILL);
            WaitForExit(std::chrono::seconds(5));
        }
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
    explicit CJackServer(pid_t pid) : fPid(pid) {}

    bool WaitUntilReady(std::string& why)
    {
        const bool ready = WaitUntil(
            [&]
            {
                int status = 0;
                if (waitpid(fPid, &status, WNOHANG) == fPid)
                    return true;
                // The first client that gets in stays, to list ports.
                fLister = jack_client_open("bf-lister", JackNoStartServer, nullptr);
                if (fLister == nullptr)
                    return false;
                fReady = true;
                return true;
            },
            std::chrono::seconds(15));
        if (!ready || !fReady)
            why = "jackd did not come up with the dummy driver";
        return ready && fReady;
    }

    bool WaitForExit(std::chrono::seconds timeout)
    {
        return WaitUntil([&] { return waitpid(fPid, nullptr, WNOHANG) != 0; }, timeout);
    }

    pid_t fPid;
    bool fReady = false;
    jack_client_t* fLister = nullptr;
};

// Answers each message on "in" with the same on "out".
class CResponder
{
public:
    explicit CResponder(const char* inClient = kResponderInClient,
                        const char* outClient = kResponderOutClient)
        : fOut(RtMidi::UNIX_JACK, outClient), fIn(RtMidi::UNIX_JACK, inClient)
    {
        fOut.openVirtualPort("out");
        fIn.ignoreTypes(false, false, false);
        fIn.setCallback(&CResponder::Echo, this);
        fIn.openVirtualPort("in");
        fReady.store(true);
    }

private:
    // JACK's realtime thread of the input client.
    static void Echo(double, std::vector<unsigned char>* message, void* self)
    {
        auto* responder = static_cast<CResponder*>(self);
        if (responder->fReady.load())
            responder->fOut.sendMessage(message);
    }

    // The output goes last, after the input's callbacks have ended.
    RtMidiOut fOut;
    RtMidiIn fIn;
    std::atomic<bool> fReady{false};
};

// A hub on the JACK backend alone, and a responder whose ports it has listed.
struct TRig
{
    // False when the responder's ports didn't show.
    bool Open()
    {
        fLibrary = std::make_unique<NSTonewell::CTonewellLibrary>(
            std::vector<NSTonewell::EBackend>{NSTonewell::EBackend::kJACK});
        fHub = std::make_unique<CMIDIHub>(*fLibrary);
        fResponder = std::make_unique<CResponder>();
        // New ports show in the graph at the server's next cycle.
        return WaitUntil(
            [&]
            {
                fFromResponder = FindPortNamed(fHub->GetInPorts(), u"JACK: bf-echo:out");
                fToResponder = FindPortNamed(fHub->GetOutPorts(), u"JACK: bf-responder:in");
                return !fFromResponder.IsEmpty() && !fToResponder.IsEmpty();
            });
    }

    ~TRig()
    {
        fResponder.reset();
        fHub.reset();
        fLibrary.reset();
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
        if (!gServer)
            GTEST_SKIP() << gWhy;
        ASSERT_TRUE(fRig.Open());
        fHub = fRig.fHub.get();
        fFromResponder = fRig.fFromResponder;
        fToResponder = fRig.fToResponder;
    }

    static std::unique_ptr<CJackServer> gServer;
    static std::string gWhy;
    TRig fRig;
    CMIDIHub* fHub = nullptr;
    CMIDIPortSpec fFromResponder;
    CMIDIPortSpec fToResponder;
};

std::unique_ptr<CJackServer> JackTransportTest::gServer;
std::string JackTransportTest::gWhy;

// Our output port is a source like any other to JACK. It isn't listed, and a
// port that came after it is still found where it is.
TEST_F(JackTransportTest, OurOwnPortsStayOutOfTheWay)
{
    auto sender = fHub->GetSender(fToResponder);
    CResponder later("bf-responder-2", "bf-echo-2");
    CMIDIPortSpec fromLater;
    CMIDIPortSpec toLater;
    ASSERT_TRUE(WaitUntil(
        [&]
        {
            fromLater = FindPortNamed(fHub->GetInPorts(), u"JACK: bf-echo-2:out");
            toLater = FindPortNamed(fHub->GetOutPorts(), u"JACK: bf-responder-2:in");
            return !fromLater.IsEmpty() && !toLater.IsEmpty();
        }));
    for (const auto& spec : fHub->GetInPorts())
        EXPECT_EQ(std::u16string::npos, spec.GetDisplayName().find(u":bf"))
            << spec.GetDisplayName().size();
    CRecordingReceiver receiver;
    CMIDIInPort port(*fHub, fromLater, &receiver);
    fHub->GetSender(toLater)->Send(nullptr, {0x90, 0x40, 0x7F});
    ASSERT_TRUE(receiver.WaitForCount(1));
    EXPECT_TRUE(receiver.Ports()[0] == fromLater);
}

TEST_F(JackTransportTest, WhatIsSentComesBack)
{
    CRecordingReceiver receiver;
    CMIDIInPort port(*fHub, fFromResponder, &receiver);
    auto sender = fHub->GetSender(fToResponder);
    sender->Send(nullptr, {0x90, 0x40, 0x7F});
    sender->Send(nullptr, {0xC0, 0x05});
    sender->Send(nullptr, {0xF8});
    sender->Send(nullptr, MakeSysex(1024));
    ASSERT_TRUE(receiver.WaitForCount(4));
    const std::vector<TBinary> expected = {
        {0x90, 0x40, 0x7F}, {0xC0, 0x05, 0x00}, {0xF8, 0x00, 0x00}, MakeSysex(1024)};
    EXPECT_EQ(expected, receiver.Messages());
    EXPECT_TRUE(receiver.Ports()[0] == fFromResponder);
}

TEST_F(JackTransportTest, TwoUsersShareOneJackPort)
{
    const std::string ours = NSTonewell::OwnPortPrefix();
    std::string pattern = ours.substr(0, ours.size() - 1);
    pattern.insert(0, 1, ':');
    pattern += "\\.in";
    CRecordingReceiver first;
    CRecordingReceiver second;
    {
        CMIDIInPort a(*fHub, fFromResponder, &first);
        // A spec of a new listing finds the same open port.
        CMIDIInPort b(*fHub, FindPortNamed(fHub->GetInPorts(), u"JACK: bf-echo:out"), &second);
        EXPECT_EQ(1u, gServer->Ports(pattern).size());
        // The sender closes at once: what it sent must still go out.
        fHub->GetSender(fToResponder)->Send(nullptr, {0xB0, 0x07, 0x40});
        EXPECT_TRUE(first.WaitForCount(1));
        EXPECT_TRUE(second.WaitForCount(1));
    }
    EXPECT_TRUE(WaitUntil([&] { return gServer->Ports(pattern).empty(); }));
}

// The responder's client ends while our ports are open: sends fail, the
// lists no longer show its ports, and our ports close without trouble.
TEST_F(JackTransportTest, APortThatVanishesFailsItsSends)
{
    CRecordingReceiver receiver;
    auto port = std::make_unique<CMIDIInPort>(*fHub, fFromResponder, &receiver);
    auto sender = fHub->GetSender(fToResponder);
    sender->Send(nullptr, {0x90, 0x40, 0x7F});
    ASSERT_TRUE(receiver.WaitForCount(1));

    fRig.fResponder.reset();
    EXPECT_TRUE(WaitUntil(
        [&]
        {
            try
            {
                sender->Send(nullptr, {0x90, 0x40, 0x00});
                return false;
            }
            catch (const std::exception&)
            {
                return true;
            }
        }));
    EXPECT_TRUE(FindPortNamed(fHub->GetInPorts(), u"JACK: bf-echo:out").IsEmpty());
    EXPECT_TRUE(FindPortNamed(fHub->GetOutPorts(), u"JACK: bf-responder:in").IsEmpty());
    port.reset();
    sender.reset();
    EXPECT_THROW(CMIDIInPort(*fHub, fFromResponder, &receiver), std::exception);
    EXPECT_EQ(0u, fHub->GetOpenInPortCount());
}
} // namespace
