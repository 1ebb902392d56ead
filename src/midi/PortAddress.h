#pragma once
// The port addresses and port lists of our backends.
//
// A port is known by its backend, its direction, its name and its position
// among ports of equal name. For ALSA the name leaves out the trailing client
// and port numbers ("Synth:Synth MIDI 1 24:0" is known as "Synth:Synth MIDI
// 1"): they are handed out anew when devices come and go, and an address must
// still find its port after other devices were plugged in. The position tells
// two identical devices apart.
//
// Specs are values once made; any thread may read them.

#include "midi/Tonewell.h"

#include <optional>
#include <string>
#include <vector>

namespace NSTonewell
{
enum class EBackend : u8
{
    kLoopback,
    kALSA,
    kJACK,
};

enum class EDirection : u8
{
    kIn,
    kOut,
};

// The name by which a port of that backend is compared.
std::string IdentityName(EBackend backend, const std::string& listedName);

class CPortAddress final : public IMIDIPortSpec
{
public:
    CPortAddress(EBackend backend, EDirection direction, const std::string& listedName,
              u32 occurrence);

    EBackend GetBackend() const { return fBackend; }
    EDirection GetDirection() const { return fDirection; }
    // The name as the backend listed it when the address was made.
    const std::string& GetListedName() const { return fListedName; }
    const std::string& GetIdentityName() const { return fIdentityName; }
    u32 GetOccurrence() const { return fOccurrence; }
    // UTF-8: "ALSA: ...", "JACK: ...", or the cable's name for the loopback.
    std::string GetDisplayName() const;
    bool SamePortAs(const CPortAddress& other) const;

    u32 IMIDIPortSpec_GetInfo(TTonewellPortInfo* info) const override;
    u32 IMIDIPortSpec_Equals(const IMIDIPortSpec* other, u32* result) const override;
    std::unique_ptr<IMIDIPortSpec> IMIDIPortSpec_Clone(u32* status) const override;

private:
    EBackend fBackend;
    EDirection fDirection;
    std::string fListedName;
    std::string fIdentityName;
    u32 fOccurrence;
};

// The addresses of the ports of one backend and direction, in the order listed.
std::vector<CPortAddress> MakePortAddresses(EBackend backend, EDirection direction,
                                     const std::vector<std::string>& listedNames);

// Where the port of address stands in listedNames now, if it is there at all.
std::optional<u32> FindPort(const CPortAddress& address, const std::vector<std::string>& listedNames);

class CPortList final : public IMIDIPortList
{
public:
    explicit CPortList(std::vector<CPortAddress> addresses);

    u32 IMIDIPortList_GetCount(u32* count) override;
    IMIDIPortSpec* IMIDIPortList_GetAt(const u32* index, u32* status) override;

private:
    std::vector<CPortAddress> fAddresses;
};
} // namespace NSTonewell
