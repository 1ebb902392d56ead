#include "midi/AutoDetect.h"

#include "foundation/Assert.h"
#include "foundation/LogText.h"

#include <algorithm>

namespace NSKinvarSetupUtils
{
using namespace NSKinvarCodec;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
// Resolves one direction of a port map: the ports that the words name, in
// the model's port order, then empty addresses up to the model's count.
std::vector<CMIDIPortSpec> ResolvePorts(const u32* words, u32 portCount, const u32* optional,
                                        const std::vector<CMIDIPortSpec>& ports)
{
    portCount = std::min(portCount, kMaxPortCount);
    std::vector<CMIDIPortSpec> resolved;
    for (u32 i = 0; i < portCount; ++i)
    {
        if (words[i] == kUnusedPort)
            continue;
        BF_ASSERT(words[i] < ports.size());
        if (words[i] < ports.size())
            resolved.push_back(ports[words[i]]);
    }
    const auto optionalCount =
        std::count_if(optional, optional + portCount, [](u32 flag) { return flag != 0; });
    BF_ASSERT(resolved.size() + optionalCount >= portCount);
    resolved.resize(std::max<std::size_t>(resolved.size(), portCount));
    return resolved;
}

class CProbeResultGetter final : public IProbeResultGetter
{
public:
    CProbeResultGetter(const CMIDIProber& prober, const TControlSurfaceInfo& info,
                       const TCodecPtr& codec)
        : fProber(prober), fInfo(info), fCodec(codec)
    {
    }

    u32 IProbeResultGetter_Take(const char* uniqueName, const u32* portMap) override
    {
        return GuardEdge(kCodecEdge,
                         [&] { rProbeResult.push_back(MakeFind(uniqueName, portMap)); });
    }

    TDetectedSurfaces rProbeResult;

private:
    VDetectedKinvarControlSurface MakeFind(const char* uniqueName, const u32* portMap) const
    {
        VDetectedKinvarControlSurface find;
        find.fCodec = fCodec;
        find.fManufacturer = GetRecordText(fInfo.fManufacturer);
        find.fModel = GetRecordText(fInfo.fModel);
        find.fSetupWarningText = GetRecordText(fInfo.fSetupWarningText);
        find.fSetupInfoText = GetRecordText(fInfo.fSetupInfoText);
        find.fSetupUserActionText = GetRecordText(fInfo.fSetupUserActionText);
        find.fNeedsManualSetup = !find.fSetupUserActionText.empty();
        find.fUniqueName = uniqueName != nullptr ? uniqueName : "";

        std::vector<CMIDIPortSpec> inPorts;
        for (const auto& port : fProber.GetInPorts())
            inPorts.push_back(port->GetSpec());
        find.fInPorts = ResolvePorts(portMap + kPortMapFirstInPort, fInfo.fInPortCount,
                                     fInfo.fInPortOptional, inPorts);
        find.fOutPorts = ResolvePorts(portMap, fInfo.fOutPortCount, fInfo.fOutPortOptional,
                                      fProber.GetOutPortSpecs());
        return find;
    }

    const CMIDIProber& fProber;
    const TControlSurfaceInfo fInfo;
    const TCodecPtr fCodec;
};
} // namespace

TDetectedSurfaces AutodetectControlSurfacesOfModel(CMIDIProber& prober, const TCodecPtr& codec,
                                                   const TControlSurfaceInfo& info)
{
    CProbeResultGetter results(prober, info, codec);
    CTextGetter messages;
    const u32 status = codec->ICodec2_ProbeForControlSurface(prober, info, results, messages);
    if (messages.HasText())
        AddToLog(messages.GetText());
    ThrowCodecResult(status);
    return std::move(results.rProbeResult);
}

std::vector<TDetectedSurfaces> AutodetectControlSurfaces(const std::vector<TCodecModel>& models,
                                                         IAutoDetectProgress* progress,
                                                         NSMIDIHub::CMIDIHub& hub)
{
    if (progress != nullptr)
    {
        progress->IAutoDetectProgress_OnBegin();
        progress->IAutoDetectProgress_OnModelCount(static_cast<u32>(models.size()));
    }
    CMIDIProber prober(hub);
    std::vector<TDetectedSurfaces> found;
    for (u32 index = 0; index < models.size(); ++index)
    {
        const auto& [codec, info] = models[index];
        if (progress != nullptr)
            progress->IAutoDetectProgress_OnModelBegin(index, info);
        TDetectedSurfaces finds = AutodetectControlSurfacesOfModel(prober, codec, info);
        if (!finds.empty())
        {
            if (progress != nullptr)
                for (const auto& find : finds)
                    progress->IAutoDetectProgress_OnSurfaceFound(index, find);
            found.push_back(std::move(finds));
        }
        if (progress != nullptr)
            progress->IAutoDetectProgress_OnModelEnd(index, info);
    }
    if (progress != nullptr)
        progress->IAutoDetectProgress_OnEnd();
    return found;
}

std::vector<TDetectedSurfaces> AutodetectControlSurfaces(const std::vector<TCodecModel>& models,
                                                         IAutoDetectProgress* progress)
{
    return AutodetectControlSurfaces(models, progress, NSMIDIHub::GetMIDIHub());
}
} // namespace NSKinvarSetupUtils
