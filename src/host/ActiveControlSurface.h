#pragma once
// One running surface: the IControlSurface that a codec made, the MIDI ports
// chosen for it, the state of every item, and a record of what its output
// frames sent. It is the one object that touches both the codec contract and
// the port hub. The hub of active surfaces owns it and alone calls it on the
// user interface thread; the port hub calls Receive on a MIDI thread.
//
// Locks: fLock is held while a message is given to the codec, and while the
// surface withdraws its input handler at the end; not during frames, nor
// while the end messages go out (metered at wire speed, they would hold up
// the port's delivery). So a codec may see a frame on the user interface
// thread while it handles a message on a MIDI thread, and guards its own
// state against that. fLock is taken inside an open port's lock, and the
// hub's input lock inside fLock, never the other way.
//
// Failures of the codec and of the ports are the surface's own: a message
// that the codec fails to handle is lost, a frame that fails is lost, and
// each new kind of failure is said once in the log (CSurfaceFailures).

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"
#include "foundation/Types.h"
#include "host/MIDIEventGetter.h"
#include "host/OutputTraffic.h"
#include "host/SurfaceFailures.h"
#include "host/SurfacePorts.h"
#include "midi/MIDIHub.h"

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// Messages longer than this never reach a codec.
inline constexpr std::size_t kMaxReceivedMessageSize = NSKinvarCodec::kMaxMIDIEventSize;

// For the hub: its queue lost an input that a codec handed over on this
// thread. The codec's failure that follows is the host's, which the hub
// reports, and not the codec's.
void NoteInputLostByHost() noexcept;

class CActiveControlSurface final : public NSMIDIHub::IMIDIReceiver
{
public:
    // Opens the input ports (so input may arrive from here on), then the output
    // ports, then makes the surface through codec, gives it handler, and sends
    // its start messages on every assigned output port, metered at wire speed.
    // inPorts and outPorts hold one address for each port of the model, at most
    // 16, empty where an optional port is left out. Throws:
    //   a required port left empty   std::logic_error, "All non-optional MIDI
    //                                ports need to be chosen!" in the log too
    //   a port that won't open       the port hub's exception, and "Could not
    //                                open MIDI in port! Check if another
    //                                program is already using it!" (or "out")
    //                                in the log
    //   the codec refuses            ThrowCodecResult's exception for its
    //                                status
    // Ports opened so far close again. The ports are had through ports, which
    // must outlive the surface.
    CActiveControlSurface(const TCodecPtr& codec, const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                          const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts,
                          NSKinvarCodec::IControlSurfaceInputHandler* handler,
                          const NSKinvarCodec::TControlSurfaceInfo& info,
                          ISurfacePorts& ports = GetHubSurfacePorts());
    // The same with a handler of the surface's own, kept until the surface
    // has been destroyed.
    CActiveControlSurface(const TCodecPtr& codec, const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                          const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts,
                          std::shared_ptr<NSKinvarCodec::IControlSurfaceInputHandler> handler,
                          const NSKinvarCodec::TControlSurfaceInfo& info,
                          ISurfacePorts& ports = GetHubSurfacePorts());
    // Withdraws the input handler, sends the surface's end messages (a failure
    // there ends only that step), closes the ports, and destroys the surface
    // last.
    ~CActiveControlSurface();
    CActiveControlSurface(const CActiveControlSurface&) = delete;
    CActiveControlSurface& operator=(const CActiveControlSurface&) = delete;

    // On a MIDI thread. Active sensing, MTC quarter frames, song position and
    // clock (FE, F1, F2, F8), and messages over 1024 bytes, never reach the
    // codec, nor does anything once the surface is ending. The codec's
    // failure is reported and thrown to the port, which loses the message.
    // Ports are looked up in order without passing over unassigned ones:
    // input on a port behind an unassigned one is a failed assertion and
    // XProgrammingError.
    void Receive(const NSMIDIHub::CMIDIPortSpec& port, const u64* time,
                 const NSMIDIHub::TBinary& data) override;

    // One output frame: for each assigned output port that is present (not
    // vanished), the item states go to the surface, its output events to the
    // port, and the frame to the port's traffic record. maxBytes is passed
    // on, not enforced. A failure is reported and thrown: the rest of the
    // frame is lost.
    void DriveOutput(u32 maxBytes);
    // Whether an input that the codec handed over makes sense for its item;
    // what doesn't is reported, for the hub to drop it.
    bool CheckInput(const NSKinvarCodec::TItemInput& input);
    // Frames per second and bytes per second of an output port over the last
    // `milliseconds` (above 0).
    std::pair<u32, u32> GetOutputTraffic(u32 outPort, i64 milliseconds) const;

    const TText16& GetName() const { return fName; }
    void SetName(const TText16& name) { fName = name; }
    void GetInfo(NSKinvarCodec::TControlSurfaceInfo* result) const;
    u32 GetItemCount() const;
    NSKinvarCodec::TItemInfo GetItemInfo(u32 item) const;
    TText16 GetItemStateName(u32 item, u32 stateIndex) const;
    // An item past the end is a failed assertion and std::out_of_range.
    NSKinvarCodec::TItemState GetItemState(u32 item) const;
    // Only stores the state; the next frame sends it.
    void SetItemState(u32 item, const NSKinvarCodec::TItemState& state);
    bool HoldsSurface(const NSKinvarCodec::IControlSurface* surface) const;

private:
    void CheckItemInfos();
    void DriveOutputPorts(u32 maxBytes, TText16& failureText);
    void HandleMessage(const NSMIDIHub::CMIDIPortSpec& port, const u64* time, const NSMIDIHub::TBinary& data);
    void OpenInPorts(const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts);
    void OpenOutPorts(const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts);
    void CreateSurface(const TCodecPtr& codec, NSKinvarCodec::IControlSurfaceInputHandler* handler);
    void SendStartupEvents();
    void SendShutdownEvents() noexcept;
    u32 FindInPort(const NSMIDIHub::CMIDIPortSpec& port) const;
    CMIDIEventGetter MeteredGetter(u32 port) const;

    // An input port: its address, and its input reaching Receive while
    // fListening lives; fListening is empty where the port is not assigned.
    struct TInPort
    {
        NSMIDIHub::CMIDIPortSpec fSpec;
        std::shared_ptr<void> fListening;
    };

    // Declared first so that they go last: a message may still be on its way
    // in while the ports close, and the codec holds the handler until its
    // surface is destroyed.
    mutable std::mutex fLock;
    std::shared_ptr<NSKinvarCodec::IControlSurfaceInputHandler> fOwnHandler;
    // Set under fLock when the handler is withdrawn: no message reaches the
    // codec after that.
    bool fEnding = false;
    CSurfaceFailures fFailures;
    ISurfacePorts& fPorts;
    TControlSurfacePtr fControlSurface;
    NSKinvarCodec::TControlSurfaceInfo fInfo;
    TText16 fName;
    std::vector<NSKinvarCodec::TItemState> fItemStates;
    std::vector<TInPort> fInPorts;
    std::vector<std::shared_ptr<NSMIDIHub::IMIDISender>> fOutPorts;
    std::vector<COutputTraffic> fTraffic;
    // What the codec said of its items at the start, for CheckInput.
    std::vector<NSKinvarCodec::TItemInfo> fItemInfos;
};
