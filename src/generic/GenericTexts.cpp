#include "generic/GenericTexts.h"

#include "foundation/Assert.h"

namespace NSGenericMidiCodec
{
TText16 GetGenericCodecText(u32 id)
{
    switch (id)
    {
    case kTextMIDIInput:
        return u"MIDI Input";
    case kTextMIDIInputNumbered:
        return u"MIDI Input ^0";
    case kTextMIDIOutputOptional:
        return u"MIDI Output (optional)";
    case kTextLineMessage:
        return u"Line  ^0: ^1";
    case kTextMissing:
        return u"Missing: ^0.";
    default:
        BF_ASSERT(false);
        return {};
    }
}
} // namespace NSGenericMidiCodec
