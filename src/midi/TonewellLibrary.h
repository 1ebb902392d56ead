#pragma once
// The MIDI library: ITonewell over our backends, in the order ALSA, JACK,
// loopback (hardware first; the loopback cables are the default that works
// with none).

#include "midi/Backend.h"
#include "midi/Tonewell.h"

#include <string>
#include <vector>

namespace NSTonewell
{
// The backends that BRASSFOLD_MIDI names ("loopback", "alsa", "jack", comma
// separated, blanks and case ignored), in the library's order. Null or an
// empty text means all. An unknown word is left out and reported in
// unknownWords.
std::vector<EBackend> ParseBackendList(const char* text, std::vector<std::string>& unknownWords);

class CTonewellLibrary final : public ITonewell
{
public:
    // unknownWords are said on the debug channel once it is set.
    CTonewellLibrary(const std::vector<EBackend>& backends,
                     const std::vector<std::string>& unknownWords = {});
    ~CTonewellLibrary() override;

    u32 ITonewell_SetDebugger(IDebugger* debugger) override;
    u32 ITonewell_SetNotificationHandler(IMIDINotificationHandler* handler) override;
    std::unique_ptr<IMIDIPortList> ITonewell_GetInPorts(u32* status) override;
    std::unique_ptr<IMIDIInPort>
    ITonewell_OpenInPort(IMIDIInHandler* handler, const IMIDIPortSpec* port, u32* status) override;
    std::unique_ptr<IMIDIPortList> ITonewell_GetOutPorts(u32* status) override;
    std::unique_ptr<IMIDISender> ITonewell_OpenOutPort(IMIDIOutHandler* handler,
                                                       const IMIDIPortSpec* port,
                                                       u32* status) override;

    // The backend of that kind, or null when the library runs without it.
    CBackend* GetBackend(EBackend kind) const;

private:
    std::unique_ptr<IMIDIPortList> GetPorts(EDirection direction, u32* status);
    CBackend* FindBackend(const IMIDIPortSpec* port, const CPortAddress*& address);

    CLibraryDebug fDebug;
    std::vector<std::string> fUnknownWords;
    IMIDINotificationHandler* fNotificationHandler;
    std::vector<std::unique_ptr<CBackend>> fBackends;
};
// Unplugs the loopback cable of that name, or plugs it in again, as a device
// would go and come (see CLoopbackBackend). False when library has no
// loopback backend or no such cable. The thread that opens ports.
bool SetLoopbackCablePlugged(ITonewell& library, const std::string& cable, bool plugged);
} // namespace NSTonewell
