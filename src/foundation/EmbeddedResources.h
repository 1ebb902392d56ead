#pragma once
// The resources linked into every program: the string scripts of resources/,
// as bytes. The table is made at build time (cmake/EmbedResources.cmake), so
// it can't be missing at run time. Read-only; any thread may read it.

#include "foundation/Types.h"

#include <cstddef>
#include <span>

struct TEmbeddedResource
{
    const char* fType;
    u32 fNumber;
    const u8* fData;
    std::size_t fSize;
};

std::span<const TEmbeddedResource> GetEmbeddedResources();
