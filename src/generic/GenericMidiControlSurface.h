#pragma once
// The surface that the generic codec hands out: one definition file's model,
// holding its own copy of the definition.
//
// It turns incoming MIDI into item inputs through the rules of its items, and
// gives the host the definition's fixed "Setup" messages at start. That is all
// it sends: a definition file cannot describe output, so every item has the
// output kind kOutputNone, item states are received and dropped, and neither
// the frames nor the end of a run send anything.
//
// Incoming messages are decoded by CRuleDispatcher, also across up to three
// consecutive messages of one port.
//
// No lock inside: the host calls a surface from one thread at a time.

#include "generic/GenericMidiCodecConfig.h"
#include "generic/RuleDispatcher.h"

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"

#include <string>

namespace NSGenericMidiCodec
{
// "GenericMIDICodec/<manufacturer>/<model>", the names in UTF-8.
std::string MakeUniqueName(const CGenericMidiCodecConfig& config);

// The model's record as the host sees it: port names from the text resource,
// one optional output port when there is anything to send, texts cut to the
// record. An input port count of 0 or 16 or more is a failed assertion.
void FillControlSurfaceInfo(const CGenericMidiCodecConfig& config, NSKinvarCodec::TControlSurfaceInfo& info);

class CGenericMidiControlSurface : public NSKinvarCodec::IControlSurface
{
public:
    explicit CGenericMidiControlSurface(CGenericMidiCodecConfig config);
    CGenericMidiControlSurface(const CGenericMidiControlSurface&) = delete;
    CGenericMidiControlSurface& operator=(const CGenericMidiControlSurface&) = delete;

    NSKinvarCodec::u32 IControlSurface_CheckInvariant() override;
    NSKinvarCodec::u32 IControlSurface_GetUniqueName(char* buffer) override;
    NSKinvarCodec::u32 IControlSurface_GetInfo(NSKinvarCodec::TControlSurfaceInfo* info) override;
    NSKinvarCodec::u32 IControlSurface_GetItemCount(NSKinvarCodec::u32* count) override;
    NSKinvarCodec::u32 IControlSurface_GetItemInfo(NSKinvarCodec::u32 itemIndex,
                                                   NSKinvarCodec::TItemInfo* info) override;
    // Fails with kCodecProgrammingError: no item has named states.
    NSKinvarCodec::u32 IControlSurface_GetItemStateName(NSKinvarCodec::u32 itemIndex,
                                                        NSKinvarCodec::u32 stateIndex, char16* name) override;
    NSKinvarCodec::u32 IControlSurface_GetStartupEvents(NSKinvarCodec::IMIDIEventGetter& getter,
                                                        NSKinvarCodec::u32 outPort,
                                                        NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_SetInputHandler(NSKinvarCodec::IControlSurfaceInputHandler* handler) override;
    // On a MIDI thread. Calls the input handler on that same thread.
    NSKinvarCodec::u32 IControlSurface_HandleMIDIEvent(const NSKinvarCodec::TMIDIEvent* event,
                                                       NSKinvarCodec::u32 inPort,
                                                       NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_SetItemStates(NSKinvarCodec::u32 count,
                                                     const NSKinvarCodec::TItemState* states,
                                                     NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_GetOutputEvents(NSKinvarCodec::u32 maxBytes, NSKinvarCodec::u32 outPort,
                                                       NSKinvarCodec::IMIDIEventGetter& getter,
                                                       NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_GetShutdownEvents(NSKinvarCodec::IMIDIEventGetter& getter,
                                                         NSKinvarCodec::u32 outPort,
                                                         NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 IControlSurface_Destroy() override;

    virtual ~CGenericMidiControlSurface();

private:
    template <class Body> NSKinvarCodec::u32 Guarded(Body&& body);
    void HandleMessage(const NSKinvarCodec::TMIDIEvent& event, u32 inPort);

    CGenericMidiCodecConfig fConfig;
    NSKinvarCodec::IControlSurfaceInputHandler* fInputHandler = nullptr;
    CRuleDispatcher fDispatcher;
};
} // namespace NSGenericMidiCodec
