#include "generic/SurfacePicture.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/FileHandling.h"

#include <png.h>

#include <stdexcept>

namespace NSGenericMidiCodec
{
namespace
{
// Frees libpng's reading state on every way out.
class CPNGImage
{
public:
    CPNGImage()
    {
        fImage.version = PNG_IMAGE_VERSION;
    }
    ~CPNGImage() { png_image_free(&fImage); }
    CPNGImage(const CPNGImage&) = delete;
    CPNGImage& operator=(const CPNGImage&) = delete;

    png_image& Get() { return fImage; }

private:
    png_image fImage{};
};

[[noreturn]] void ThrowBadPicture()
{
    BF_THROW_SITE();
    throw XBadFormat();
}
} // namespace

void DecodePNGPicture(std::span<const u8> bytes, u32 width, u32 height, std::span<u32> pixels)
{
    BF_ASSERT(pixels.size() >= std::size_t(width) * height);
    CPNGImage image;
    if (png_image_begin_read_from_memory(&image.Get(), bytes.data(), bytes.size()) == 0)
        ThrowBadPicture();
    if (image.Get().width != width || image.Get().height != height)
        throw std::runtime_error("bad picture size");
    image.Get().format = PNG_FORMAT_RGBA;
    if (png_image_finish_read(&image.Get(), nullptr, pixels.data(), png_int_32(width * 4), nullptr) == 0)
        ThrowBadPicture();
}

void ReadPNGPicture(const std::filesystem::path& file, u32 width, u32 height, std::span<u32> pixels)
{
    const std::vector<u8> bytes = NSHarbryUtils::ReadWholeFile(file);
    DecodePNGPicture(bytes, width, height, pixels);
}
} // namespace NSGenericMidiCodec
