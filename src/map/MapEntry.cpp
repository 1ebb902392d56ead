#include "map/MapEntry.h"

#include "foundation/Assert.h"

#include <utility>

namespace NSKinvar
{
VMapEntry::VMapEntry(TVariation variation, TText16 kinvarableName, i64 scale, u32 mode)
    : fVariation(std::move(variation)), fIsKinvarable(true), fMode(mode), fText(std::move(kinvarableName)),
      fNumber(scale)
{
    BF_ASSERT(!fText.empty());
}

VMapEntry::VMapEntry(TVariation variation, TText16 text, u32 mode)
    : fVariation(std::move(variation)), fIsTextConstant(true), fMode(mode), fText(std::move(text))
{
}

VMapEntry::VMapEntry(TVariation variation, i64 value, u32 mode)
    : fVariation(std::move(variation)), fIsValueConstant(true), fMode(mode), fNumber(value)
{
}

VMapEntry::VMapEntry(TVariation variation, TGroupValue assignment, u32 mode)
    : fVariation(std::move(variation)), fIsGroupAssignment(true), fMode(mode), fAssignment(assignment)
{
}

bool VMapEntry::IsEmpty() const
{
    return !fIsKinvarable && !fIsTextConstant && !fIsValueConstant && !fIsGroupAssignment;
}

bool VMapEntry::HasValidKind() const
{
    return int(fIsKinvarable) + int(fIsTextConstant) + int(fIsValueConstant) + int(fIsGroupAssignment) <= 1;
}

const TText16& VMapEntry::GetKinvarableName() const
{
    BF_ASSERT(fIsKinvarable);
    return fText;
}

i64 VMapEntry::GetScale() const
{
    BF_ASSERT(fIsKinvarable);
    return fNumber;
}

const TText16& VMapEntry::GetText() const
{
    BF_ASSERT(fIsTextConstant);
    return fText;
}

i64 VMapEntry::GetValue() const
{
    BF_ASSERT(fIsValueConstant);
    return fNumber;
}

TGroupValue VMapEntry::GetAssignment() const
{
    BF_ASSERT(fIsGroupAssignment);
    return fAssignment;
}
} // namespace NSKinvar
