#include "GenericTestSupport.h"

#include <algorithm>

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

NSKinvarCodec::TMIDIEvent MakeEvent(const TBytes& bytes, u64 time)
{
    NSKinvarCodec::TMIDIEvent event{};
    event.fTime = time;
    event.fSize = NSKinvarCodec::u32(bytes.size());
    std::copy(bytes.begin(), bytes.end(), event.fData);
    return event;
}
} // namespace NSGenericTesting
