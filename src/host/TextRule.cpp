#include "host/TextRule.h"

#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"

void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status)
{
    if (messages.HasText())
        AddToLog(messages.GetText());
    ThrowCodecResult(status);
}

void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status, TText16& failureText)
{
    constexpr u32 kSilentStatusText = 66;
    if (status != kCodecOK)
        failureText = messages.HasText()
                          ? messages.GetText()
                          : NSTextPackage::SubstituteParameters(GetProgramText(kSilentStatusText), 0,
                                                                {NSTextPackage::Text16FromUTF8(std::to_string(status))});
    else if (messages.HasText())
        AddToLog(messages.GetText());
    ThrowCodecResult(status);
}
