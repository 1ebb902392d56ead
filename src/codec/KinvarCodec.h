#pragma once
// The binary contract between a Kinvar host and a codec.
//
// A codec translates between the MIDI bytes of one family of control surfaces
// and the abstract items of those surfaces. Codecs are built apart from the
// host, by other people, at another time, with another runtime: this header is
// all that the two sides share. That settles its shape:
//
//   - Every interface is an abstract class of plain virtual operations, whose
//     order below is part of the contract. None has a virtual destructor among
//     its operations: an object is freed by its own Destroy operation, in the
//     module that made it. A class that implements ICodec2 or IControlSurface
//     declares its own virtual destructor behind the contract's operations.
//   - Records are flat, fixed-size blocks of integers and zero-terminated UTF-16
//     arrays, laid out in declaration order with natural alignment, handed over
//     by address. A record is zero-filled before it is filled in; a text longer
//     than its array is cut.
//   - No standard-library object, no exception and no allocation crosses the
//     boundary. Every operation reports through a status word of 32 bits.
//
// This header includes standard headers only, so that a module author needs
// nothing else. docs/codec-contract.md explains the call order to authors.

#include <cstddef>
#include <cstdint>

namespace NSKinvarCodec
{
using u8 = std::uint8_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i64 = std::int64_t;
using char16 = char16_t;

// ---- Limits -----------------------------------------------------------------

// The longest MIDI message that crosses the boundary, sysex included.
inline constexpr u32 kMaxMIDIEventSize = 1024;
// The most input and the most output ports of one surface.
inline constexpr u32 kMaxPortCount = 16;
// Characters of each text field, without the terminator.
inline constexpr u32 kMaxSurfaceNameLength = 256;
inline constexpr u32 kMaxPortNameLength = 32;
inline constexpr u32 kMaxSetupTextLength = 1024;
inline constexpr u32 kMaxItemNameLength = 64;
inline constexpr u32 kMaxValueTextLength = 64;
inline constexpr u32 kMaxShortNameLength = 8;
inline constexpr u32 kMaxShortestNameLength = 4;
inline constexpr u32 kMaxShortNameAndValueLength = 16;
inline constexpr u32 kMaxShortestNameAndValueLength = 8;
// Bytes of the buffer of IControlSurface_GetUniqueName, terminator included.
inline constexpr u32 kUniqueNameBufferSize = 2048;
// A surface picture is a block of 96 by 96 pixels of 32 bits.
inline constexpr u32 kPictureWidth = 96;
inline constexpr u32 kPictureHeight = 96;
// A probe's port map: 16 output port indices, then 16 input port indices.
inline constexpr u32 kPortMapSize = 32;
inline constexpr u32 kPortMapFirstInPort = 16;
inline constexpr u32 kUnusedPort = 0xFFFFFFFF;

// ---- Item kinds ---------------------------------------------------------------

// What an item reports. The numbers are part of the contract.
inline constexpr u32 kInputButton = 67;
inline constexpr u32 kInputValue = 68;
inline constexpr u32 kInputDelta = 69;
inline constexpr u32 kInputKeyboard = 70;
inline constexpr u32 kInputNone = 71;

// What an item can show. kInputNone with kOutputValue is a lamp when the range
// is exactly 0 to 1 and a meter when it spans more; kInputNone with kOutputText
// is a text display.
inline constexpr u32 kOutputValue = 44;
inline constexpr u32 kOutputText = 45;
inline constexpr u32 kOutputNone = 46;

// ---- Status words ---------------------------------------------------------------

// Each word stands for one failure class of the host; numbers between them are
// reserved, and a reserved number is no success.
inline constexpr u32 kCodecOK = 23000;
inline constexpr u32 kCodecOutOfMemory = 23001;
inline constexpr u32 kCodecInvalidArgument = 23002;
inline constexpr u32 kCodecInvariantCorrupt = 23003;
inline constexpr u32 kCodecIllegalCallSequence = 23004;
inline constexpr u32 kCodecProgrammingError = 23005;
inline constexpr u32 kCodecUnsupportedInterface = 23006;
inline constexpr u32 kCodecBadFormat = 23014;
inline constexpr u32 kCodecUnsupportedFormat = 23015;
inline constexpr u32 kCodecUnknownError = 23021;
// From here up a word is an application's own error and travels as it is.
inline constexpr u32 kCodecFirstApplicationError = 100000;

// ---- Records ------------------------------------------------------------------

// One MIDI message with its time. Arrays of these go as a pointer and a count.
struct TMIDIEvent
{
    u64 fTime; // from the MIDI port; 0 on messages that a codec generates
    u32 fSize; // valid bytes in fData, at most kMaxMIDIEventSize
    u8 fData[kMaxMIDIEventSize]; // status byte first; sysex with its F0 and F7
};

// One surface model that a codec supports; also the key by which the host asks
// for that model.
struct TControlSurfaceInfo
{
    char16 fManufacturer[kMaxSurfaceNameLength + 1];
    char16 fModel[kMaxSurfaceNameLength + 1];
    u32 fInPortCount; // at most kMaxPortCount
    char16 fInPortNames[kMaxPortCount][kMaxPortNameLength + 1];
    u32 fInPortOptional[kMaxPortCount]; // non-zero: the user may leave it unassigned
    u32 fOutPortCount;                  // at most kMaxPortCount
    char16 fOutPortNames[kMaxPortCount][kMaxPortNameLength + 1];
    u32 fOutPortOptional[kMaxPortCount];
    u32 fHasKeyboard; // 1 when the surface has a keyboard item
    char16 fSetupInfoText[kMaxSetupTextLength + 1];
    char16 fSetupWarningText[kMaxSetupTextLength + 1];
    char16 fSetupUserActionText[kMaxSetupTextLength + 1];
};

// The static description of one item. Items are addressed by index, from 0,
// in the order of the codec's item list.
struct TItemInfo
{
    char16 fName[kMaxItemNameLength + 1]; // mapping files name items by it
    u32 fInputKind;                       // kInput...
    u32 fOutputKind;                      // kOutput...
    i64 fMin;                             // inclusive
    i64 fMax;                             // inclusive
    u32 fStateCount;                      // named output states; 0 for none
};

// One decoded input of an item.
//   kInputButton    fValue1 within fMin to fMax; 1 pressed, 0 released
//   kInputValue     fValue1 absolute, within fMin to fMax
//   kInputDelta     fValue1 a signed step, never 0; positive is up
//   kInputKeyboard  fValue1 1 key down, 0 key up; fValue2 key, fValue3 velocity, 0 to 127
struct TItemInput
{
    u64 fTime; // fTime of the TMIDIEvent that caused the input
    u32 fItemIndex;
    i64 fValue1;
    i64 fValue2;
    i64 fValue3;
};

// What the host wants one item to show now. With fEnabled 0 all further fields
// are zero. The three pairs of name lengths serve displays of different widths.
struct TItemState
{
    u32 fEnabled;
    i64 fValue;       // within fMin to fMax, for kOutputValue items
    u32 fStateIndex;  // a named state, at most fStateCount when that is not 0
    char16 fName[kMaxItemNameLength + 1];
    char16 fValueText[kMaxValueTextLength + 1];
    char16 fShortName[kMaxShortNameLength + 1];
    char16 fShortestName[kMaxShortestNameLength + 1];
    char16 fNameAndValue[kMaxValueTextLength + 1];
    char16 fShortNameAndValue[kMaxShortNameAndValueLength + 1];     // built on fShortName
    char16 fShortestNameAndValue[kMaxShortestNameAndValueLength + 1]; // built on fShortestName
};

// ---- Interfaces -----------------------------------------------------------------

class IControlSurface;

// The host's debug channel, given to a codec by ICodec2_SetDebugger.
class IDebugger
{
public:
    // Reports a failed assertion as the host's own.
    virtual void IDebugger_Assert(const char* file, u32 line, const char* text) = 0;
    // One line of trace; a line that begins with "[Lua]" also reaches the log window.
    virtual void IDebugger_Trace(const char* text) = 0;
    virtual void IDebugger_Indent() = 0;
    virtual void IDebugger_Outdent() = 0;
    // Behind the four operations, where it disturbs no caller's slots.
    virtual ~IDebugger() = default;
};

// A message for the user; the host writes what it collected into its log after
// the call that carried the getter, before it looks at the status.
class ITextGetter
{
public:
    virtual u32 ITextGetter_Take(const char16* text) = 0;

protected:
    ~ITextGetter() = default;
};

// Receives the models of a codec in one call; the block is valid during the call.
class IControlSurfaceInfoGetter
{
public:
    virtual u32 IControlSurfaceInfoGetter_Take(const TControlSurfaceInfo* infos, u32 count) = 0;

protected:
    ~IControlSurfaceInfoGetter() = default;
};

// Receives MIDI from a surface or a prober; the block is valid during the call.
// A surface with nothing to send need not call it, or calls it with 0.
class IMIDIEventGetter
{
public:
    virtual u32 IMIDIEventGetter_Take(const TMIDIEvent* events, u32 count) = 0;

protected:
    ~IMIDIEventGetter() = default;
};

// The host's receiver of decoded input. It may be called on whichever thread
// delivered the MIDI message, and it copies the record.
class IControlSurfaceInputHandler
{
public:
    virtual u32 IControlSurfaceInputHandler_HandleInput(IControlSurface* surface,
                                                        const TItemInput* input) = 0;

protected:
    ~IControlSurfaceInputHandler() = default;
};

// The ports that a probe may use.
class IMIDIProber
{
public:
    virtual u32 IMIDIProber_GetOutPortCount(u32* count) = 0;
    virtual u32 IMIDIProber_SendEvents(u32 outPort, u32 count, const TMIDIEvent* events) = 0;
    virtual u32 IMIDIProber_GetInPortCount(u32* count) = 0;
    // Hands over what arrived at that port since the last call.
    virtual u32 IMIDIProber_GetEvents(u32 inPort, IMIDIEventGetter& getter) = 0;

protected:
    ~IMIDIProber() = default;
};

// Called once for each surface that a probe found. portMap holds kPortMapSize
// words: the surface's 16 output ports, then its 16 input ports, each an index
// into the prober's ports, kUnusedPort where unused.
class IProbeResultGetter
{
public:
    virtual u32 IProbeResultGetter_Take(const char* uniqueName, const u32* portMap) = 0;

protected:
    ~IProbeResultGetter() = default;
};

// One instance of one surface model with its items.
class IControlSurface
{
public:
    // 1 when the object is sound.
    virtual u32 IControlSurface_CheckInvariant() = 0;
    // Fills buffer (kUniqueNameBufferSize bytes) with the zero-terminated unique name.
    virtual u32 IControlSurface_GetUniqueName(char* buffer) = 0;
    virtual u32 IControlSurface_GetInfo(TControlSurfaceInfo* info) = 0;
    virtual u32 IControlSurface_GetItemCount(u32* count) = 0;
    virtual u32 IControlSurface_GetItemInfo(u32 itemIndex, TItemInfo* info) = 0;
    // stateIndex below the item's fStateCount; the name comes back zero-terminated.
    virtual u32 IControlSurface_GetItemStateName(u32 itemIndex, u32 stateIndex,
                                                 char16* name) = 0;
    // What to send to that output port at start.
    virtual u32 IControlSurface_GetStartupEvents(IMIDIEventGetter& getter, u32 outPort,
                                                 ITextGetter& messages) = 0;
    // May be null.
    virtual u32 IControlSurface_SetInputHandler(IControlSurfaceInputHandler* handler) = 0;
    // One MIDI message from that input port; comes on a MIDI thread.
    virtual u32 IControlSurface_HandleMIDIEvent(const TMIDIEvent* event, u32 inPort,
                                                ITextGetter& messages) = 0;
    // One state for each item, by item index.
    virtual u32 IControlSurface_SetItemStates(u32 count, const TItemState* states,
                                              ITextGetter& messages) = 0;
    // What to send to that output port in this output frame. maxBytes is what
    // the wire carries in one frame, a request that the host does not enforce.
    virtual u32 IControlSurface_GetOutputEvents(u32 maxBytes, u32 outPort,
                                                IMIDIEventGetter& getter,
                                                ITextGetter& messages) = 0;
    // What to send to that output port at the end.
    virtual u32 IControlSurface_GetShutdownEvents(IMIDIEventGetter& getter, u32 outPort,
                                                  ITextGetter& messages) = 0;
    // The object is gone on return.
    virtual u32 IControlSurface_Destroy() = 0;

protected:
    ~IControlSurface() = default;
};

// One loaded codec.
class ICodec2
{
public:
    // 1 when the object is sound.
    virtual u32 ICodec2_CheckInvariant() = 0;
    // The host's debug channel, or null to withdraw it.
    virtual u32 ICodec2_SetDebugger(IDebugger* debugger) = 0;
    // result 1: the host may keep this object alive in its cache between uses.
    virtual u32 ICodec2_GetMayStayLoaded(u32* result) = 0;
    // Calls getter once with all supported models; problems that are no
    // failure go to messages.
    virtual u32 ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter& getter,
                                           ITextGetter& messages) = 0;
    // Null with status set on failure.
    virtual IControlSurface* ICodec2_CreateControlSurface(const TControlSurfaceInfo& info,
                                                          u32* status) = 0;
    // Null and kCodecUnsupportedInterface when no model has that unique name.
    virtual IControlSurface* ICodec2_CreateControlSurfaceByName(const char* uniqueName,
                                                                u32* status) = 0;
    // pixels: kPictureWidth by kPictureHeight words that the caller provides;
    // hasPicture 0 when the model has none.
    virtual u32 ICodec2_GetControlSurfacePicture(const TControlSurfaceInfo& info,
                                                 u32* hasPicture, u32* pixels) = 0;
    virtual u32 ICodec2_ProbeForControlSurface(IMIDIProber& prober,
                                               const TControlSurfaceInfo& info,
                                               IProbeResultGetter& results,
                                               ITextGetter& messages) = 0;
    // The object is gone on return.
    virtual u32 ICodec2_Destroy() = 0;

protected:
    ~ICodec2() = default;
};

