#include "host/KinvarHUB.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "foundation/Ticks.h"
#include "host/Vistal.h"

using namespace NSKinvarCodec;

namespace
{
constexpr u32 kInputLostText = 48;

TText16 Number(u64 value) { return NSTextPackage::Text16FromUTF8(std::to_string(value)); }

i64 NowMs() { return static_cast<i64>(NSThreads::GetTicks64()); }

// The handler that the hub hands to one surface: it queues the surface's
// input under the surface's id.
class CSurfaceInputHandler final : public IControlSurfaceInputHandler
{
public:
    CSurfaceInputHandler(CKinvarHUB& hub, u32 id) : fHub(hub), fId(id) {}

    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface* surface, const TItemInput* input) override
    {
        return fHub.QueueInput(fId, surface, input);
    }

private:
    CKinvarHUB& fHub;
    const u32 fId;
};
} // namespace

CKinvarHUB::CKinvarHUB(ISurfacePorts& ports) : fPorts(ports) {}

std::shared_ptr<CActiveControlSurface> CKinvarHUB::GetSurface(u32 id) const
{
    const auto found = fSurfaces.find(id);
    if (found == fSurfaces.end())
    {
        BF_ASSERT(found != fSurfaces.end());
        throw NSException::XNotFound();
    }
    return found->second;
}

u32 CKinvarHUB::CreateActiveControlSurface(const TCodecPtr& codec, const TControlSurfaceInfo& info,
                                           const TText16& name,
                                           const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                                           const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts)
{
    // Counted before anything else: a construction that fails uses up its id.
    const u32 id = ++fNextSurfaceId;
    auto surface = std::make_shared<CActiveControlSurface>(
        codec, inPorts, outPorts, std::make_shared<CSurfaceInputHandler>(*this, id), info, fPorts);
    surface->SetName(name);
    BF_ASSERT(id != 0);
    fSurfaces[id] = std::move(surface);
    return id;
}

void CKinvarHUB::DeleteActiveControlSurface(u32 id)
{
    GetSurface(id);
    // The entry goes before the surface: its shutdown runs with the hub
    // already without it.
    std::shared_ptr<CActiveControlSurface> surface = std::move(fSurfaces[id]);
    fSurfaces.erase(id);
}

void CKinvarHUB::DeleteAllActiveControlSurfaces()
{
    fInputListeners.clear();
    while (!fSurfaces.empty())
        DeleteActiveControlSurface(fSurfaces.begin()->first);
}

TText16 CKinvarHUB::GetName(u32 id) const { return GetSurface(id)->GetName(); }

void CKinvarHUB::GetControlSurfaceInfo(TControlSurfaceInfo* result, u32 id) const
{
    GetSurface(id)->GetInfo(result);
}

u32 CKinvarHUB::GetItemCount(u32 id) const { return GetSurface(id)->GetItemCount(); }

TItemInfo CKinvarHUB::GetItemInfo(u32 id, u32 item) const
{
    return GetSurface(id)->GetItemInfo(item);
}

TText16 CKinvarHUB::GetItemStateName(u32 id, u32 item, u32 stateIndex) const
{
    return GetSurface(id)->GetItemStateName(item, stateIndex);
}

TItemState CKinvarHUB::GetItemState(u32 id, u32 item) const
{
    return GetSurface(id)->GetItemState(item);
}

void CKinvarHUB::SetItemState(u32 id, u32 item, const TItemState& state)
{
    GetSurface(id)->SetItemState(item, state);
}

void CKinvarHUB::AddInputListener(u32 id, IInputListener* listener)
{
    GetSurface(id);
    BF_ASSERT(listener != nullptr);
    BF_ASSERT(fInputListeners.find(listener) == fInputListeners.end());
    if (listener == nullptr || fInputListeners.contains(listener))
        throw XProgrammingError();
    fInputListeners[listener] = id;
}

void CKinvarHUB::RemoveInputListener(u32 id, IInputListener* listener)
{
    BF_ASSERT(listener != nullptr);
    const auto found = fInputListeners.find(listener);
    if (found == fInputListeners.end())
        return;
    BF_ASSERT(found->second == id);
    fInputListeners.erase(found);
}

std::pair<u32, u32> CKinvarHUB::GetOutputTraffic(u32 id, u32 outPort, i64 milliseconds) const
{
    return GetSurface(id)->GetOutputTraffic(outPort, milliseconds);
}

// Walks every surface: should two hold the pointer, the later id wins. 0 when
// the surface has gone.
u32 CKinvarHUB::FindSurfaceId(const IControlSurface* surface) const
{
    u32 id = 0;
    for (const auto& [surfaceId, active] : fSurfaces)
        if (active->HoldsSurface(surface))
            id = surfaceId;
    return id;
}

