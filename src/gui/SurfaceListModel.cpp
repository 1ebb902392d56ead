#include "gui/SurfaceListModel.h"

#include <algorithm>

using namespace NSKinvarCodec;

namespace
{
constexpr std::u16string_view kOptionalMark = u"(optional)";

// The model's picture, or none when the codec has none or fails to give it:
// a picture is an ornament, not worth an error.
std::vector<u32> ReadPicture(const TCodecSurface& surface)
{
    std::vector<u32> pixels(std::size_t(kPictureWidth) * kPictureHeight);
    u32 hasPicture = 0;
    if (!surface.first ||
        surface.first->ICodec2_GetControlSurfacePicture(surface.second, &hasPicture,
                                                        pixels.data()) != NSKinvarCodec::kCodecOK ||
        hasPicture == 0)
        pixels.clear();
    return pixels;
}

void AddSetupLine(std::vector<TText16>& lines, const char16* heading, const TText16& text)
{
    if (!text.empty())
        lines.push_back(heading + text);
}
} // namespace

bool CSurfaceListModel::Update(const TCodecSurfaceList& list)
{
    if (list.size() == fEntries.size())
        return false;
    if (list.size() < fEntries.size())
        fEntries.clear();
    for (std::size_t i = fEntries.size(); i < list.size(); ++i)
        fEntries.push_back(MakeEntry(list[i]));
    return true;
}

TSurfaceEntry CSurfaceListModel::MakeEntry(const TCodecSurface& surface)
{
    const TControlSurfaceInfo& info = surface.second;
    TSurfaceEntry entry;
    entry.fTitle = GetRecordText(info.fManufacturer) + u" " + GetRecordText(info.fModel);
    entry.fLines.push_back(u"Input ports: " + DescribePorts(info.fInPortNames, info.fInPortOptional,
                                                            info.fInPortCount));
    entry.fLines.push_back(u"Output ports: " + DescribePorts(info.fOutPortNames,
                                                             info.fOutPortOptional,
                                                             info.fOutPortCount));
    AddSetupLine(entry.fLines, u"Setup: ", GetRecordText(info.fSetupInfoText));
    AddSetupLine(entry.fLines, u"Warning: ", GetRecordText(info.fSetupWarningText));
    AddSetupLine(entry.fLines, u"To do: ", GetRecordText(info.fSetupUserActionText));
    entry.fPicture = ReadPicture(surface);
    return entry;
}

TText16 CSurfaceListModel::DescribePorts(const char16 (*names)[kMaxPortNameLength + 1],
                                         const u32* optional, u32 count)
{
    TText16 text;
    for (u32 port = 0; port < std::min(count, kMaxPortCount); ++port)
    {
        if (!text.empty())
            text += u", ";
        const TText16 name = GetRecordText(names[port]);
        text += name;
        // Codecs often put the mark into the name already.
        if (optional[port] != 0 && !name.ends_with(kOptionalMark))
            text += u" " + TText16(kOptionalMark);
    }
    return text.empty() ? u"none" : text;
}

const TText16& CSurfaceListModel::GetEmptyListText()
{
    static const TText16 text =
        u"No surface models are loaded yet: load a scripted codec with \"Choose Codec "
        u"File\" in the \"Test\" menu, or the definition files with \"Load MIDI Codecs\" "
        u"in the \"File\" menu.";
    return text;
}
