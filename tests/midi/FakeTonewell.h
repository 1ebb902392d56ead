#pragma once
// A MIDI library that the test drives by hand: it lists the ports it is told,
// counts opens and closes, keeps the last input handler so that the test can
// call it, records what is sent, and fails to open when told to.

#include "midi/PortAddress.h"
#include "midi/Tonewell.h"

#include <set>
#include <string>
#include <vector>

namespace NSMIDITesting
{
class CFakeInPort final : public NSTonewell::IMIDIInPort
{
public:
    explicit CFakeInPort(int& closes) : fCloses(closes) {}
    ~CFakeInPort() override { ++fCloses; }

private:
    int& fCloses;
};

struct TSent
{
    std::vector<u8> fBytes;
    u64 fTime;
    std::string fPort;
};

class CFakeOutPort final : public NSTonewell::IMIDISender
{
public:
    CFakeOutPort(std::string name, std::vector<TSent>& sent, int& closes)
        : fName(std::move(name)), fSent(sent), fCloses(closes)
    {
    }
    ~CFakeOutPort() override { ++fCloses; }

    u32 IMIDISender_SendShort(const NSTonewell::TTonewellShortMessage* message) override
    {
        fSent.push_back({{message->fBytes, message->fBytes + 3}, message->fTime, fName});
        return kTonewellOK;
    }
    u32 IMIDISender_SendSysex(const u8* bytes, u32 size) override
    {
        if (bytes[size - 1] != 0xF7)
            return NSTonewell::kTonewellInvalidArgument;
        fSent.push_back({{bytes, bytes + size}, 0, fName});
        return kTonewellOK;
    }

private:
    std::string fName;
    std::vector<TSent>& fSent;
    int& fCloses;
};

// Its ports are JACK ports of the names given, "x:A" and "x:B" unless told
// otherwise; the display names read "JACK: x:A".
class CFakeTonewell final : public NSTonewell::ITonewell
{
public:
    using EDirection = NSTonewell::EDirection;

    u32 ITonewell_SetDebugger(NSTonewell::IDebugger*) override { return kTonewellOK; }
    u32 ITonewell_SetNotificationHandler(NSTonewell::IMIDINotificationHandler* handler) override
    {
        fNotificationHandler = handler;
        return kTonewellOK;
    }
    std::unique_ptr<NSTonewell::IMIDIPortList> ITonewell_GetInPorts(u32* status) override
    {
        return List(EDirection::kIn, fInNames, status);
    }
    std::unique_ptr<NSTonewell::IMIDIInPort>
    ITonewell_OpenInPort(NSTonewell::IMIDIInHandler* handler, const NSTonewell::IMIDIPortSpec* port,
                         u32* status) override
    {
        if ((*status = StatusFor(port)) != kTonewellOK)
            return nullptr;
        ++fInOpens;
        fHandler = handler;
        auto opened = std::make_unique<CFakeInPort>(fInCloses);
        fPort = opened.get();
        return opened;
    }
    std::unique_ptr<NSTonewell::IMIDIPortList> ITonewell_GetOutPorts(u32* status) override
    {
        return List(EDirection::kOut, fOutNames, status);
    }
    std::unique_ptr<NSTonewell::IMIDISender>
    ITonewell_OpenOutPort(NSTonewell::IMIDIOutHandler*, const NSTonewell::IMIDIPortSpec* port,
                          u32* status) override
    {
        if ((*status = StatusFor(port)) != kTonewellOK)
            return nullptr;
        ++fOutOpens;
        return std::make_unique<CFakeOutPort>(NameOf(port), fSent, fOutCloses);
    }

    std::vector<std::string> fInNames{"x:A", "x:B"};
    std::vector<std::string> fOutNames{"x:A", "x:B"};
    // Opening any port fails with this, and ports of these names always fail.
    u32 fOpenStatus = kTonewellOK;
    std::set<std::string> fFailingNames;

    NSTonewell::IMIDINotificationHandler* fNotificationHandler = nullptr;
    NSTonewell::IMIDIInHandler* fHandler = nullptr;
    NSTonewell::IMIDIInPort* fPort = nullptr;
    int fInOpens = 0;
    int fInCloses = 0;
    int fOutOpens = 0;
    int fOutCloses = 0;
    std::vector<TSent> fSent;

private:
    static std::unique_ptr<NSTonewell::IMIDIPortList>
    List(EDirection direction, const std::vector<std::string>& names, u32* status)
    {
        *status = kTonewellOK;
        return std::make_unique<NSTonewell::CPortList>(
            NSTonewell::MakePortAddresses(NSTonewell::EBackend::kJACK, direction, names));
    }

    static std::string NameOf(const NSTonewell::IMIDIPortSpec* port)
    {
        const auto* address = dynamic_cast<const NSTonewell::CPortAddress*>(port);
        return address != nullptr ? address->GetListedName() : std::string();
    }

    u32 StatusFor(const NSTonewell::IMIDIPortSpec* port) const
    {
        return fFailingNames.count(NameOf(port)) != 0 ? NSTonewell::kTonewellOpenFailed
                                                      : fOpenStatus;
    }
};
} // namespace NSMIDITesting
