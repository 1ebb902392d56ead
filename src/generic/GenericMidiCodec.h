#pragma once
// The built-in generic MIDI codec. It finds the definition files, lists the
// models that they describe, makes CGenericMidiControlSurface objects, loads
// model pictures, and recognises connected surfaces by their identity
// messages. The host sees the same ICodec2 as from any module, made by
// CreateGenericMidiCodec instead of a module's factory.
//
// The scan walks the MIDI codec folders of the file layer (user's first, then
// the machine-wide ones), with their subfolders, and reads every file whose
// name ends in ".midicodec" without regard to case. The first file of a model
// wins; a broken file costs only its own model and a message for the user:
// "Failed to read .midicodec file: ", the file name, a line feed, and the
// reader's detail.
//
// No lock inside. The probe's wait is a busy loop on the calling thread.

#include "generic/GenericMidiCodecConfig.h"
#include "generic/GenericMidiCodecConfigReader.h"

#include "codec/KinvarCodec.h"
#include "foundation/FileHandling.h"
#include "foundation/TextCompare.h"
#include "foundation/Types.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace NSGenericMidiCodec
{
// The configs by (manufacturer, model), without regard to case or width: the
// order in which the models are listed.
using TConfigKey = std::pair<TText16, TText16>;
using TConfigMap = std::map<TConfigKey, CGenericMidiCodecConfig, CMPCaseInsensitiveStringPairLess>;

// Where a scan looks: folders to walk, and single files to read as they are.
struct TScanPlaces
{
    TFolderList fFolders;
    std::vector<std::filesystem::path> fFiles;
};
using TScanPlacesSource = std::function<TScanPlaces()>;

// The MIDI codec folders of the data folders, asked afresh at each scan.
TScanPlaces GetDefaultScanPlaces();

// One definition file, read as the scan reads it.
struct TDefinitionReadResult
{
    std::optional<CGenericMidiCodecConfig> fConfig;
    // The scan's message for a refused file; empty when it was accepted.
    TText16 fMessage;
    // Why it was refused, when the reader refused it.
    TDefinitionFault fFault;
};
TDefinitionReadResult ReadDefinitionFile(const std::filesystem::path& file);

// Whether a name ends in ".midicodec" without regard to case, and is longer.
bool IsDefinitionFileName(const std::filesystem::path& name);

// Whether a message matches an "Identity Response" mask: the message as upper-
// case hex digits, two a byte, against the mask, blanks in the mask skipped,
// "?" any one digit, other characters equal without regard to case. The mask
// is compared with the start of the message; a mask longer than the message
// never matches.
bool MatchesIdentityMask(std::string_view mask, const u8* data, u32 size);

// Whether a message answers an identity request.
using TAnswerTest = std::function<bool(const u8* data, u32 size)>;

// Probes for one model by its identity request: the request goes out on each
// output port in turn, and every input port is listened to for 25 ms. Each
// output port that gets an answer is one surface found, with the input ports
// that answered, at most modelInPortCount of them. The wait is a busy loop on
// the calling thread. Throws what the prober's and the getter's statuses stand for.
void ProbeByIdentity(NSKinvarCodec::IMIDIProber& prober, const std::vector<u8>& request, const TAnswerTest& isAnswer,
                     u32 modelInPortCount, const std::string& uniqueName, NSKinvarCodec::IProbeResultGetter& results);

class CGenericMidiCodec : public NSKinvarCodec::ICodec2
{
public:
    explicit CGenericMidiCodec(TScanPlacesSource places = GetDefaultScanPlaces);
    CGenericMidiCodec(const CGenericMidiCodec&) = delete;
    CGenericMidiCodec& operator=(const CGenericMidiCodec&) = delete;

    NSKinvarCodec::u32 ICodec2_CheckInvariant() override;
    NSKinvarCodec::u32 ICodec2_SetDebugger(NSKinvarCodec::IDebugger* debugger) override;
    NSKinvarCodec::u32 ICodec2_GetMayStayLoaded(NSKinvarCodec::u32* result) override;
    // Scans afresh: the configs of an earlier call are dropped, while surfaces
    // made from them keep their own copies.
    NSKinvarCodec::u32 ICodec2_GetControlSurfaces(NSKinvarCodec::IControlSurfaceInfoGetter& getter,
                                                  NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::IControlSurface* ICodec2_CreateControlSurface(const NSKinvarCodec::TControlSurfaceInfo& info,
                                                                 NSKinvarCodec::u32* status) override;
    NSKinvarCodec::IControlSurface* ICodec2_CreateControlSurfaceByName(const char* uniqueName,
                                                                       NSKinvarCodec::u32* status) override;
    NSKinvarCodec::u32 ICodec2_GetControlSurfacePicture(const NSKinvarCodec::TControlSurfaceInfo& info,
                                                        NSKinvarCodec::u32* hasPicture,
                                                        NSKinvarCodec::u32* pixels) override;
    // Sends the model's identity request on each output port in turn and
    // listens 25 ms on every input port: each output port that gets an answer
    // is one surface found.
    NSKinvarCodec::u32 ICodec2_ProbeForControlSurface(NSKinvarCodec::IMIDIProber& prober,
                                                      const NSKinvarCodec::TControlSurfaceInfo& info,
                                                      NSKinvarCodec::IProbeResultGetter& results,
                                                      NSKinvarCodec::ITextGetter& messages) override;
    NSKinvarCodec::u32 ICodec2_Destroy() override;

    virtual ~CGenericMidiCodec();

    // Fills configs from the places, and adds a message for each refused file.
    static void ScanForSupportedControlSurfaces(const TScanPlaces& places, TConfigMap& configs, TText16& messages);

private:
    template <class Body> NSKinvarCodec::u32 Guarded(Body&& body);
    const CGenericMidiCodecConfig& FindConfig(const NSKinvarCodec::TControlSurfaceInfo& info) const;

    TScanPlacesSource fPlaces;
    TConfigMap fConfigs;
};

// The factory of the built-in codec: a codec that scans the MIDI codec folders,
// its invariant checked. The caller frees it by ICodec2_Destroy (codec_deleter).
NSKinvarCodec::ICodec2* CreateGenericMidiCodec();
// The same over other places: for the check tool and for tests.
NSKinvarCodec::ICodec2* CreateGenericMidiCodec(TScanPlaces places);
} // namespace NSGenericMidiCodec
