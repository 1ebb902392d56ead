#include "generic/GenericMidiCodec.h"

#include "generic/GenericMidiControlSurface.h"
#include "generic/SurfacePicture.h"

#include "codec/CodecSupport.h"
#include "codec/TableReader.h"
#include "foundation/Assert.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace NSGenericMidiCodec
{
using namespace NSKinvarCodec;
using NSKinvarCodec::kCodecOK;

namespace
{
constexpr std::u16string_view kReadFailure = u"Failed to read .midicodec file: ";
constexpr std::chrono::milliseconds kProbeListenTime{25};

[[noreturn]] void ThrowUnsupportedSurface() { throw std::invalid_argument("Unsupported Control Surface"); }

TText16 FileNameText(const std::filesystem::path& file)
{
    return NSTextPackage::Text16FromUTF8(file.filename().string(), u'?');
}

std::filesystem::path PicturePathFor(const std::filesystem::path& file)
{
    std::filesystem::path picture = file;
    picture.replace_extension(".png");
    std::error_code error;
    return std::filesystem::is_regular_file(picture, error) ? picture : std::filesystem::path();
}

// The scan's handler of the folder walk: files of the definition extension
// are read, plain subfolders walked.
class CCodecScannerHandler : public NSHarbryExtras::IDirScannerHandler
{
public:
    CCodecScannerHandler(TConfigMap& configs, TText16& messages) : fConfigs(configs), fMessages(messages) {}

    void IDirScannerHandler_FileFound(const NSHarbryExtras::TDirItem& item) override
    {
        if (IsDefinitionFileName(item.fPath))
            Take(item.fPath);
    }

    bool IDirScannerHandler_FolderFound(const NSHarbryExtras::TDirItem& item) override { return item.fFlags != 0; }

    // The first file of a model wins; a later one is dropped without a word.
    void Take(const std::filesystem::path& file)
    {
        TDefinitionReadResult result = ReadDefinitionFile(file);
        if (!result.fConfig)
        {
            fMessages.append(result.fMessage);
            if (fMessages.empty() || fMessages.back() != u'\n')
                fMessages.push_back(u'\n');
            return;
        }
        TConfigKey key(result.fConfig->fManufacturer, result.fConfig->fModel);
        fConfigs.try_emplace(std::move(key), std::move(*result.fConfig));
    }

private:
    TConfigMap& fConfigs;
    TText16& fMessages;
};

// Collects the input ports whose messages answer the identity request.
class CIdentityListener : public IMIDIEventGetter
{
public:
    explicit CIdentityListener(const TAnswerTest& isAnswer) : fIsAnswer(isAnswer) {}

    void SetPort(u32 inPort) { fPort = inPort; }
    const std::vector<u32>& GetFoundPorts() const { return fFound; }

    u32 IMIDIEventGetter_Take(const TMIDIEvent* events, u32 count) override
    {
        for (u32 i = 0; i < count; ++i)
        {
            if (fIsAnswer(events[i].fData, std::min(events[i].fSize, kMaxMIDIEventSize)))
                fFound.push_back(fPort);
        }
        return kCodecOK;
    }

private:
    const TAnswerTest& fIsAnswer;
    u32 fPort = 0;
    std::vector<u32> fFound;
};

char UpperHexDigit(u32 value) { return "0123456789ABCDEF"[value & 15]; }

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; }
} // namespace

TScanPlaces GetDefaultScanPlaces() { return TScanPlaces{GetMIDICodecFolders(), {}}; }

bool IsDefinitionFileName(const std::filesystem::path& name)
{
    const TText16 text = NSTextPackage::Text16FromUTF8(name.filename().string(), u'?');
    constexpr std::u16string_view extension = u".midicodec";
    if (text.size() <= extension.size())
        return false;
    return NSTextPackage::EqualTexts(std::u16string_view(text).substr(text.size() - extension.size()), extension);
}

TDefinitionReadResult ReadDefinitionFile(const std::filesystem::path& file)
{
    TDefinitionReadResult result;
    CGenericMidiCodecConfigReader reader;
    try
    {
        const std::vector<u8> bytes = NSHarbryUtils::ReadWholeFile(file);
        const std::string_view view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        CGenericMidiCodecConfig config = reader.Read(DecodeTableText(view), FileNameText(file));
        config.fPicturePath = PicturePathFor(file);
        result.fConfig = std::move(config);
    }
    catch (...)
    {
        result.fFault = reader.GetFault();
        result.fMessage = TText16(kReadFailure) + FileNameText(file) + u"\n" + result.fFault.fDetail;
    }
    return result;
}

