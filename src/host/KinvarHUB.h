#pragma once
// The hub of active surfaces: the one place where running surfaces are kept.
// Windows hold a surface id and go through the hub; they never hold a
// CActiveControlSurface.
//
// The hub owns the active surfaces and answers for them by id, moves decoded
// input from MIDI threads to the user interface thread, and drives the output
// frames.
//
// Input crosses threads like this: a surface's codec calls
// IControlSurfaceInputHandler_HandleInput on the MIDI thread that delivered
// the message; the hub copies the input into a bounded queue and, when the
// queue leaves the empty state, posts the custom event kInputEvent through
// IVistal. One post stands for any number of elements. On the user interface
// thread the event leads to DriveInput, which empties the queue and calls the
// listeners of each element's surface.
//
// Each surface that the hub starts gets an input handler of its own, which
// queues its input under the surface's id: ids are never given out twice, so
// input that an ended surface left in the queue never reaches a surface that
// a codec made later at the same address. What a full queue loses is counted
// and said once in the log when the flood is over. DriveInput takes at most
// kInputDriveBudgetMs at a time and posts the event again for the rest, so
// that a flood can't take the user interface thread from the frames and the
// user.
//
// A running surface's failures are its own: DriveOutput goes on with the
// next surface. Before the frames it lets the port hub look after ports that
// vanished or came back (NSMIDIHub::CMIDIHub::WatchPorts), every
// kPortWatchIntervalMs while any surface runs.
//
// Every operation but IControlSurfaceInputHandler_HandleInput is for the user
// interface thread. An unknown surface id is a failed assertion and
// NSException::XNotFound.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"
#include "foundation/FIFO.h"
#include "foundation/Types.h"
#include "host/ActiveControlSurface.h"
#include "midi/MIDIHub.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// Told of the input of one surface; implemented by the hardware panel. Called
// on the user interface thread only.
class IInputListener
{
public:
    virtual void IInputListener_OnInput(const NSKinvarCodec::TItemInput* input) = 0;
    // An input that the hub dropped, since it doesn't fit its item (the log
    // says why). For runners that report it; the panel has nothing to do.
    virtual void IInputListener_OnDroppedInput(const NSKinvarCodec::TItemInput* input) { (void)input; }

protected:
    ~IInputListener() = default;
};

// One element of the input queue: the surface pointer that the codec passed,
// and a copy of its input.
struct TQueuedInput
{
    NSKinvarCodec::IControlSurface* fSurface;
    NSKinvarCodec::TItemInput fInput;
    // The id of the surface whose own handler queued it; 0 for input that
    // came through the hub's IControlSurfaceInputHandler_HandleInput, which
    // is found by the surface pointer.
    u32 fSurfaceId;
};

inline constexpr std::size_t kInputQueueCapacity = 5000;
inline constexpr i64 kInputDriveBudgetMs = 20;
inline constexpr i64 kPortWatchIntervalMs = 250;
// How long the queue must have lost nothing before its losses are told.
inline constexpr i64 kLostInputQuietMs = 1000;
// The bytes a MIDI wire carries in a second; a frame asks for its share.
inline constexpr u32 kWireBytesPerSecond = 3125;

class CKinvarHUB final : public NSKinvarCodec::IControlSurfaceInputHandler
{
public:
    // The surfaces have their ports through ports, which outlives the hub.
    explicit CKinvarHUB(ISurfacePorts& ports = GetHubSurfacePorts());
    CKinvarHUB(const CKinvarHUB&) = delete;
    CKinvarHUB& operator=(const CKinvarHUB&) = delete;

    // Starts a surface (see CActiveControlSurface for what it throws) and
    // returns its id. Ids count from 1 and are never given out twice, not even
    // after a construction that failed. name is what GetName answers.
    u32 CreateActiveControlSurface(const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
                                   const TText16& name, const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                                   const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts);
    // The surface stops when its last user lets go; input that it left in
    // the queue is dropped.
    void DeleteActiveControlSurface(u32 id);
    // Ends every surface, in id order, and forgets every listener: the end of
    // the run, before the codecs go. A window that still holds an id finds it
    // unknown afterwards (HasActiveControlSurface).
    void DeleteAllActiveControlSurfaces();
    bool HasActiveControlSurface(u32 id) const { return fSurfaces.contains(id); }

