#include "host/TextRule.h"

#include "foundation/Failures.h"
#include "foundation/LogText.h"

void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status)
{
    if (messages.HasText())
        AddToLog(messages.GetText());
    ThrowCodecResult(status);
}

void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status, TText16& failureText)
{
    if (status != kCodecOK)
        failureText = messages.GetText();
    else if (messages.HasText())
        AddToLog(messages.GetText());
    ThrowCodecResult(status);
}
