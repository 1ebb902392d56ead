#include "generic/GenericTexts.h"

#include "foundation/TextResource.h"

namespace NSGenericMidiCodec
{
namespace
{
constexpr u32 kTextResourceNumber = 2000;
} // namespace

TText16 GetGenericCodecText(u32 id)
{
    // The workbench fills the table at start; the check tool and the tests
    // have nobody else to do it. The first fill wins, so this never replaces it.
    LoadTextResource(kTextResourceNumber);
    return GetText(id);
}
} // namespace NSGenericMidiCodec
