// Backends that can't start list no ports and say why, once.

#include "midi/TonewellLibrary.h"

#include "MIDITestSupport.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

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
    u32 ins = 99;
    u32 outs = 99;
    EXPECT_EQ(kTonewellOK, library.ITonewell_GetInPorts(&status)->IMIDIPortList_GetCount(&ins));
    EXPECT_EQ(kTonewellOK, status);
    EXPECT_EQ(kTonewellOK, library.ITonewell_GetOutPorts(&status)->IMIDIPortList_GetCount(&outs));
    return ins + outs;
}

struct TStartCase
{
    EBackend fBackend;
    std::vector<std::string> fUnknownWords;
    u32 fPorts;
    std::string fNote;
};

// A backend that can't start lists no ports and says why on the debug channel
// once, however often it is asked; an unknown backend name is named there.
TEST(BackendStartTest, WhatCannotStartIsNamedOnTheDebugChannelOnce)
{
    const std::string server = "bf-absent-" + std::to_string(getpid());
    NSTesting::CEnvironment environment;
    environment.Set("JACK_DEFAULT_SERVER", server);
    const std::string jack = "JACK: no JACK server \"" + server + "\" is running";
    const std::string alsa = "ALSA: no sequencer device (/dev/snd/seq: No such file or directory)";
    const std::string unknown = "BRASSFOLD_MIDI: \"coreaudio\" is no backend and is left out";
    const std::vector<TStartCase> cases = {
        {EBackend::kJACK, {}, 0, jack + "; the JACK backend lists no ports"},
        {EBackend::kALSA, {}, 0, alsa + "; the ALSA backend lists no ports"},
        {EBackend::kLoopback,
         {"coreaudio"},
         4,
         unknown + " (the backends are loopback, alsa, jack)"},
    };
    for (const TStartCase& c : cases)
    {
        if (c.fBackend == EBackend::kALSA && access("/dev/snd/seq", F_OK) == 0)
            continue; // this machine has an ALSA sequencer
        CRecordingDebugger debugger;
        CTonewellLibrary library({c.fBackend}, c.fUnknownWords);
        library.ITonewell_SetDebugger(&debugger);
        EXPECT_EQ(c.fPorts, CountPorts(library));
        EXPECT_EQ(c.fPorts, CountPorts(library));
        EXPECT_EQ(std::vector<std::string>{c.fNote}, debugger.fLines);
    }
}

TEST(BackendStartTest, PortsOfAnotherLibraryAreRefused)
{
    CTonewellLibrary library({EBackend::kLoopback});
    const CPortAddress jack(EBackend::kJACK, EDirection::kIn, "x:y", 0);
    const CPortAddress cableOut(EBackend::kLoopback, EDirection::kOut, "Loopback A", 0);
    const CPortAddress noCable(EBackend::kLoopback, EDirection::kIn, "Loopback Z", 0);
    class CNoHandler final : public IMIDIInHandler
    {
        u32 IMIDIInHandler_OnShortMessage(IMIDIInPort*, const TTonewellShortMessage*) override
        {
            return kTonewellOK;
        }
        u32 IMIDIInHandler_OnSysexBegin(IMIDIInPort*) override { return kTonewellOK; }
        u32 IMIDIInHandler_OnSysexData(IMIDIInPort*, const u64*, const u8*, u32) override
        {
            return kTonewellOK;
        }
        u32 IMIDIInHandler_OnSysexEnd(IMIDIInPort*, const u64*) override { return kTonewellOK; }
        u32 IMIDIInHandler_OnSysexAbort(IMIDIInPort*) override { return kTonewellOK; }
        u32 IMIDIInHandler_OnNotification(u32) override { return kTonewellOK; }
    } handler; // never called: each opening is refused
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
