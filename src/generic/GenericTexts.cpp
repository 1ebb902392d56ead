#include "generic/GenericTexts.h"

#include "foundation/TextResource.h"

namespace NSGenericMidiCodec
{
TText16 GetGenericCodecText(u32 id)
{
    return GetProgramText(id);
}
} // namespace NSGenericMidiCodec
