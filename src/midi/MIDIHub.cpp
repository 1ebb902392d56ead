#include "midi/MIDIHub.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "midi/MIDIBytes.h"
#include "midi/TonewellSupport.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace NSMIDIHub
{
using namespace NSTonewell;

namespace
{
// The program's texts of the log lines about ports that come and go.
constexpr u32 kInPortVanishedText = 40;
constexpr u32 kOutPortVanishedText = 41;
constexpr u32 kInPortBackText = 42;
constexpr u32 kOutPortBackText = 43;
constexpr u32 kOutPortBackLostText = 44;

// What the library's IsAlive of a port answers.
template <class TPort, class TAsk> bool AskAlive(TPort& port, TAsk ask)
{
    u32 alive = 1;
    ThrowTonewellResult((port.*ask)(&alive));
    return alive != 0;
}

// Each open port of ports that no longer reaches its device vanishes; each
// vanished one that listing holds opens anew. listing is read at most once.
template <class TOpenPort, class TList>
void WatchOpenPorts(const std::vector<std::shared_ptr<TOpenPort>>& ports, TList list)
{
    std::optional<std::vector<CMIDIPortSpec>> listing;
    // A copy, so that the walk stays safe whatever a port's change sets off.
    const std::vector<std::shared_ptr<TOpenPort>> open = ports;
    for (const auto& port : open)
    {
        if (port->IsPresent())
        {
            if (port->IsAlive())
                continue;
            port->Vanish();
        }
        if (!listing)
            listing = list();
        if (std::find(listing->begin(), listing->end(), port->GetSpec()) != listing->end())
            port->Reopen();
    }
}

// A new user of a vanished port has it opened anew, or fails as a first
// opening fails.
template <class TOpenPort> void ReopenForNewUser(TOpenPort& open)
{
    if (!open.IsPresent() && !open.Reopen())
        ThrowTonewellResult(kTonewellPortGone);
}
} // namespace

// ---- CMIDIPortSpec

CMIDIPortSpec::CMIDIPortSpec(const IMIDIPortSpec& address)
{
    u32 status = kTonewellOK;
    fSpec = address.IMIDIPortSpec_Clone(&status);
    ThrowTonewellResult(status);
}

CMIDIPortSpec::CMIDIPortSpec(const CMIDIPortSpec& other)
{
    if (other.fSpec)
        *this = CMIDIPortSpec(*other.fSpec);
}

CMIDIPortSpec& CMIDIPortSpec::operator=(const CMIDIPortSpec& other)
{
    if (this != &other)
    {
        CMIDIPortSpec copy(other);
        fSpec = std::move(copy.fSpec);
    }
    return *this;
}

bool CMIDIPortSpec::operator==(const CMIDIPortSpec& other) const
{
    if (!fSpec || !other.fSpec)
        return !fSpec && !other.fSpec;
    u32 equal = 0;
    ThrowTonewellResult(fSpec->IMIDIPortSpec_Equals(other.fSpec.get(), &equal));
    return equal != 0;
}

TText16 CMIDIPortSpec::GetDisplayName() const
{
    if (!fSpec)
        return {};
    TTonewellPortInfo info{};
    ThrowTonewellResult(fSpec->IMIDIPortSpec_GetInfo(&info));
    const std::size_t length =
        std::find(std::begin(info.fDisplayName), std::end(info.fDisplayName), 0) -
        std::begin(info.fDisplayName);
    return TText16(info.fDisplayName, length);
}

// ---- CMIDIInPort

CMIDIInPort::CMIDIInPort(const CMIDIPortSpec& address, IMIDIReceiver* receiver)
    : CMIDIInPort(GetMIDIHub(), address, receiver)
{
}

CMIDIInPort::CMIDIInPort(CMIDIHub& hub, const CMIDIPortSpec& address, IMIDIReceiver* receiver)
    : fSpec(address), fReceiver(receiver), fHub(hub)
{
    fHub.Listen(fReceiver, *this);
}

CMIDIInPort::~CMIDIInPort()
{
    try
    {
        fHub.StopListening(fReceiver, *this);
    }
    catch (...)
    {
        // Reported where it was found; a destructor can do no more.
    }
}

// ---- COpenInPort

COpenInPort::COpenInPort(CMIDIHub& hub, const CMIDIPortSpec& address) : fSpec(address), fHub(&hub)
{
    // Held while the port opens: the first callbacks find it busy and the
    // object complete.
    std::lock_guard lock(fLock);
    u32 status = kTonewellOK;
    fPort = hub.GetLibrary().ITonewell_OpenInPort(this, fSpec.GetLibraryAddress(), &status);
    ThrowTonewellResult(status);
}

COpenInPort::~COpenInPort()
{
    // A callback that comes while the library port closes finds the lock
    // busy and returns; once the port is gone none comes.
    std::lock_guard lock(fLock);
    fPort.reset();
}

bool COpenInPort::HasReceiver(IMIDIReceiver* receiver) const
{
    // Changed on this thread alone, so it is read without the lock.
    return std::find(fReceivers.begin(), fReceivers.end(), receiver) != fReceivers.end();
}

void COpenInPort::AddReceiver(IMIDIReceiver* receiver)
{
    std::lock_guard lock(fLock);
    const bool listening = HasReceiver(receiver);
    BF_ASSERT(!listening);
    if (!listening)
        fReceivers.push_back(receiver);
}

void COpenInPort::RemoveReceiver(IMIDIReceiver* receiver)
{
    if (!HasReceiver(receiver))
    {
        BF_ASSERT(false);
        BF_THROW_SITE();
        throw NSException::XNotFound();
    }
    bool last = false;
    {
        std::lock_guard lock(fLock);
        std::erase(fReceivers, receiver);
        last = fReceivers.empty();
    }
    if (last)
        fHub->RemoveOpenInPort(this);
}

bool COpenInPort::IsAlive() const
{
    return AskAlive(*fPort, &NSTonewell::IMIDIInPort::IMIDIInPort_IsAlive);
}

void COpenInPort::Vanish()
{
    {
        // As in the destructor: a callback that comes meanwhile finds the
        // lock busy.
        std::lock_guard lock(fLock);
        fPort.reset();
    }
    AddLineToLog(kInPortVanishedText, {fSpec.GetDisplayName()});
}

bool COpenInPort::Reopen()
{
    u32 status = kTonewellOK;
    {
        std::lock_guard lock(fLock);
        fPort = fHub->GetLibrary().ITonewell_OpenInPort(this, fSpec.GetLibraryAddress(), &status);
        if (status != kTonewellOK)
            fPort.reset();
    }
    if (fPort)
        AddLineToLog(kInPortBackText, {fSpec.GetDisplayName()});
    return fPort != nullptr;
}

void COpenInPort::Deliver(const u64* time, const TBinary& data)
{
    // A receiver's failure is its own: the others get the message all the
    // same, and the first failure goes to the edge afterwards.
    std::exception_ptr failure;
    for (IMIDIReceiver* receiver : fReceivers)
    {
        try
        {
            receiver->Receive(fSpec, time, data);
        }
        catch (...)
        {
            if (!failure)
                failure = std::current_exception();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
}

u32 COpenInPort::IMIDIInHandler_OnShortMessage(IMIDIInPort* port,
                                               const TTonewellShortMessage* message)
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         if (message->fBytes[0] == kActiveSensing)
                             return;
                         std::unique_lock lock(fLock, std::try_to_lock);
                         if (!lock)
                             return;
                         BF_ASSERT(port == fPort.get());
                         const TBinary data(message->fBytes, message->fBytes + 3);
                         Deliver(&message->fTime, data);
                     });
}

