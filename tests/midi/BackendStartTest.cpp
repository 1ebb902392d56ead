// Backends that can't start list no ports and say why, once.

#include "midi/TonewellLibrary.h"

#include "MIDITestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

using namespace NSTonewell;

namespace
{
class CRecordingDebugger final : public IDebugger
{
public:
    void IDebugger_Assert(const char*, u32, const char*) override {}
    void IDebugger_Trace(const char* text) override { fLines.emplace_back(text); }
    void IDebugger_Indent() override {}
    void IDebugger_Outdent() override {}
    std::vector<std::string> fLines;
};

u32 CountPorts(ITonewell& library)
{
    u32 status = 0;
    u32 count = 99;
    auto ins = library.ITonewell_GetInPorts(&status);
    EXPECT_EQ(kTonewellOK, status);
    EXPECT_EQ(kTonewellOK, ins->IMIDIPortList_GetCount(&count));
    auto outs = library.ITonewell_GetOutPorts(&status);
    u32 more = 99;
    EXPECT_EQ(kTonewellOK, outs->IMIDIPortList_GetCount(&more));
    return count + more;
}

// Sets an environment variable for the life of the object.
class CEnvironment
{
public:
    CEnvironment(const char* name, const std::string& value) : fName(name)
    {
        if (const char* old = std::getenv(name))
            fOld = old;
        setenv(name, value.c_str(), 1);
    }
    ~CEnvironment()
    {
        if (fOld)
            setenv(fName, fOld->c_str(), 1);
        else
            unsetenv(fName);
    }

private:
    const char* fName;
    std::optional<std::string> fOld;
};

TEST(BackendStartTest, NoJackServerMeansNoPortsAndOneNote)
{
    CEnvironment server("JACK_DEFAULT_SERVER", "bf-absent-" + std::to_string(getpid()));
    CRecordingDebugger debugger;
    CTonewellLibrary library({EBackend::kJACK});
    library.ITonewell_SetDebugger(&debugger);
    EXPECT_EQ(0u, CountPorts(library));
    EXPECT_EQ(0u, CountPorts(library));
    ASSERT_EQ(1u, debugger.fLines.size());
    EXPECT_NE(std::string::npos, debugger.fLines[0].find("JACK: no JACK server \"bf-absent-"))
        << debugger.fLines[0];
    EXPECT_NE(std::string::npos, debugger.fLines[0].find("lists no ports"));
}

TEST(BackendStartTest, NoSequencerDeviceMeansNoPortsAndOneNote)
{
    if (access("/dev/snd/seq", F_OK) == 0)
        GTEST_SKIP() << "this machine has an ALSA sequencer";
    CRecordingDebugger debugger;
    CTonewellLibrary library({EBackend::kALSA});
    library.ITonewell_SetDebugger(&debugger);
    EXPECT_EQ(0u, CountPorts(library));
    EXPECT_EQ(0u, CountPorts(library));
    ASSERT_EQ(1u, debugger.fLines.size());
    EXPECT_EQ("ALSA: no sequencer device (/dev/snd/seq: No such file or directory); the ALSA "
              "backend lists no ports",
              debugger.fLines[0]);
}

TEST(BackendStartTest, UnknownBackendsAreNamedOnTheDebugChannel)
{
    CRecordingDebugger debugger;
    CTonewellLibrary library({EBackend::kLoopback}, {"coreaudio"});
    library.ITonewell_SetDebugger(&debugger);
    ASSERT_EQ(1u, debugger.fLines.size());
    EXPECT_NE(std::string::npos, debugger.fLines[0].find("\"coreaudio\" is no backend"));
    EXPECT_EQ(4u, CountPorts(library));
}

TEST(BackendStartTest, PortsOfAnotherLibraryAreRefused)
{
    CTonewellLibrary library({EBackend::kLoopback});
    const CPortAddress jack(EBackend::kJACK, EDirection::kIn, "x:y", 0);
    const CPortAddress cableOut(EBackend::kLoopback, EDirection::kOut, "Loopback A", 0);
    const CPortAddress noCable(EBackend::kLoopback, EDirection::kIn, "Loopback Z", 0);
    NSMIDITesting::CCallbackLog handler;
    const std::vector<std::pair<const IMIDIPortSpec*, u32>> cases = {
        {nullptr, kTonewellInvalidArgument},
        {&cableOut, kTonewellInvalidArgument},
        {&jack, kTonewellPortGone},
        {&noCable, kTonewellPortGone},
    };
    for (const auto& [address, expected] : cases)
    {
        u32 status = 0;
        EXPECT_EQ(nullptr, library.ITonewell_OpenInPort(&handler, address, &status));
        EXPECT_EQ(expected, status);
    }
}
} // namespace
