#pragma once
// Auto-detection: which of the known surface models are connected, and on
// which ports. Every port of the machine is opened once (CMIDIProber) and
// handed to each model's codec in turn; how a codec decides, and how long it
// listens, is the codec's business. The host sets no time limit of its own
// and tries nothing twice.
//
// The user interface thread; a probe blocks it as long as the codec waits.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"
#include "midi/MIDIHub.h"
#include "midi/MIDIProber.h"

#include <string>
#include <utility>
#include <vector>

namespace NSKinvarSetupUtils
{
// One surface found.
class VDetectedKinvarControlSurface
{
public:
    TText16 fManufacturer;
    TText16 fModel;
    // The name that the codec gave for this find (UTF-8).
    std::string fUniqueName;
    // The model record carries no flag of its own for this: a model that asks
    // the user to act on the hardware (a setup user action text) needs
    // manual setup.
    bool fNeedsManualSetup = false;
    TText16 fSetupWarningText;
    TText16 fSetupInfoText;
    TText16 fSetupUserActionText;
    // One entry for each port of the model; the ports found first, empty
    // addresses at the end.
    std::vector<NSMIDIHub::CMIDIPortSpec> fInPorts;
    std::vector<NSMIDIHub::CMIDIPortSpec> fOutPorts;
    TCodecPtr fCodec;
};

using TDetectedSurfaces = std::vector<VDetectedKinvarControlSurface>;
using TCodecModel = std::pair<TCodecPtr, NSKinvarCodec::TControlSurfaceInfo>;

// Told how a run goes; implemented by the progress dialog. Every operation is
// called on the user interface thread.
class IAutoDetectProgress
{
public:
    // Once, before the ports open.
    virtual void IAutoDetectProgress_OnBegin() = 0;
    // Once, before the ports open.
    virtual void IAutoDetectProgress_OnModelCount(u32 count) = 0;
    virtual void
    IAutoDetectProgress_OnModelBegin(u32 index, const NSKinvarCodec::TControlSurfaceInfo& info) = 0;
    // For each find, after the model's probe.
    virtual void
    IAutoDetectProgress_OnSurfaceFound(u32 index, const VDetectedKinvarControlSurface& surface) = 0;
    virtual void IAutoDetectProgress_OnModelEnd(u32 index,
                                                const NSKinvarCodec::TControlSurfaceInfo& info) = 0;
    // Once, at the end of a run that no probe failed.
    virtual void IAutoDetectProgress_OnEnd() = 0;

protected:
    ~IAutoDetectProgress() = default;
};

// Probes every model in order, all with one prober: what a codec leaves in
// the buffers is there for the next. Returns one vector for each model that
// was found at least once. progress may be null. A probe's failure leaves at
// once, its text written to the log window first; OnEnd is then not called
// and the later models aren't tried.
std::vector<TDetectedSurfaces> AutodetectControlSurfaces(const std::vector<TCodecModel>& models,
                                                         IAutoDetectProgress* progress,
                                                         NSMIDIHub::CMIDIHub& hub);
// On the hub of GetMIDIHub.
std::vector<TDetectedSurfaces> AutodetectControlSurfaces(const std::vector<TCodecModel>& models,
                                                         IAutoDetectProgress* progress);

// One model's probe over the prober's ports.
TDetectedSurfaces AutodetectControlSurfacesOfModel(CMIDIProber& prober, const TCodecPtr& codec,
                                                   const NSKinvarCodec::TControlSurfaceInfo& info);
} // namespace NSKinvarSetupUtils
