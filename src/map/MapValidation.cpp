#include "map/MapValidation.h"

#include "codec/CodecSupport.h"
#include "foundation/Alert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "foundation/TextCompare.h"
#include "map/MapReader.h"

#include <memory>

namespace NSKinvar
{
namespace
{
using NSKinvarCodec::TControlSurfaceInfo;

// The first model with that manufacturer and model, made by its codec; null
// when there is none or its codec fails to make it.
TControlSurfacePtr MakeSurfaceFor(const TCodecSurfaceList& surfaces, const TText16& manufacturer,
                                  const TText16& model)
{
    for (const auto& [codec, info] : surfaces)
    {
        if (!NSTextPackage::EqualTexts(GetRecordText(info.fManufacturer), manufacturer) ||
            !NSTextPackage::EqualTexts(GetRecordText(info.fModel), model))
            continue;
        u32 status = NSKinvarCodec::kCodecProgrammingError;
        NSKinvarCodec::IControlSurface* surface = codec ? codec->ICodec2_CreateControlSurface(info, &status) : nullptr;
        if (surface == nullptr || status != NSKinvarCodec::kCodecOK)
        {
            codecsurface_deleter()(surface);
            return nullptr;
        }
        return TControlSurfacePtr(surface, codecsurface_deleter());
    }
    return nullptr;
}
} // namespace

TMapCheckResult CheckMapFile(const TCodecSurfaceList& surfaces, const std::filesystem::path& file)
{
    return CheckMapText(surfaces, ReadMapText(file));
}

TMapCheckResult CheckMapText(const TCodecSurfaceList& surfaces, std::u16string_view text)
{
    TMapCheckResult result;
    TText16 manufacturer;
    TText16 model;
    std::array<u32, 3> version{};
    try
    {
        ReadMapHeader(text, manufacturer, model, version, result.fErrorText, &result.fFaults);
    }
    catch (const XBadFormat&)
    {
        result.fOutcome = EMapCheckOutcome::kHeaderFault;
        return result;
    }
    result.fManufacturer = manufacturer;
    result.fModel = model;
    const TControlSurfacePtr surface = MakeSurfaceFor(surfaces, manufacturer, model);
    if (!surface)
    {
        result.fOutcome = EMapCheckOutcome::kCodecNotLoaded;
        return result;
    }
    TControlSurfaceInfo info{};
    ThrowCodecResult(surface->IControlSurface_GetInfo(&info));
    result.fItems = GetItemInfos(*surface);
    result.fStateNames = *GetItemStateNames(*surface);
    const auto map = std::make_shared<VControlSurfaceMap>(GetRecordText(info.fManufacturer),
                                                          GetRecordText(info.fModel), result.fItems);
    try
    {
        ReadMapFile(text, *map, result.fStateNames, result.fErrorText, &result.fFaults);
    }
    catch (const XBadFormat&)
    {
        result.fOutcome = EMapCheckOutcome::kFaulty;
        return result;
    }
    result.fOutcome = result.fErrorText.empty() ? EMapCheckOutcome::kGood : EMapCheckOutcome::kFaulty;
    result.fMap = map;
    return result;
}

void ValidateMapFile(const TCodecSurfaceList& surfaces, const std::filesystem::path& file)
{
    const TMapCheckResult result = CheckMapFile(surfaces, file);
    switch (result.fOutcome)
    {
    case EMapCheckOutcome::kGood:
        Alert(TText16(kMapIsOkAlert), false);
        break;
    case EMapCheckOutcome::kCodecNotLoaded:
        AddToLog(TText16(kCodecNotLoadedText) + u'\n');
        break;
    case EMapCheckOutcome::kFaulty:
        if (!result.fErrorText.empty())
            AddToLog(result.fErrorText);
        throw XBadFormat();
    case EMapCheckOutcome::kHeaderFault:
        throw XBadFormat();
    }
}
} // namespace NSKinvar