// ---- Module exports -----------------------------------------------------------

// A codec module exports these with plain C linkage, by these names.
inline constexpr const char* kCodecFactoryName = "KinvarCodec_Create";
inline constexpr const char* kSetLuaCodecName = "SetLuaCodec";
inline constexpr const char* kSetLuaCodecsDirName = "SetLuaCodecsDir";
// The interface name that the host asks the factory for.
inline constexpr const char* kCodecInterfaceName = "ICodec2";

// Required. status is kCodecProgrammingError on entry, so that a module that
// forgets to set it is reported as faulty.
using TKinvarCodecCreate = ICodec2* (*)(const char* interfaceName, u32* status);
// Optional: binds a script, given by URL, to this codec object.
using TSetLuaCodec = void (*)(ICodec2* codec, const char* url, u32* status,
                              ITextGetter* messages);
// Optional: tells a script host module where scripts lie.
using TSetLuaCodecsDir = void (*)(ICodec2* codec, const char* folder, u32* status);

// ---- Layout checks ------------------------------------------------------------

// Both sides of the boundary must agree on every byte of the records.
static_assert(sizeof(char16) == 2);

static_assert(offsetof(TMIDIEvent, fTime) == 0);
static_assert(offsetof(TMIDIEvent, fSize) == 8);
static_assert(offsetof(TMIDIEvent, fData) == 12);
static_assert(sizeof(TMIDIEvent) == 1040);

