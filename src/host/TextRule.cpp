#include "host/TextRule.h"

#include "foundation/Failures.h"
#include "foundation/LogText.h"

void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status)
{
    if (messages.HasText())
        AddToLog(messages.GetText());
    ThrowCodecResult(status);
}