bool MatchesIdentityMask(std::string_view mask, const u8* data, u32 size)
{
    std::size_t digit = 0;
    const std::size_t digitCount = std::size_t(size) * 2;
    for (const char m : mask)
    {
        if (m == ' ')
            continue;
        if (digit == digitCount)
            return false;
        const u8 byte = data[digit / 2];
        const char actual = UpperHexDigit(digit % 2 == 0 ? byte >> 4 : byte);
        ++digit;
        if (m != '?' && UpperCase(m) != actual)
            return false;
    }
    return true;
}

CGenericMidiCodec::CGenericMidiCodec(TScanPlacesSource places) : fPlaces(std::move(places)) {}

CGenericMidiCodec::~CGenericMidiCodec() = default;

template <class Body> u32 CGenericMidiCodec::Guarded(Body&& body)
{
    return GuardCodecOperation([this] { return ICodec2_CheckInvariant(); }, std::forward<Body>(body));
}

// Nothing can fall out of step: the configs are replaced whole at each scan.
u32 CGenericMidiCodec::ICodec2_CheckInvariant() { return 1; }

u32 CGenericMidiCodec::ICodec2_SetDebugger(IDebugger*)
{
    return Guarded([] {});
}

u32 CGenericMidiCodec::ICodec2_GetMayStayLoaded(u32* result)
{
    return Guarded([&] {
        if (result == nullptr)
            throw std::invalid_argument("NULL result pointer");
        *result = 1;
    });
}

void CGenericMidiCodec::ScanForSupportedControlSurfaces(const TScanPlaces& places, TConfigMap& configs,
                                                         TText16& messages)
{
    BF_TRACE("Scanning for MIDI codecs...");
    CCodecScannerHandler handler(configs, messages);
    for (const std::filesystem::path& folder : places.fFolders)
    {
        BF_TRACE("%s...scanning directory", folder.string().c_str());
        WalkFolder(folder, handler);
    }
    for (const std::filesystem::path& file : places.fFiles)
        handler.Take(file);
    BF_TRACE("Done scanning for codecs");
}

u32 CGenericMidiCodec::ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter& getter, ITextGetter& messages)
{
    return Guarded([&] {
        TConfigMap configs;
        TText16 text;
        ScanForSupportedControlSurfaces(fPlaces(), configs, text);
        fConfigs = std::move(configs);
        if (!text.empty())
            ThrowCodecResult(messages.ITextGetter_Take(text.c_str()));
        std::vector<TControlSurfaceInfo> infos(fConfigs.size());
        std::size_t index = 0;
        for (const auto& entry : fConfigs)
            FillControlSurfaceInfo(entry.second, infos[index++]);
        ThrowCodecResult(getter.IControlSurfaceInfoGetter_Take(infos.data(), u32(infos.size())));
    });
}

const CGenericMidiCodecConfig& CGenericMidiCodec::FindConfig(const TControlSurfaceInfo& info) const
{
    const auto found = fConfigs.find(TConfigKey(GetRecordText(info.fManufacturer), GetRecordText(info.fModel)));
    if (found == fConfigs.end())
        ThrowUnsupportedSurface();
    return found->second;
}

IControlSurface* CGenericMidiCodec::ICodec2_CreateControlSurface(const TControlSurfaceInfo& info, u32* status)
{
    IControlSurface* surface = nullptr;
    const u32 result = Guarded([&] { surface = new CGenericMidiControlSurface(FindConfig(info)); });
    if (status != nullptr)
        *status = result;
    return surface;
}

IControlSurface* CGenericMidiCodec::ICodec2_CreateControlSurfaceByName(const char* uniqueName, u32* status)
{
    IControlSurface* surface = nullptr;
    bool found = false;
    u32 result = Guarded([&] {
        const TText16 wanted = NSTextPackage::Text16FromUTF8(uniqueName == nullptr ? "" : uniqueName, u'?');
        for (const auto& entry : fConfigs)
        {
            const TText16 name = NSTextPackage::Text16FromUTF8(MakeUniqueName(entry.second), u'?');
            if (NSTextPackage::EqualTexts(name, wanted))
            {
                surface = new CGenericMidiControlSurface(entry.second);
                found = true;
                return;
            }
        }
    });
    if (result == kCodecOK && !found)
        result = kCodecUnsupportedInterface;
    if (status != nullptr)
        *status = result;
    return surface;
}

