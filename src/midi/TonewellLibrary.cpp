#include "midi/TonewellLibrary.h"

#include "midi/LoopbackBackend.h"
#include "midi/RtMidiBackend.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace NSTonewell
{
namespace
{
constexpr EBackend kLibraryOrder[] = {EBackend::kALSA, EBackend::kJACK, EBackend::kLoopback};

std::string Trimmed(const std::string& word)
{
    std::string result;
    for (char c : word)
        if (!std::isspace(static_cast<unsigned char>(c)))
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

std::unique_ptr<CBackend> MakeBackend(EBackend kind, const CLibraryDebug& debug)
{
    if (kind == EBackend::kLoopback)
        return std::make_unique<CLoopbackBackend>(debug);
    return std::make_unique<CRtMidiBackend>(kind, debug);
}
} // namespace

std::vector<EBackend> ParseBackendList(const char* text, std::vector<std::string>& unknownWords)
{
    if (text == nullptr || Trimmed(text).empty())
        return {std::begin(kLibraryOrder), std::end(kLibraryOrder)};
    std::vector<EBackend> named;
    std::stringstream words(text);
    for (std::string word; std::getline(words, word, ',');)
    {
        const std::string key = Trimmed(word);
        if (key == "alsa")
            named.push_back(EBackend::kALSA);
        else if (key == "jack")
            named.push_back(EBackend::kJACK);
        else if (key == "loopback")
            named.push_back(EBackend::kLoopback);
        else if (!key.empty())
            unknownWords.push_back(word);
    }
    std::vector<EBackend> ordered;
    for (EBackend kind : kLibraryOrder)
        if (std::find(named.begin(), named.end(), kind) != named.end())
            ordered.push_back(kind);
    return ordered;
}

CTonewellLibrary::CTonewellLibrary(const std::vector<EBackend>& backends,
                                   const std::vector<std::string>& unknownWords)
    : fUnknownWords(unknownWords), fNotificationHandler(nullptr)
{
    for (EBackend kind : backends)
        fBackends.push_back(MakeBackend(kind, fDebug));
}

CTonewellLibrary::~CTonewellLibrary() = default;

u32 CTonewellLibrary::ITonewell_SetDebugger(IDebugger* debugger)
{
    fDebug.SetDebugger(debugger);
    for (const std::string& word : fUnknownWords)
        fDebug.Note("BRASSFOLD_MIDI: \"" + word +
                    "\" is no backend and is left out (the backends are loopback, alsa, jack)");
    return kTonewellOK;
}

u32 CTonewellLibrary::ITonewell_SetNotificationHandler(IMIDINotificationHandler* handler)
{
    fNotificationHandler = handler;
    return kTonewellOK;
}

std::unique_ptr<IMIDIPortList> CTonewellLibrary::GetPorts(EDirection direction, u32* status)
{
    std::unique_ptr<IMIDIPortList> list;
    *status = GuardEdge(kTonewellEdge,
                        [&]
                        {
                            std::vector<CPortAddress> addresses;
                            for (const auto& backend : fBackends)
                            {
                                std::vector<CPortAddress> more = MakePortAddresses(
                                    backend->GetKind(), direction, backend->ListPorts(direction));
                                addresses.insert(addresses.end(), more.begin(), more.end());
                            }
                            list = std::make_unique<CPortList>(std::move(addresses));
                        });
    return list;
}

std::unique_ptr<IMIDIPortList> CTonewellLibrary::ITonewell_GetInPorts(u32* status)
{
    return GetPorts(EDirection::kIn, status);
}

std::unique_ptr<IMIDIPortList> CTonewellLibrary::ITonewell_GetOutPorts(u32* status)
{
    return GetPorts(EDirection::kOut, status);
}

CBackend* CTonewellLibrary::GetBackend(EBackend kind) const
{
    for (const auto& backend : fBackends)
        if (backend->GetKind() == kind)
            return backend.get();
    return nullptr;
}

bool SetLoopbackCablePlugged(ITonewell& library, const std::string& cable, bool plugged)
{
    auto* ours = dynamic_cast<CTonewellLibrary*>(&library);
    auto* loopback =
        ours != nullptr ? dynamic_cast<CLoopbackBackend*>(ours->GetBackend(EBackend::kLoopback)) : nullptr;
    return loopback != nullptr && loopback->SetCablePlugged(cable, plugged);
}

CBackend* CTonewellLibrary::FindBackend(const IMIDIPortSpec* port, const CPortAddress*& address)
{
    address = dynamic_cast<const CPortAddress*>(port);
    return address != nullptr ? GetBackend(address->GetBackend()) : nullptr;
}

std::unique_ptr<IMIDIInPort> CTonewellLibrary::ITonewell_OpenInPort(IMIDIInHandler* handler,
                                                                    const IMIDIPortSpec* port,
                                                                    u32* status)
{
    std::unique_ptr<IMIDIInPort> opened;
    u32 result = kTonewellOK;
    *status = GuardEdge(kTonewellEdge,
                        [&]
                        {
                            const CPortAddress* address = nullptr;
                            CBackend* backend = FindBackend(port, address);
                            if (handler == nullptr || address == nullptr ||
                                address->GetDirection() != EDirection::kIn)
                                result = kTonewellInvalidArgument;
                            else if (backend == nullptr)
                                result = kTonewellPortGone;
                            else
                                opened = backend->OpenIn(*handler, *address, result);
                        });
    if (*status == kTonewellOK)
        *status = result;
    return opened;
}

std::unique_ptr<IMIDISender> CTonewellLibrary::ITonewell_OpenOutPort(IMIDIOutHandler* handler,
                                                                     const IMIDIPortSpec* port,
                                                                     u32* status)
{
    std::unique_ptr<IMIDISender> opened;
    u32 result = kTonewellOK;
    *status = GuardEdge(kTonewellEdge,
                        [&]
                        {
                            const CPortAddress* address = nullptr;
                            CBackend* backend = FindBackend(port, address);
                            if (handler == nullptr || address == nullptr ||
                                address->GetDirection() != EDirection::kOut)
                                result = kTonewellInvalidArgument;
                            else if (backend == nullptr)
                                result = kTonewellPortGone;
                            else
                                opened = backend->OpenOut(*address, result);
                        });
    if (*status == kTonewellOK)
        *status = result;
    return opened;
}
} // namespace NSTonewell

std::unique_ptr<NSTonewell::ITonewell> Tonewell_Create(const char* interfaceName, u32 reserved,
                                                       u32* status)
{
    using namespace NSTonewell;
    std::unique_ptr<ITonewell> library;
    *status = GuardEdge(kTonewellEdge,
                        [&]
                        {
                            if (interfaceName == nullptr ||
                                std::strcmp(interfaceName, "ITonewell") != 0 || reserved != 0)
                                return;
                            std::vector<std::string> unknown;
                            const std::vector<EBackend> backends =
                                ParseBackendList(std::getenv("BRASSFOLD_MIDI"), unknown);
                            library = std::make_unique<CTonewellLibrary>(backends, unknown);
                        });
    if (*status == kTonewellOK && !library)
        *status = kTonewellNoSuchInterface;
    return library;
}
