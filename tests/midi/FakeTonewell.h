#pragma once
// A MIDI library that the test drives by hand: it lists the JACK ports "x:A"
// and "x:B" each way (shown as "JACK: x:A"), counts opens and closes, and
// keeps the last input handler so that the test can call it.

#include "midi/PortAddress.h"
#include "midi/Tonewell.h"

#include <string>
#include <vector>

namespace NSMIDITesting
{
// Each port counts its end in the library's close counter.
class CFakeInPort final : public NSTonewell::IMIDIInPort
{
public:
    explicit CFakeInPort(int& closes) : fCloses(closes) {}
    ~CFakeInPort() override { ++fCloses; }

private:
    int& fCloses;
};

class CFakeOutPort final : public NSTonewell::IMIDISender
{
public:
    explicit CFakeOutPort(int& closes) : fCloses(closes) {}
    ~CFakeOutPort() override { ++fCloses; }
    u32 IMIDISender_SendShort(const NSTonewell::TTonewellShortMessage*) override { return kTonewellOK; }
    u32 IMIDISender_SendSysex(const u8*, u32) override { return kTonewellOK; }

private:
    int& fCloses;
};

class CFakeTonewell final : public NSTonewell::ITonewell
{
public:
    u32 ITonewell_SetDebugger(NSTonewell::IDebugger*) override { return kTonewellOK; }
    u32 ITonewell_SetNotificationHandler(NSTonewell::IMIDINotificationHandler*) override
    {
        return kTonewellOK;
    }
    std::unique_ptr<NSTonewell::IMIDIPortList> ITonewell_GetInPorts(u32* status) override
    {
        return List(NSTonewell::EDirection::kIn, status);
    }
    std::unique_ptr<NSTonewell::IMIDIInPort>
    ITonewell_OpenInPort(NSTonewell::IMIDIInHandler* handler, const NSTonewell::IMIDIPortSpec*, u32* status) override
    {
        *status = kTonewellOK;
        ++fInOpens;
        fHandler = handler;
        auto opened = std::make_unique<CFakeInPort>(fInCloses);
        fPort = opened.get();
        return opened;
    }
    std::unique_ptr<NSTonewell::IMIDIPortList> ITonewell_GetOutPorts(u32* status) override
    {
        return List(NSTonewell::EDirection::kOut, status);
    }
    std::unique_ptr<NSTonewell::IMIDISender>
    ITonewell_OpenOutPort(NSTonewell::IMIDIOutHandler*, const NSTonewell::IMIDIPortSpec*, u32* status) override
    {
        *status = kTonewellOK;
        ++fOutOpens;
        return std::make_unique<CFakeOutPort>(fOutCloses);
    }

    NSTonewell::IMIDIInHandler* fHandler = nullptr;
    NSTonewell::IMIDIInPort* fPort = nullptr;
    int fInOpens = 0;
    int fInCloses = 0;
    int fOutOpens = 0;
    int fOutCloses = 0;

private:
    static std::unique_ptr<NSTonewell::IMIDIPortList> List(NSTonewell::EDirection direction, u32* status)
    {
        *status = kTonewellOK;
        return std::make_unique<NSTonewell::CPortList>(
            NSTonewell::MakePortAddresses(NSTonewell::EBackend::kJACK, direction, {"x:A", "x:B"}));
    }
};
} // namespace NSMIDITesting