u32 CGenericMidiCodec::ICodec2_GetControlSurfacePicture(const TControlSurfaceInfo& info, u32* hasPicture,
                                                        u32* pixels)
{
    return Guarded([&] {
        const CGenericMidiCodecConfig& config = FindConfig(info);
        if (pixels == nullptr)
            throw std::invalid_argument("NULL pixels pointer");
        if (hasPicture == nullptr)
            throw std::invalid_argument("NULL hasPicture pointer");
        *hasPicture = 0;
        if (config.fPicturePath.empty())
            return;
        ReadPNGPicture(config.fPicturePath, kPictureWidth, kPictureHeight,
                       std::span<u32>(pixels, std::size_t(kPictureWidth) * kPictureHeight));
        *hasPicture = 1;
    });
}

u32 CGenericMidiCodec::ICodec2_ProbeForControlSurface(IMIDIProber& prober, const TControlSurfaceInfo& info,
                                                      IProbeResultGetter& results, ITextGetter&)
{
    return Guarded([&] {
        const CGenericMidiCodecConfig& config = FindConfig(info);
        if (config.fIdentityRequest.empty() || config.fIdentityResponse.empty())
            return;
        const std::string_view mask = config.fIdentityResponse;
        ProbeByIdentity(prober, config.fIdentityRequest,
                        [mask](const u8* data, u32 size) { return MatchesIdentityMask(mask, data, size); },
                        config.fInPortCount, MakeUniqueName(config), results);
    });
}

void ProbeByIdentity(IMIDIProber& prober, const std::vector<u8>& request, const TAnswerTest& isAnswer,
                     u32 modelInPortCount, const std::string& uniqueName, IProbeResultGetter& results)
{
    u32 outPortCount = 0;
    u32 inPortCount = 0;
    ThrowCodecResult(prober.IMIDIProber_GetOutPortCount(&outPortCount));
    ThrowCodecResult(prober.IMIDIProber_GetInPortCount(&inPortCount));
    if (outPortCount == 0 || inPortCount == 0)
        return;
    TMIDIEvent event{};
    event.fSize = u32(std::min<std::size_t>(request.size(), kMaxMIDIEventSize));
    std::copy_n(request.begin(), event.fSize, event.fData);
    for (u32 outPort = 0; outPort < outPortCount; ++outPort)
    {
        ThrowCodecResult(prober.IMIDIProber_SendEvents(outPort, 1, &event));
        CIdentityListener listener(isAnswer);
        const auto end = std::chrono::steady_clock::now() + kProbeListenTime;
        while (std::chrono::steady_clock::now() < end)
        {
            for (u32 inPort = 0; inPort < inPortCount; ++inPort)
            {
                listener.SetPort(inPort);
                ThrowCodecResult(prober.IMIDIProber_GetEvents(inPort, listener));
            }
            std::this_thread::yield();
        }
        const std::vector<u32>& found = listener.GetFoundPorts();
        if (found.empty())
            continue;
        u32 portMap[kPortMapSize];
        std::fill(std::begin(portMap), std::end(portMap), kUnusedPort);
        portMap[0] = outPort;
        for (std::size_t k = 0; k < found.size() && k < kMaxPortCount && k < modelInPortCount; ++k)
            portMap[kPortMapFirstInPort + k] = found[k];
        ThrowCodecResult(results.IProbeResultGetter_Take(uniqueName.c_str(), portMap));
    }
}

u32 CGenericMidiCodec::ICodec2_Destroy()
{
    delete this;
    return kCodecOK;
}

namespace
{
ICodec2* MakeCheckedCodec(TScanPlacesSource places)
{
    auto* codec = new CGenericMidiCodec(std::move(places));
    BF_ASSERT(codec->ICodec2_CheckInvariant() == 1);
    return codec;
}
} // namespace

ICodec2* CreateGenericMidiCodec() { return MakeCheckedCodec(GetDefaultScanPlaces); }

ICodec2* CreateGenericMidiCodec(TScanPlaces places)
{
    return MakeCheckedCodec([places = std::move(places)] { return places; });
}
} // namespace NSGenericMidiCodec
