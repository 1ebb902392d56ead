#include "host/KinvarHUB.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "host/Vistal.h"

using namespace NSKinvarCodec;

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
    auto surface = std::make_shared<CActiveControlSurface>(codec, inPorts, outPorts, this, info, fPorts);
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
    while (fInputQueue.GetSize() != 0)
    {
        const TQueuedInput element = fInputQueue.Pop();
        const u32 id = FindSurfaceId(element.fSurface);
        if (id == 0)
            continue;
        for (const auto& [listener, listenerId] : fInputListeners)
        {
            BF_ASSERT(listener != nullptr);
            if (listenerId == id)
                listener->IInputListener_OnInput(&element.fInput);
        }
    }
}

void CKinvarHUB::DriveOutput(u32 framesPerSecond)
{
    BF_ASSERT(framesPerSecond != 0);
    if (framesPerSecond == 0)
        throw std::invalid_argument("");
    const u32 maxBytes = kWireBytesPerSecond / framesPerSecond;
    for (const auto& entry : fSurfaces)
    {
        const std::shared_ptr<CActiveControlSurface> surface = entry.second;
        surface->DriveOutput(maxBytes);
    }
}

u32 CKinvarHUB::IControlSurfaceInputHandler_HandleInput(IControlSurface* surface,
                                                        const TItemInput* input)
{
    return GuardEdge(kCodecEdge, [&] {
        std::lock_guard locker(fInputLock);
        if (input == nullptr)
            throw std::invalid_argument("");
        fInputQueue.Push({surface, *input});
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
