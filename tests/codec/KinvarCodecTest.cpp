// The contract's virtual order is what a separately built module calls by:
// each operation must sit in its slot. The record layouts are checked at
// compile time in the header itself.

#include "codec/KinvarCodec.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

using namespace NSKinvarCodec;

namespace
{
// A pointer to a virtual member holds 1 plus the byte offset of its slot in
// the table, in the ABI of this platform.
template <class Member> std::ptrdiff_t SlotOf(Member member)
{
    struct
    {
        std::ptrdiff_t fPointer;
        std::ptrdiff_t fAdjustment;
    } raw;
    static_assert(sizeof member == sizeof raw);
    std::memcpy(&raw, &member, sizeof raw);
    return (raw.fPointer - 1) / std::ptrdiff_t(sizeof(void*));
}

// The members, given in contract order, stand in slots 0, 1, 2, ...
template <class... TMembers> void ExpectSlotsInOrder(TMembers... members)
{
    const std::ptrdiff_t slots[] = {SlotOf(members)...};
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t(sizeof...(members)); ++i)
        EXPECT_EQ(slots[i], i) << "the operation given in place " << i;
}
} // namespace

TEST(KinvarCodecContract, OperationsStandInContractOrder)
{
    using S = IControlSurface;
    ExpectSlotsInOrder(&ICodec2::ICodec2_CheckInvariant, &ICodec2::ICodec2_SetDebugger,
                       &ICodec2::ICodec2_GetMayStayLoaded, &ICodec2::ICodec2_GetControlSurfaces,
                       &ICodec2::ICodec2_CreateControlSurface, &ICodec2::ICodec2_CreateControlSurfaceByName,
                       &ICodec2::ICodec2_GetControlSurfacePicture, &ICodec2::ICodec2_ProbeForControlSurface,
                       &ICodec2::ICodec2_Destroy);
    ExpectSlotsInOrder(&S::IControlSurface_CheckInvariant, &S::IControlSurface_GetUniqueName,
                       &S::IControlSurface_GetInfo, &S::IControlSurface_GetItemCount,
                       &S::IControlSurface_GetItemInfo, &S::IControlSurface_GetItemStateName,
                       &S::IControlSurface_GetStartupEvents, &S::IControlSurface_SetInputHandler,
                       &S::IControlSurface_HandleMIDIEvent, &S::IControlSurface_SetItemStates,
                       &S::IControlSurface_GetOutputEvents, &S::IControlSurface_GetShutdownEvents,
                       &S::IControlSurface_Destroy);
    ExpectSlotsInOrder(&IMIDIProber::IMIDIProber_GetOutPortCount, &IMIDIProber::IMIDIProber_SendEvents,
                       &IMIDIProber::IMIDIProber_GetInPortCount, &IMIDIProber::IMIDIProber_GetEvents);
    ExpectSlotsInOrder(&IDebugger::IDebugger_Assert, &IDebugger::IDebugger_Trace,
                       &IDebugger::IDebugger_Indent, &IDebugger::IDebugger_Outdent);
    ExpectSlotsInOrder(&ITextGetter::ITextGetter_Take);
    ExpectSlotsInOrder(&IMIDIEventGetter::IMIDIEventGetter_Take);
    ExpectSlotsInOrder(&IControlSurfaceInfoGetter::IControlSurfaceInfoGetter_Take);
    ExpectSlotsInOrder(&IControlSurfaceInputHandler::IControlSurfaceInputHandler_HandleInput);
    ExpectSlotsInOrder(&IProbeResultGetter::IProbeResultGetter_Take);
}