u32 COpenInPort::IMIDIInHandler_OnSysexBegin(IMIDIInPort*)
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         const bool leftover = fSysexBroken;
                         std::unique_lock lock(fLock, std::try_to_lock);
                         fSysexBroken = !lock;
                         if (!lock)
                             return;
                         if (leftover)
                             fSysex.clear();
                         BF_ASSERT(fSysex.empty());
                         fSysex.assign(1, kSysexBegin);
                     });
}

u32 COpenInPort::IMIDIInHandler_OnSysexData(IMIDIInPort*, const u64*, const u8* bytes, u32 size)
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         if (fSysexBroken)
                             return;
                         std::unique_lock lock(fLock, std::try_to_lock);
                         fSysexBroken = !lock;
                         if (!lock)
                             return;
                         BF_ASSERT(!fSysex.empty());
                         if (size != 0)
                             fSysex.insert(fSysex.end(), bytes, bytes + size);
                     });
}

u32 COpenInPort::IMIDIInHandler_OnSysexEnd(IMIDIInPort*, const u64* time)
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         std::unique_lock lock(fLock, std::try_to_lock);
                         if (!lock)
                         {
                             fSysexBroken = true;
                             return;
                         }
                         if (std::exchange(fSysexBroken, false))
                         {
                             fSysex.clear();
                             return;
                         }
                         BF_ASSERT(!fSysex.empty());
                         // Emptied before the receivers run, so that one that
                         // throws leaves no half message behind.
                         TBinary message;
                         message.swap(fSysex);
                         message.push_back(kSysexEnd);
                         Deliver(time, message);
                     });
}

