#pragma once
// The workbench's own windows, as the run behaviour and the commands need
// them. The GUI layer implements this; the host opens no window of its own.
// Every operation is for the user interface thread, and what it throws
// becomes the failed operation's status at the run behaviour's edge.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"
#include "midi/AutoDetect.h"
#include "midi/MIDIHub.h"

#include <memory>
#include <vector>

// Told by the selection dialog which surface the user chose, with one port
// address for each port of the model (empty where left out).
class IControlSurfaceSelectionListener
{
public:
    virtual void IControlSurfaceSelectionListener_SurfaceChosen(
        const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
        const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
        const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts) = 0;

protected:
    ~IControlSurfaceSelectionListener() = default;
};

// The progress dialog of one auto-detection: it shows the run, and lets the
// toolkit handle pending events at each step, since probing blocks the user
// interface thread.
class IAutoDetectProgressDialog
{
public:
    virtual ~IAutoDetectProgressDialog() = default;
    virtual NSKinvarSetupUtils::IAutoDetectProgress& GetProgress() = 0;
    virtual void Close() = 0;
};

class IWorkbenchWindows
{
public:
    virtual ~IWorkbenchWindows() = default;

    // The idle steps around the output frame, in this order: the log text
    // that other threads queued goes to the log window (which opens when
    // there is text); the hardware panels; the MIDI test window, if open.
    virtual void IWorkbenchWindows_FlushLog() = 0;
    virtual void IWorkbenchWindows_IdlePanels() = 0;
    virtual void IWorkbenchWindows_IdleMIDITestWindow() = 0;

    // "Create ControlSurface": the selection dialog, which calls listener on
    // its "Choose". It refuses to open when no codec is loaded.
    virtual void IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener& listener) = 0;
    // "MIDI Test" and "Show Log Window": each opens its window unless it is
    // open already.
    virtual void IWorkbenchWindows_OpenMIDITestWindow() = 0;
    virtual void IWorkbenchWindows_OpenLogWindow() = 0;
    // A hardware panel: it first starts the surface through the hub of active
    // surfaces (GetKinvarHUB().CreateActiveControlSurface), whose failures
    // pass on, and then shows it.
    virtual void IWorkbenchWindows_OpenHardwarePanel(const TCodecPtr& codec,
                                                     const NSKinvarCodec::TControlSurfaceInfo& info,
                                                     const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                                                     const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts) = 0;
    // The progress dialog of "AutoDetect"; never null.
    virtual std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() = 0;
};
