#pragma once
// The three answers of a text comparison, with the numbers that codecs and
// scripts see.

#include "foundation/Types.h"

namespace NSTextPackage
{
enum ECompareResult : u32
{
    kTextLess = 17014,
    kTextGreater = 17015,
    kTextEqual = 17016,
};
} // namespace NSTextPackage