u32 COpenInPort::IMIDIInHandler_OnSysexAbort(IMIDIInPort*)
{
    return GuardEdge(kTonewellEdge,
                     [&]
                     {
                         std::unique_lock lock(fLock, std::try_to_lock);
                         fSysexBroken = !lock;
                         if (lock)
                             fSysex.clear();
                     });
}

u32 COpenInPort::IMIDIInHandler_OnNotification(u32)
{
    return kTonewellOK;
}

// ---- COpenOutPort and CSender

COpenOutPort::COpenOutPort(CMIDIHub& hub, const CMIDIPortSpec& address) : fSpec(address), fHub(&hub)
{
    u32 status = kTonewellOK;
    fPort = hub.GetLibrary().ITonewell_OpenOutPort(this, fSpec.GetLibraryAddress(), &status);
    ThrowTonewellResult(status);
}

std::shared_ptr<IMIDISender> COpenOutPort::NewSender()
{
    auto sender = std::make_shared<CSender>(this);
    fSenders.push_back(sender.get());
    return sender;
}

void COpenOutPort::RemoveSender(IMIDISender* sender)
{
    const auto found = std::find(fSenders.begin(), fSenders.end(), sender);
    if (found == fSenders.end())
    {
        BF_TRACE("COpenOutPort::RemoveSender: the sender is not one of this port's");
        BF_THROW_SITE();
        throw NSException::XNotFound();
    }
    fSenders.erase(found);
    if (fSenders.empty())
        fHub->RemoveOpenOutPort(this);
}

void COpenOutPort::Send(const u64* time, const TBinary& data)
{
    if (!fPort)
    {
        ++fLostSends;
        ThrowTonewellResult(kTonewellPortGone);
    }
    u32 status = kTonewellOK;
    if (data.front() == kSysexBegin)
    {
        BF_ASSERT(data.back() == kSysexEnd);
        status = fPort->IMIDISender_SendSysex(data.data(), static_cast<u32>(data.size()));
    }
    else
    {
        TTonewellShortMessage message{};
        message.fTime = time != nullptr ? *time : 0;
        for (std::size_t i = 0; i < 3; ++i)
            message.fBytes[i] = i < data.size() ? data[i] : 0;
        status = fPort->IMIDISender_SendShort(&message);
    }
    if (status == kTonewellPortGone)
    {
        Vanish();
        ++fLostSends;
    }
    ThrowTonewellResult(status);
}

bool COpenOutPort::IsAlive() const
{
    return AskAlive(*fPort, &NSTonewell::IMIDISender::IMIDISender_IsAlive);
}

