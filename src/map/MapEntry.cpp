#include "map/MapEntry.h"

#include "foundation/Assert.h"

#include <utility>

namespace NSKinvar
{
VMapEntry::VMapEntry(TVariation variation, TText16 kinvarableName, i64 scale, u32 mode)
    : fVariation(std::move(variation)), fIsKinvarable(true), fKinvarableName(std::move(kinvarableName)),
      fScale(scale), fMode(mode)
{
    BF_ASSERT(!fKinvarableName.empty());
}

VMapEntry::VMapEntry(TVariation variation, TText16 text, u32 mode)
    : fVariation(std::move(variation)), fIsTextConstant(true), fText(std::move(text)), fMode(mode)
{
}

VMapEntry::VMapEntry(TVariation variation, i64 value, u32 mode)
    : fVariation(std::move(variation)), fIsValueConstant(true), fValue(value), fMode(mode)
{
}

VMapEntry::VMapEntry(TVariation variation, TGroupValue assignment, u32 mode)
    : fVariation(std::move(variation)), fIsGroupAssignment(true), fAssignment(assignment), fMode(mode)
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
    return fKinvarableName;
}

i64 VMapEntry::GetScale() const
{
    BF_ASSERT(fIsKinvarable);
    return fScale;
}

const TText16& VMapEntry::GetText() const
{
    BF_ASSERT(fIsTextConstant);
    return fText;
}

i64 VMapEntry::GetValue() const
{
    BF_ASSERT(fIsValueConstant);
    return fValue;
}

TGroupValue VMapEntry::GetAssignment() const
{
    BF_ASSERT(fIsGroupAssignment);
    return fAssignment;
}
} // namespace NSKinvar
