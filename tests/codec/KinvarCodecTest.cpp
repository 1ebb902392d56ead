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
} // namespace

TEST(KinvarCodecContract, CodecOperationsStandInContractOrder)
{
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_CheckInvariant), 0);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_SetDebugger), 1);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_GetMayStayLoaded), 2);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_GetControlSurfaces), 3);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_CreateControlSurface), 4);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_CreateControlSurfaceByName), 5);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_GetControlSurfacePicture), 6);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_ProbeForControlSurface), 7);
    EXPECT_EQ(SlotOf(&ICodec2::ICodec2_Destroy), 8);
}

TEST(KinvarCodecContract, SurfaceOperationsStandInContractOrder)
{
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_CheckInvariant), 0);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetUniqueName), 1);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetInfo), 2);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetItemCount), 3);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetItemInfo), 4);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetItemStateName), 5);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetStartupEvents), 6);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_SetInputHandler), 7);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_HandleMIDIEvent), 8);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_SetItemStates), 9);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetOutputEvents), 10);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_GetShutdownEvents), 11);
    EXPECT_EQ(SlotOf(&IControlSurface::IControlSurface_Destroy), 12);
}

TEST(KinvarCodecContract, HostInterfacesStandInContractOrder)
{
    EXPECT_EQ(SlotOf(&IMIDIProber::IMIDIProber_GetOutPortCount), 0);
    EXPECT_EQ(SlotOf(&IMIDIProber::IMIDIProber_SendEvents), 1);
    EXPECT_EQ(SlotOf(&IMIDIProber::IMIDIProber_GetInPortCount), 2);
    EXPECT_EQ(SlotOf(&IMIDIProber::IMIDIProber_GetEvents), 3);

    EXPECT_EQ(SlotOf(&IDebugger::IDebugger_Assert), 0);
    EXPECT_EQ(SlotOf(&IDebugger::IDebugger_Trace), 1);
    EXPECT_EQ(SlotOf(&IDebugger::IDebugger_Indent), 2);
    EXPECT_EQ(SlotOf(&IDebugger::IDebugger_Outdent), 3);

    EXPECT_EQ(SlotOf(&ITextGetter::ITextGetter_Take), 0);
    EXPECT_EQ(SlotOf(&IMIDIEventGetter::IMIDIEventGetter_Take), 0);
    EXPECT_EQ(SlotOf(&IControlSurfaceInfoGetter::IControlSurfaceInfoGetter_Take), 0);
    EXPECT_EQ(SlotOf(&IControlSurfaceInputHandler::IControlSurfaceInputHandler_HandleInput), 0);
    EXPECT_EQ(SlotOf(&IProbeResultGetter::IProbeResultGetter_Take), 0);
}
