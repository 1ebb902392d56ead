#include "midi/PortAddress.h"

#include "midi/TonewellLibrary.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using namespace NSTonewell;

namespace
{
std::u16string DisplayNameOf(const CPortAddress& address)
{
    TTonewellPortInfo info{};
    EXPECT_EQ(kTonewellOK, address.IMIDIPortSpec_GetInfo(&info));
    return info.fDisplayName;
}

// ALSA's client and port numbers are dropped; nothing else is touched.
TEST(PortAddressTest, IdentityNames)
{
    const std::vector<std::tuple<EBackend, std::string, std::string>> cases = {
        {EBackend::kALSA, "Synth:Synth MIDI 1 24:0", "Synth:Synth MIDI 1"},
        {EBackend::kALSA, "Odd:Port 12:3 x", "Odd:Port 12:3 x"},
        {EBackend::kALSA, "A:B 24:", "A:B 24:"},
        {EBackend::kALSA, "A:B :0", "A:B :0"},
        {EBackend::kALSA, "A:B24:0", "A:B24:0"},
        {EBackend::kJACK, "synth:out 24:0", "synth:out 24:0"},
    };
    for (const auto& [backend, listed, identity] : cases)
        EXPECT_EQ(identity, IdentityName(backend, listed)) << listed;
}

// An address finds its port again after the numbers changed and other devices
// came in front of it; two identical devices are told apart by position.
TEST(PortAddressTest, AddressesFindTheirPortsAfterTheListChanged)
{
    const std::vector<CPortAddress> before =
        MakePortAddresses(EBackend::kALSA, EDirection::kIn,
                          {"Pad:Pad MIDI 1 20:0", "Pad:Pad MIDI 1 24:0", "Keys:Keys 28:0"});
    ASSERT_EQ(3u, before.size());
    EXPECT_EQ(0u, before[0].GetOccurrence());
    EXPECT_EQ(1u, before[1].GetOccurrence());
    EXPECT_FALSE(before[0].SamePortAs(before[1]));

    const std::vector<std::string> after = {"New:New 20:0", "Pad:Pad MIDI 1 32:0", "Keys:Keys 28:0",
                                            "Pad:Pad MIDI 1 36:0"};
    EXPECT_EQ(1u, FindPort(before[0], after));
    EXPECT_EQ(3u, FindPort(before[1], after));
    EXPECT_EQ(2u, FindPort(before[2], after));
    EXPECT_FALSE(FindPort(before[1], {"Pad:Pad MIDI 1 32:0"}).has_value());
}

// A second port of one name is told apart by its position. Names come from
// the system: malformed UTF-8 is shown with replacement characters, and a
// long name is cut without leaving half a pair behind.
TEST(PortAddressTest, DisplayNames)
{
    const std::vector<CPortAddress> addresses = MakePortAddresses(
        EBackend::kALSA, EDirection::kOut, {"Pad:Pad MIDI 1 20:0", "Pad:Pad MIDI 1 24:0"});
    EXPECT_EQ(std::u16string(u"ALSA: Pad:Pad MIDI 1"), DisplayNameOf(addresses[0]));
    EXPECT_EQ(std::u16string(u"ALSA: Pad:Pad MIDI 1 (2)"), DisplayNameOf(addresses[1]));
    EXPECT_EQ(std::u16string(u"JACK: bad\uFFFDname"),
              DisplayNameOf(CPortAddress(EBackend::kJACK, EDirection::kIn, "bad\xFFname", 0)));

    std::string longName(248, 'x'); // behind "JACK: ", the pair straddles the cut
    longName += "\xF0\x9F\x8E\xB9"; // U+1F3B9, a pair in UTF-16
    const std::u16string shown =
        DisplayNameOf(CPortAddress(EBackend::kJACK, EDirection::kIn, longName, 0));
    ASSERT_EQ(kPortNameLength - 2, shown.size());
    EXPECT_EQ(u'x', shown.back());
}

TEST(TonewellLibraryTest, BackendListOfTheEnvironment)
{
    const std::vector<EBackend> all = {EBackend::kALSA, EBackend::kJACK, EBackend::kLoopback};
    const std::vector<std::tuple<const char*, std::vector<EBackend>, std::vector<std::string>>>
        cases = {
            {nullptr, all, {}},
            {" ", all, {}},
            {"loopback", {EBackend::kLoopback}, {}},
            {" Loopback , ALSA", {EBackend::kALSA, EBackend::kLoopback}, {}},
            {"jack,jack", {EBackend::kJACK}, {}},
            {"coreaudio,jack,", {EBackend::kJACK}, {"coreaudio"}},
            {"nothing", {}, {"nothing"}},
        };
    for (const auto& [text, backends, expectedUnknown] : cases)
    {
        std::vector<std::string> unknown;
        EXPECT_EQ(backends, ParseBackendList(text, unknown)) << (text ? text : "(null)");
        EXPECT_EQ(expectedUnknown, unknown);
    }
}
} // namespace
