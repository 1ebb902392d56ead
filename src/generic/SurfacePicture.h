#pragma once
// Pictures of surface models: a PNG file beside the definition file, decoded
// to the block of 96 by 96 pixels of 32 bits that the contract hands over.

#include "foundation/Types.h"

#include <filesystem>
#include <span>
#include <string_view>

namespace NSGenericMidiCodec
{
// Decodes a PNG file's bytes into pixels, width by height, rows top down, each
// pixel the bytes R, G, B, A. A picture of another size throws
// std::runtime_error "bad picture size"; bytes that are no PNG throw XBadFormat.
void DecodePNGPicture(std::span<const u8> bytes, u32 width, u32 height, std::span<u32> pixels);

// Reads the file whole and decodes it as above; the file's failures are those
// of the file layer.
void ReadPNGPicture(const std::filesystem::path& file, u32 width, u32 height, std::span<u32> pixels);
} // namespace NSGenericMidiCodec
