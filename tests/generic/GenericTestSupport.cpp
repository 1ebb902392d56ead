#include "GenericTestSupport.h"

#include <png.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace NSGenericTesting
{
std::string DefinitionText(std::string_view manufacturer, std::string_view model,
                           const std::vector<std::string>& middle, const std::vector<std::string>& items,
                           const std::vector<std::string>& rules)
{
    std::string text = "Universal MIDI Codec Control Surface Definition File\n"
                       "File Format Version\t1.0.0\n";
    text.append("Control Surface Manufacturer\t").append(manufacturer).append("\n");
    text.append("Control Surface Model\t").append(model).append("\n");
    text.append("Codec Version\t1.0.0\n");
    for (const auto& row : middle)
        text.append(row).append("\n");
    text.append("Item Header\tName\tType\tMin\tMax\n");
    for (const auto& row : items)
        text.append("Item\t").append(row).append("\n");
    text.append("Map Header\tPattern\tName\tValue1\tValue2\tValue3\n");
    for (const auto& row : rules)
        text.append("Map\t").append(row).append("\n");
    return text;
}

CTemporaryFolder::CTemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "brassfold-generic-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    fPath = pattern;
}

CTemporaryFolder::~CTemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(fPath, ignored);
}

std::filesystem::path CTemporaryFolder::Write(const std::filesystem::path& relative, std::string_view content) const
{
    const std::filesystem::path file = fPath / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(content.data(), std::streamsize(content.size()));
    return file;
}

std::filesystem::path CTemporaryFolder::Write(const std::filesystem::path& relative, const TBytes& content) const
{
    return Write(relative, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

TBytes MakePNG(u32 width, u32 height)
{
    std::vector<u8> pixels(std::size_t(width) * height * 4);
    for (u32 y = 0; y < height; ++y)
    {
        for (u32 x = 0; x < width; ++x)
        {
            u8* pixel = &pixels[(std::size_t(y) * width + x) * 4];
            pixel[0] = u8(x);
            pixel[1] = u8(y);
            pixel[2] = 7;
            pixel[3] = 255;
        }
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = 0;
    if (!png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), 0, nullptr))
        throw std::runtime_error("no PNG size");
    TBytes bytes(size);
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr))
        throw std::runtime_error("no PNG");
    bytes.resize(size);
    return bytes;
}

NSKinvarCodec::TMIDIEvent MakeEvent(const TBytes& bytes, u64 time)
{
    NSKinvarCodec::TMIDIEvent event{};
    event.fTime = time;
    event.fSize = NSKinvarCodec::u32(bytes.size());
    std::copy(bytes.begin(), bytes.end(), event.fData);
    return event;
}
} // namespace NSGenericTesting
