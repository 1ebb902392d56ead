#include "midi/PortAddress.h"

#include "foundation/DiagnosticText.h"

#include <algorithm>
#include <cctype>

namespace NSTonewell
{
namespace
{
// Port names come from the system and are shown as they are: malformed UTF-8
// gets replacement characters rather than a failure.
void CopyName(const std::string& name, char16 (&target)[kPortNameLength])
{
    const TText16 text = Text16FromUTF8Lenient(name);
    std::size_t length = std::min(text.size(), kPortNameLength - 1);
    // A pair cut in half would leave a lone surrogate behind.
    if (length > 0 && length < text.size() && text[length - 1] >= 0xD800 &&
        text[length - 1] <= 0xDBFF)
        --length;
    std::copy_n(text.begin(), length, target);
    target[length] = 0;
}
} // namespace

// Where the run of digits that ends at end begins.
static std::size_t DigitsBefore(const std::string& text, std::size_t end)
{
    while (end > 0 && std::isdigit(static_cast<unsigned char>(text[end - 1])))
        --end;
    return end;
}

std::string IdentityName(EBackend backend, const std::string& listedName)
{
    if (backend != EBackend::kALSA)
        return listedName;
    // " <client>:<port>" at the end goes.
    const std::size_t portStart = DigitsBefore(listedName, listedName.size());
    if (portStart == listedName.size() || portStart == 0 || listedName[portStart - 1] != ':')
        return listedName;
    const std::size_t clientEnd = portStart - 1;
    const std::size_t clientStart = DigitsBefore(listedName, clientEnd);
    if (clientStart == clientEnd || clientStart == 0 || listedName[clientStart - 1] != ' ')
        return listedName;
    return listedName.substr(0, clientStart - 1);
}

CPortAddress::CPortAddress(EBackend backend, EDirection direction, const std::string& listedName,
                     u32 occurrence)
    : fBackend(backend), fDirection(direction), fListedName(listedName),
      fIdentityName(IdentityName(backend, listedName)), fOccurrence(occurrence)
{
}

std::string CPortAddress::GetDisplayName() const
{
    std::string name;
    switch (fBackend)
    {
    case EBackend::kLoopback:
        break;
    case EBackend::kALSA:
        name = "ALSA: ";
        break;
    case EBackend::kJACK:
        name = "JACK: ";
        break;
    }
    name += fIdentityName;
    if (fOccurrence > 0)
        name += " (" + std::to_string(fOccurrence + 1) + ")";
    return name;
}

bool CPortAddress::SamePortAs(const CPortAddress& other) const
{
    return fBackend == other.fBackend && fDirection == other.fDirection &&
           fOccurrence == other.fOccurrence && fIdentityName == other.fIdentityName;
}

u32 CPortAddress::IMIDIPortSpec_GetInfo(TTonewellPortInfo* info) const
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         if (info == nullptr)
                             throw std::invalid_argument("");
                         *info = TTonewellPortInfo{};
                         info->fKind =
                             fDirection == EDirection::kIn ? kPortKindInput : kPortKindOutput;
                         CopyName(fListedName, info->fName);
                         CopyName(GetDisplayName(), info->fDisplayName);
                         info->fIsLoopback = fBackend == EBackend::kLoopback ? 1 : 0;
                         info->fOccurrence = fOccurrence;
                     });
}

u32 CPortAddress::IMIDIPortSpec_Equals(const IMIDIPortSpec* other, u32* result) const
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         if (result == nullptr)
                             throw std::invalid_argument("");
                         const auto* ours = dynamic_cast<const CPortAddress*>(other);
                         *result = ours != nullptr && SamePortAs(*ours) ? 1 : 0;
                     });
}

std::unique_ptr<IMIDIPortSpec> CPortAddress::IMIDIPortSpec_Clone(u32* status) const
{
    std::unique_ptr<IMIDIPortSpec> copy;
    *status = GuardEdge(kTonewellEdge, [&] { copy = std::make_unique<CPortAddress>(*this); });
    return copy;
}

std::vector<CPortAddress> MakePortAddresses(EBackend backend, EDirection direction,
                                     const std::vector<std::string>& listedNames)
{
    std::vector<CPortAddress> addresses;
    addresses.reserve(listedNames.size());
    for (const std::string& name : listedNames)
    {
        const std::string identity = IdentityName(backend, name);
        const auto occurrence = std::count_if(addresses.begin(), addresses.end(),
                                              [&](const CPortAddress& earlier)
                                              { return earlier.GetIdentityName() == identity; });
        addresses.emplace_back(backend, direction, name, static_cast<u32>(occurrence));
    }
    return addresses;
}

std::optional<u32> FindPort(const CPortAddress& address, const std::vector<std::string>& listedNames)
{
    const std::vector<CPortAddress> now =
        MakePortAddresses(address.GetBackend(), address.GetDirection(), listedNames);
    for (u32 i = 0; i < now.size(); ++i)
        if (now[i].SamePortAs(address))
            return i;
    return std::nullopt;
}

CPortList::CPortList(std::vector<CPortAddress> addresses) : fAddresses(std::move(addresses)) {}

u32 CPortList::IMIDIPortList_GetCount(u32* count)
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         if (count == nullptr)
                             throw std::invalid_argument("");
                         *count = static_cast<u32>(fAddresses.size());
                     });
}

IMIDIPortSpec* CPortList::IMIDIPortList_GetAt(const u32* index, u32* status)
{
    IMIDIPortSpec* address = nullptr;
    *status = GuardEdge(kTonewellEdge,
                        [&]
                        {
                            if (index == nullptr || *index >= fAddresses.size())
                                throw std::invalid_argument("");
                            address = &fAddresses[*index];
                        });
    return address;
}
} // namespace NSTonewell
