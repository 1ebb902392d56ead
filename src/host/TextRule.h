#pragma once
// The rule after every call into a codec: what the codec said goes to the log
// window first, and only then is the status looked at, so that a codec's
// explanation survives its failure.

#include "codec/CodecSupport.h"

// Writes the collected text, if any, to the log window, then throws what
// status stands for (ThrowCodecResult). Any thread, MIDI threads included.
void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status);