static_assert(offsetof(TControlSurfaceInfo, fManufacturer) == 0);
static_assert(offsetof(TControlSurfaceInfo, fModel) == 514);
static_assert(offsetof(TControlSurfaceInfo, fInPortCount) == 1028);
static_assert(offsetof(TControlSurfaceInfo, fInPortNames) == 1032);
static_assert(offsetof(TControlSurfaceInfo, fInPortOptional) == 2088);
static_assert(offsetof(TControlSurfaceInfo, fOutPortCount) == 2152);
static_assert(offsetof(TControlSurfaceInfo, fOutPortNames) == 2156);
static_assert(offsetof(TControlSurfaceInfo, fOutPortOptional) == 3212);
static_assert(offsetof(TControlSurfaceInfo, fHasKeyboard) == 3276);
static_assert(offsetof(TControlSurfaceInfo, fSetupInfoText) == 3280);
static_assert(offsetof(TControlSurfaceInfo, fSetupWarningText) == 5330);
static_assert(offsetof(TControlSurfaceInfo, fSetupUserActionText) == 7380);
static_assert(sizeof(TControlSurfaceInfo) == 9432);

static_assert(offsetof(TItemInfo, fName) == 0);
static_assert(offsetof(TItemInfo, fInputKind) == 132);
static_assert(offsetof(TItemInfo, fOutputKind) == 136);
static_assert(offsetof(TItemInfo, fMin) == 144);
static_assert(offsetof(TItemInfo, fMax) == 152);
static_assert(offsetof(TItemInfo, fStateCount) == 160);
static_assert(sizeof(TItemInfo) == 168);

static_assert(offsetof(TItemInput, fTime) == 0);
static_assert(offsetof(TItemInput, fItemIndex) == 8);
static_assert(offsetof(TItemInput, fValue1) == 16);
static_assert(offsetof(TItemInput, fValue2) == 24);
static_assert(offsetof(TItemInput, fValue3) == 32);
static_assert(sizeof(TItemInput) == 40);

static_assert(offsetof(TItemState, fEnabled) == 0);
static_assert(offsetof(TItemState, fValue) == 8);
static_assert(offsetof(TItemState, fStateIndex) == 16);
static_assert(offsetof(TItemState, fName) == 20);
static_assert(offsetof(TItemState, fValueText) == 150);
static_assert(offsetof(TItemState, fShortName) == 280);
static_assert(offsetof(TItemState, fShortestName) == 298);
static_assert(offsetof(TItemState, fNameAndValue) == 308);
static_assert(offsetof(TItemState, fShortNameAndValue) == 438);
static_assert(offsetof(TItemState, fShortestNameAndValue) == 472);
static_assert(sizeof(TItemState) == 496);
} // namespace NSKinvarCodec