void COpenOutPort::Vanish()
{
    fPort.reset();
    AddLineToLog(kOutPortVanishedText, {fSpec.GetDisplayName()});
}

bool COpenOutPort::Reopen()
{
    u32 status = kTonewellOK;
    fPort = fHub->GetLibrary().ITonewell_OpenOutPort(this, fSpec.GetLibraryAddress(), &status);
    if (status != kTonewellOK)
        fPort.reset();
    if (!fPort)
        return false;
    if (fLostSends == 0)
        AddLineToLog(kOutPortBackText, {fSpec.GetDisplayName()});
    else
        AddLineToLog(kOutPortBackLostText,
                     {fSpec.GetDisplayName(), NSTextPackage::Text16FromUTF8(std::to_string(fLostSends))});
    fLostSends = 0;
    return true;
}

u32 COpenOutPort::IMIDIOutHandler_OnNotification(u32)
{
    return kTonewellOK;
}

CSender::~CSender()
{
    try
    {
        fOpenPort->RemoveSender(this);
    }
    catch (...)
    {
        // Reported where it was found; a destructor can do no more.
    }
}

void CSender::Send(const u64* time, const TBinary& data)
{
    if (!data.empty())
        fOpenPort->Send(time, data);
}

// ---- CMIDIHub

CMIDIHub::CMIDIHub(ITonewell& library) : fLibrary(library)
{
    ThrowTonewellResult(fLibrary.ITonewell_SetNotificationHandler(this));
}

CMIDIHub::~CMIDIHub()
{
    BF_ASSERT(fOpenInPorts.empty());
    BF_ASSERT(fOpenOutPorts.empty());
    const u32 status = fLibrary.ITonewell_SetNotificationHandler(nullptr);
    BF_ASSERT(status == kTonewellOK);
}

std::vector<CMIDIPortSpec> CMIDIHub::ReadPorts(std::unique_ptr<IMIDIPortList> list, u32 status)
{
    ThrowTonewellResult(status);
    u32 count = 0;
    ThrowTonewellResult(list->IMIDIPortList_GetCount(&count));
    std::vector<CMIDIPortSpec> ports;
    ports.reserve(count);
    for (u32 i = 0; i < count; ++i)
    {
        const IMIDIPortSpec* address = list->IMIDIPortList_GetAt(&i, &status);
        ThrowTonewellResult(status);
        BF_ASSERT(address != nullptr);
        if (address != nullptr)
            ports.emplace_back(*address);
    }
    return ports;
}

std::vector<CMIDIPortSpec> CMIDIHub::GetInPorts()
{
    u32 status = kTonewellOK;
    auto list = fLibrary.ITonewell_GetInPorts(&status);
    return ReadPorts(std::move(list), status);
}

std::vector<CMIDIPortSpec> CMIDIHub::GetOutPorts()
{
    u32 status = kTonewellOK;
    auto list = fLibrary.ITonewell_GetOutPorts(&status);
    return ReadPorts(std::move(list), status);
}

std::shared_ptr<IMIDISender> CMIDIHub::GetSender(const CMIDIPortSpec& port)
{
    for (const auto& open : fOpenOutPorts)
        if (open->GetSpec() == port)
        {
            ReopenForNewUser(*open);
            return open->NewSender();
        }
    auto open = std::make_shared<COpenOutPort>(*this, port);
    fOpenOutPorts.push_back(open);
    return open->NewSender();
}

void CMIDIHub::WatchPorts() noexcept
{
    try
    {
        WatchOpenPorts(fOpenInPorts, [this] { return GetInPorts(); });
        WatchOpenPorts(fOpenOutPorts, [this] { return GetOutPorts(); });
    }
    catch (const std::exception& e)
    {
        BF_TRACE("CMIDIHub::WatchPorts: %s", e.what());
    }
    catch (...)
    {
        BF_TRACE("CMIDIHub::WatchPorts: unknown exception");
    }
}

