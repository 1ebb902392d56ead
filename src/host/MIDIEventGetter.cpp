#include "host/MIDIEventGetter.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"

#include <chrono>
#include <thread>

using namespace NSKinvarCodec;

namespace
{
void SleepMilliseconds(u32 milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

constexpr u8 kSysexStart = 0xF0;
constexpr u8 kSysexEnd = 0xF7;

// The program's texts of what went wrong.
constexpr u32 kEmptyMessageText = 59;
constexpr u32 kLongMessageText = 60;
constexpr u32 kNestedSysexText = 61;
constexpr u32 kRefusedText = 62;

using NSTextPackage::SubstituteParameters;
} // namespace

CMIDIEventGetter::CMIDIEventGetter(std::shared_ptr<NSMIDIHub::IMIDISender> sender,
                                   u32 throttleMode)
    : CMIDIEventGetter(std::move(sender), throttleMode, &SleepMilliseconds)
{
}

CMIDIEventGetter::CMIDIEventGetter(std::shared_ptr<NSMIDIHub::IMIDISender> sender,
                                   u32 throttleMode, TSleeper sleeper)
    : fSender(std::move(sender)), fThrottleMode(throttleMode), fSleeper(std::move(sleeper))
{
    BF_ASSERT(fSender != nullptr);
    BF_ASSERT(fThrottleMode == kThrottleOff || fThrottleMode == kThrottleOn);
}

u32 CMIDIEventGetter::IMIDIEventGetter_Take(const TMIDIEvent* events, u32 count)
{
    return GuardEdge(kCodecEdge, [&] {
        if (count != 0 && events == nullptr)
            throw std::invalid_argument("");
        TakeEvents(events, count);
    });
}

void CMIDIEventGetter::TakeEvents(const TMIDIEvent* events, u32 count)
{
    NSMIDIHub::TBinary currentSysex;
    for (u32 i = 0; i < count; ++i)
    {
        const TMIDIEvent& event = events[i];
        if (event.fSize == 0 || event.fSize > kMaxMIDIEventSize)
        {
            Fail(event.fSize == 0 ? GetProgramText(kEmptyMessageText)
                                  : SubstituteParameters(GetProgramText(kLongMessageText), 0,
                                                         {NSTextPackage::Text16FromUTF8(std::to_string(event.fSize))}));
            throw std::invalid_argument("");
        }
        const u8* data = event.fData;
        if (data[0] == kSysexStart)
        {
            if (!currentSysex.empty())
            {
                Fail(GetProgramText(kNestedSysexText));
                throw XProgrammingError();
            }
        }
        else if (currentSysex.empty())
        {
            Send(NSMIDIHub::TBinary(data, data + event.fSize), event.fTime);
            continue;
        }
        currentSysex.insert(currentSysex.end(), data, data + event.fSize);
        if (currentSysex.back() == kSysexEnd)
        {
            Send(currentSysex, event.fTime);
            currentSysex.clear();
        }
    }
}

void CMIDIEventGetter::Fail(const TText16& failure)
{
    if (fFailure.empty())
        fFailure = failure;
}

void CMIDIEventGetter::Send(const NSMIDIHub::TBinary& data, u64 time)
{
    try
    {
        fSender->Send(&time, data);
    }
    catch (const std::exception& e)
    {
        Fail(SubstituteParameters(GetProgramText(kRefusedText), 0, {NSTextPackage::Text16FromUTF8(e.what())}));
        throw;
    }
    Throttle(data.size());
    fByteCount += static_cast<u32>(data.size());
}

void CMIDIEventGetter::Throttle(std::size_t size)
{
    if (fThrottleMode != kThrottleOn)
        return;
    fThrottleDebtMs = static_cast<float>(fThrottleDebtMs + size * 1000 / double(kMIDIWireBytesPerSecond));
    const u32 ms = static_cast<u32>(fThrottleDebtMs + 0.5);
    if (ms == 0)
        return;
    fSleeper(ms);
    fThrottleDebtMs -= static_cast<float>(ms);
}
