#pragma once
// One line of a mapping file in memory: what one control surface item does
// under one variation of a scope's groups.

#include "foundation/Types.h"

#include <compare>
#include <vector>

namespace NSKinvar
{
// A group's value index that stands for any value of that group.
inline constexpr u32 kAnyGroupValue = 0xFFFFFFFF;
// The note of a line that is not about one key.
inline constexpr i64 kNoNote = -1;

// The key of an item map: item index, then note (-1 or a key 0 to 127).
struct TMapKey
{
    u32 fItemIndex = 0;
    i64 fNote = kNoNote;

    auto operator<=>(const TMapKey&) const = default;
};

// A value of one group: (group index, value index).
struct TGroupValue
{
    u32 fGroup = 0;
    u32 fValue = 0;

    bool operator==(const TGroupValue&) const = default;
};

inline constexpr TGroupValue kNoGroupValue{0xFFFFFFFF, 0xFFFFFFFF};

// One element per group of the scope: a value index or kAnyGroupValue.
using TVariation = std::vector<u32>;

// A map line. At most one kind is set; an entry of no kind is the empty entry
// that a failed lookup returns. Reading the payload of another kind is a
// programming error (assertion).
class VMapEntry
{
public:
    VMapEntry() = default;
    VMapEntry(TVariation variation, TText16 kinvarableName, i64 scale, u32 mode);
    VMapEntry(TVariation variation, TText16 text, u32 mode);
    VMapEntry(TVariation variation, i64 value, u32 mode);
    VMapEntry(TVariation variation, TGroupValue assignment, u32 mode);

    const TVariation& GetVariation() const { return fVariation; }
    bool IsKinvarable() const { return fIsKinvarable; }
    bool IsTextConstant() const { return fIsTextConstant; }
    bool IsValueConstant() const { return fIsValueConstant; }
    bool IsGroupAssignment() const { return fIsGroupAssignment; }
    bool IsEmpty() const;
    // At most one kind set.
    bool HasValidKind() const;

    const TText16& GetKinvarableName() const;
    i64 GetScale() const;
    const TText16& GetText() const;
    i64 GetValue() const;
    TGroupValue GetAssignment() const;
    u32 GetMode() const { return fMode; }

private:
    // A line has one kind, so the kinds share their payload fields: the
    // Kinvarable's name and the text constant one text, the scale and the
    // number constant one number. A large map holds many entries.
    TVariation fVariation;
    bool fIsKinvarable = false;
    bool fIsTextConstant = false;
    bool fIsValueConstant = false;
    bool fIsGroupAssignment = false;
    u32 fMode = 0;
    TText16 fText;   // Kinvarable name or text constant
    i64 fNumber = 0; // scale or number constant
    TGroupValue fAssignment;
};
} // namespace NSKinvar
