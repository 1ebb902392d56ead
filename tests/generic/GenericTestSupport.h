#pragma once
// What the generic codec's tests share: definition texts, events, and recording host objects.

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"

#include <string>
#include <string_view>
#include <vector>

namespace NSGenericTesting
{
using TBytes = std::vector<u8>;

// A definition file's text: the header for manufacturer and model, the middle
// rows, then the item and map rows (each row's fields joined with TAB by the
// caller).
std::string DefinitionText(std::string_view manufacturer, std::string_view model,
                           const std::vector<std::string>& middle, const std::vector<std::string>& items,
                           const std::vector<std::string>& rules);

NSKinvarCodec::TMIDIEvent MakeEvent(const TBytes& bytes, u64 time = 0);

// Records every input that a surface passes on; answers with a set status.
class CRecordingInputHandler : public NSKinvarCodec::IControlSurfaceInputHandler
{
public:
    std::vector<NSKinvarCodec::TItemInput> fInputs;
    NSKinvarCodec::u32 fStatus = NSKinvarCodec::kCodecOK;

    NSKinvarCodec::u32 IControlSurfaceInputHandler_HandleInput(NSKinvarCodec::IControlSurface*,
                                                               const NSKinvarCodec::TItemInput* input) override
    {
        fInputs.push_back(*input);
        return fStatus;
    }
};

// Records every call of an event getter.
class CRecordingEventGetter : public NSKinvarCodec::IMIDIEventGetter
{
public:
    std::vector<std::vector<TBytes>> fCalls;

    NSKinvarCodec::u32 IMIDIEventGetter_Take(const NSKinvarCodec::TMIDIEvent* events,
                                             NSKinvarCodec::u32 count) override
    {
        auto& call = fCalls.emplace_back();
        for (NSKinvarCodec::u32 i = 0; i < count; ++i)
            call.emplace_back(events[i].fData, events[i].fData + events[i].fSize);
        return NSKinvarCodec::kCodecOK;
    }
};

} // namespace NSGenericTesting
