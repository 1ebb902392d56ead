#pragma once
// The rule after every call into a codec: what the codec said goes to the log
// window first, and only then is the status looked at, so that a codec's
// explanation survives its failure.

#include "codec/CodecSupport.h"

// Writes the collected text, if any, to the log window, then throws what
// status stands for (ThrowCodecResult). Any thread, MIDI threads included.
void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status);

// For calls whose failures are reported once for each kind (frames, input):
// when the call succeeded its text goes to the log as above; when it failed
// the text is kept in failureText for that report, and the status is thrown.
void ApplyTextRule(const CCodecTextGetter& messages, NSKinvarCodec::u32 status, TText16& failureText);