void CKinvarHUB::DriveInput()
{
    const i64 deadline = NowMs() + kInputDriveBudgetMs;
    for (u32 count = 1; fInputQueue.GetSize() != 0; ++count)
    {
        // Under a flood the queue never runs empty: the rest waits for the
        // event posted here, and the loop gets to frames and the user first.
        if (count % 64 == 0 && NowMs() > deadline)
        {
            ThrowVistalResult(GetVistal().IVistal_PostCustomEvent(kInputEvent, 0));
            return;
        }
        DeliverInput(fInputQueue.Pop());
    }
}

void CKinvarHUB::DeliverInput(const TQueuedInput& element)
{
    const u32 id = element.fSurfaceId != 0 ? element.fSurfaceId : FindSurfaceId(element.fSurface);
    const auto surface = fSurfaces.find(id);
    if (surface == fSurfaces.end())
        return;
    const bool fits = surface->second->CheckInput(element.fInput);
    std::vector<IInputListener*> listeners;
    for (const auto& [listener, listenerId] : fInputListeners)
    {
        BF_ASSERT(listener != nullptr);
        if (listenerId == id)
            listeners.push_back(listener);
    }
    for (IInputListener* listener : listeners)
    {
        // An earlier listener may have removed this one.
        const auto found = fInputListeners.find(listener);
        if (found == fInputListeners.end() || found->second != id)
            continue;
        if (fits)
            listener->IInputListener_OnInput(&element.fInput);
        else
            listener->IInputListener_OnDroppedInput(&element.fInput);
    }
}

void CKinvarHUB::DriveOutput(u32 framesPerSecond)
{
    BF_ASSERT(framesPerSecond != 0);
    if (framesPerSecond == 0)
        throw std::invalid_argument("");
    WatchPortsWhenDue();
    ReportLostInput();
    const u32 maxBytes = kWireBytesPerSecond / framesPerSecond;
    // A copy: a surface may end during another's frame (an alert inside a
    // codec call runs a nested event loop).
    const std::vector<std::pair<u32, std::shared_ptr<CActiveControlSurface>>> surfaces(fSurfaces.begin(),
                                                                                        fSurfaces.end());
    std::exception_ptr failure;
    for (const auto& [id, surface] : surfaces)
    {
        if (!fSurfaces.contains(id))
            continue;
        try
        {
            surface->DriveOutput(maxBytes);
        }
        catch (...)
        {
            // The surface has said so in the log; its frame alone is lost.
            if (!failure)
                failure = std::current_exception();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
}

void CKinvarHUB::WatchPortsWhenDue()
{
    const i64 now = NowMs();
    if (fSurfaces.empty() || now < fNextPortWatchMs)
        return;
    fNextPortWatchMs = now + kPortWatchIntervalMs;
    fPorts.WatchPorts();
}

void CKinvarHUB::ReportLostInput()
{
    const u64 lost = fLostInputs.load();
    if (lost == fReportedLostInputs || NowMs() - static_cast<i64>(fLastLossMs.load()) < kLostInputQuietMs)
        return;
    AddLineToLog(kInputLostText, {Number(lost - fReportedLostInputs), Number(kInputQueueCapacity)});
    fReportedLostInputs = lost;
}

u32 CKinvarHUB::IControlSurfaceInputHandler_HandleInput(IControlSurface* surface,
                                                        const TItemInput* input)
{
    return QueueInput(0, surface, input);
}

u32 CKinvarHUB::QueueInput(u32 id, IControlSurface* surface, const TItemInput* input)
{
    return GuardEdge(kCodecEdge, [&] {
        std::lock_guard locker(fInputLock);
        if (input == nullptr)
            throw std::invalid_argument("");
        try
        {
            fInputQueue.Push({surface, *input, id});
        }
        catch (const std::overflow_error&)
        {
            fLostInputs.fetch_add(1);
            fLastLossMs.store(static_cast<u64>(NowMs()));
            NoteInputLostByHost();
            throw;
        }
        if (fInputQueue.GetSize() == 1)
            ThrowVistalResult(GetVistal().IVistal_PostCustomEvent(kInputEvent, 0));
    });
}

CKinvarHUB& GetKinvarHUB()
{
    // Never destroyed: surfaces that are still running at exit keep their
    // ports, and the port hub may be gone by then.
    static CKinvarHUB* gKinvarHUB = nullptr;
    if (gKinvarHUB == nullptr)
        gKinvarHUB = new CKinvarHUB;
    return *gKinvarHUB;
}
