// The map reader over whole files, as "Validate Map File" reads them: the
// header first, then the body against the surface that the header names.
// The surfaces are the generic codec's models of the examples' and the
// tests' definition files, read once at start; a header that names none of
// them is read against the first, which the reader refuses as the wrong
// surface. Every item gets two named states, so that the mode column has
// something to find.

#include "FuzzSupport.h"

#include "codec/CodecSupport.h"
#include "codec/CodecSurfaces.h"
#include "foundation/Exceptions.h"
#include "foundation/TextCompare.h"
#include "foundation/TextResource.h"
#include "generic/GenericMidiCodec.h"
#include "map/MapReader.h"

#include <memory>
#include <vector>

namespace
{
using NSFuzzing::Require;
using namespace NSKinvar;

struct TSurface
{
    TText16 fManufacturer;
    TText16 fModel;
    std::shared_ptr<const TItemList> fItems;
    TStateNames fStateNames;
};

std::vector<TSurface> gSurfaces;

TSurface DescribeSurface(NSKinvarCodec::ICodec2& codec, const NSKinvarCodec::TControlSurfaceInfo& info)
{
    u32 status = 0;
    const TControlSurfacePtr surface(codec.ICodec2_CreateControlSurface(info, &status), codecsurface_deleter());
    Require(surface && status == NSKinvarCodec::kCodecOK, "the sample surfaces can be made");
    auto items = std::make_shared<TItemList>(*GetItemInfos(*surface));
    for (auto& item : *items)
        item.fStateCount = 2;
    TStateNames names(items->size(), std::vector<TText16>{u"Normal", u"Alternate"});
    return {GetRecordText(info.fManufacturer), GetRecordText(info.fModel), std::move(items), std::move(names)};
}

void LoadSurfaces()
{
    NSGenericMidiCodec::TScanPlaces places;
    places.fFolders = {BRASSFOLD_FUZZ_SAMPLES_DIRS};
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec(places), codec_deleter());
    for (const auto& info : GetControlSurfacesForCodec(codec, {}))
        gSurfaces.push_back(DescribeSurface(*codec, info));
    Require(!gSurfaces.empty(), "there are sample surfaces");
}

const TSurface& SurfaceFor(const TText16& manufacturer, const TText16& model)
{
    for (const TSurface& surface : gSurfaces)
    {
        if (NSTextPackage::EqualTexts(surface.fManufacturer, manufacturer) &&
            NSTextPackage::EqualTexts(surface.fModel, model))
            return surface;
    }
    return gSurfaces.front();
}

void ReadBody(const TText16& text, const TSurface& surface)
{
    VControlSurfaceMap map(surface.fManufacturer, surface.fModel, surface.fItems);
    TText16 errorText;
    TMapFaultList faults;
    try
    {
        ReadMapFile(text, map, surface.fStateNames, errorText, &faults);
        Require(errorText.empty() && faults.empty(), "an accepted map has no faults");
    }
    catch (const NSKinvar::XBadFormat&)
    {
        Require(!faults.empty() && !errorText.empty(), "a refused map says why");
        for (const TMapFault& fault : faults)
            Require(fault.fLine >= 1 && !fault.fMessage.empty(), "each fault names its line and says why");
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    LoadTextResource(2000);
    LoadSurfaces();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const TText16 text = DecodeTableText(NSFuzzing::BytesOf(data, size));
    TText16 manufacturer;
    TText16 model;
    std::array<u32, 3> version{};
    TText16 errorText;
    try
    {
        ReadMapHeader(text, manufacturer, model, version, errorText);
    }
    catch (const NSKinvar::XBadFormat&)
    {
        Require(!errorText.empty(), "a refused header says why");
        return 0;
    }
    ReadBody(text, SurfaceFor(manufacturer, model));
    return 0;
}