    TText16 GetName(u32 id) const;
    void GetControlSurfaceInfo(NSKinvarCodec::TControlSurfaceInfo* result, u32 id) const;
    u32 GetItemCount(u32 id) const;
    NSKinvarCodec::TItemInfo GetItemInfo(u32 id, u32 item) const;
    TText16 GetItemStateName(u32 id, u32 item, u32 stateIndex) const;
    NSKinvarCodec::TItemState GetItemState(u32 id, u32 item) const;
    // Only stores the state; the next output frame sends it.
    void SetItemState(u32 id, u32 item, const NSKinvarCodec::TItemState& state);

    // A listener hears one surface. Null, or a listener that is registered
    // already, is a failed assertion.
    void AddInputListener(u32 id, IInputListener* listener);
    // An unknown listener is passed over; one registered for another id is a
    // failed assertion.
    void RemoveInputListener(u32 id, IInputListener* listener);

    // Frames per second and bytes per second of an output port.
    std::pair<u32, u32> GetOutputTraffic(u32 id, u32 outPort, i64 milliseconds) const;

    // Empties the input queue, calling for each element the listeners of its
    // surface; an input that doesn't fit its item is reported and dropped
    // (IInputListener_OnDroppedInput).
    // After kInputDriveBudgetMs it stops and posts kInputEvent for the rest.
    // A listener may set item states, and may add or remove listeners and
    // surfaces (a nested event loop may): the walk is on copies, and a
    // listener removed meanwhile is not called.
    void DriveInput();
    // Looks after the ports and the lost input (see above), then one output
    // frame of every surface in id order, each asked for
    // kWireBytesPerSecond / framesPerSecond bytes (framesPerSecond above 0).
    // A surface that fails loses its own frame; the others run on, and the
    // first failure is thrown after them.
    void DriveOutput(u32 framesPerSecond);

    // On a MIDI thread: queues the input and posts kInputEvent when the queue
    // was empty. A full queue loses the input, and the codec hears 23021.
    NSKinvarCodec::u32 IControlSurfaceInputHandler_HandleInput(NSKinvarCodec::IControlSurface* surface,
                                                               const NSKinvarCodec::TItemInput* input) override;
    // The same for the handler of the surface of that id.
    NSKinvarCodec::u32 QueueInput(u32 id, NSKinvarCodec::IControlSurface* surface,
                                  const NSKinvarCodec::TItemInput* input);

    std::size_t GetSurfaceCount() const { return fSurfaces.size(); }
    // How many inputs wait. Any thread; a snapshot.
    std::size_t GetQueuedInputCount() const { return fInputQueue.GetSize(); }
    // How many inputs a full queue lost so far. Any thread.
    u64 GetLostInputCount() const { return fLostInputs.load(); }

private:
    std::shared_ptr<CActiveControlSurface> GetSurface(u32 id) const;
    u32 FindSurfaceId(const NSKinvarCodec::IControlSurface* surface) const;
    void DeliverInput(const TQueuedInput& element);
    void WatchPortsWhenDue();
    void ReportLostInput();

    ISurfacePorts& fPorts;
    std::map<u32, std::shared_ptr<CActiveControlSurface>> fSurfaces;
    std::mutex fInputLock;
    std::map<IInputListener*, u32> fInputListeners;
    // The queue and the last id given out belong to the hub, so that every
    // hub (the tests make their own) has its own; the process has one hub.
    CFIFO<TQueuedInput> fInputQueue{kInputQueueCapacity};
    u32 fNextSurfaceId = 0;
    // Inputs lost to a full queue, and when the last went (milliseconds of
    // the program's clock); written under fInputLock.
    std::atomic<u64> fLostInputs{0};
    std::atomic<u64> fLastLossMs{0};
    // The user interface thread's own.
    u64 fReportedLostInputs = 0;
    i64 fNextPortWatchMs = 0;
};

// The hub of the process, made at the first call. It lives until the
// process ends. The user interface thread.
CKinvarHUB& GetKinvarHUB();