void CMIDIHub::Listen(IMIDIReceiver* receiver, const CMIDIInPort& port)
{
    for (std::size_t i = 0; i < fOpenInPorts.size(); ++i)
    {
        const std::shared_ptr<COpenInPort> open = fOpenInPorts[i];
        if (open->GetSpec() == port.GetSpec())
        {
            ReopenForNewUser(*open);
            open->AddReceiver(receiver);
            return;
        }
    }
    auto open = std::make_shared<COpenInPort>(*this, port.GetSpec());
    open->AddReceiver(receiver);
    fOpenInPorts.push_back(open);
}

void CMIDIHub::StopListening(IMIDIReceiver* receiver, const CMIDIInPort& port)
{
    for (std::size_t i = 0; i < fOpenInPorts.size(); ++i)
    {
        // The copy keeps the port alive while its last receiver's going
        // removes it from the hub.
        const std::shared_ptr<COpenInPort> open = fOpenInPorts[i];
        if (open->GetSpec() == port.GetSpec() && open->HasReceiver(receiver))
        {
            open->RemoveReceiver(receiver);
            return;
        }
    }
    BF_TRACE("CMIDIHub::StopListening: no open port has this receiver");
    BF_THROW_SITE();
    throw NSException::XNotFound();
}

void CMIDIHub::RemoveOpenInPort(COpenInPort* port)
{
    const auto found = std::find_if(fOpenInPorts.begin(), fOpenInPorts.end(),
                                    [&](const auto& open) { return open.get() == port; });
    if (found == fOpenInPorts.end())
    {
        BF_TRACE("CMIDIHub::RemoveOpenInPort: the port is not open");
        BF_THROW_SITE();
        throw NSException::XNotFound();
    }
    fOpenInPorts.erase(found);
}

void CMIDIHub::RemoveOpenOutPort(COpenOutPort* port)
{
    const auto found = std::find_if(fOpenOutPorts.begin(), fOpenOutPorts.end(),
                                    [&](const auto& open) { return open.get() == port; });
    if (found == fOpenOutPorts.end())
    {
        BF_TRACE("CMIDIHub::RemoveOpenOutPort: the port is not open");
        BF_THROW_SITE();
        throw NSException::XNotFound();
    }
    fOpenOutPorts.erase(found);
}

void CMIDIHub::AddPortListener(IMIDIPortListener* listener)
{
    BF_ASSERT(listener != nullptr);
    BF_ASSERT(std::find(fPortListeners.begin(), fPortListeners.end(), listener) ==
              fPortListeners.end());
    fPortListeners.push_back(listener);
}

void CMIDIHub::RemovePortListener(IMIDIPortListener* listener)
{
    std::erase(fPortListeners, listener);
}

void CMIDIHub::BlockPortListeners()
{
    ++fListenerBlockCount;
}

void CMIDIHub::UnblockPortListeners()
{
    BF_ASSERT(fListenerBlockCount > 0);
    if (fListenerBlockCount == 0)
        return;
    if (--fListenerBlockCount == 0 && std::exchange(fListenerCallPending, false))
        CallPortListeners();
}

void CMIDIHub::NotifyPortListeners()
{
    if (fListenerBlockCount > 0)
        fListenerCallPending = true;
    else
        CallPortListeners();
}

void CMIDIHub::CallPortListeners()
{
    // A copy: a listener may remove itself.
    const std::vector<IMIDIPortListener*> listeners = fPortListeners;
    for (IMIDIPortListener* listener : listeners)
        listener->IMIDIPortListener_OnPortsChanged();
}

u32 CMIDIHub::IMIDINotificationHandler_OnPortsChanged()
{
    // The lists are read anew whenever somebody asks; nothing to do.
    return kTonewellOK;
}

CMIDIHub& GetMIDIHub()
{
    static CMIDIHub hub(GetTonewell());
    return hub;
}
} // namespace NSMIDIHub
