#pragma once
// The two value conversions of a host that executes a map: an item's input
// becomes a command for the Kinvarable that the map line names, and a
// Kinvarable's state becomes what the item shows. Pure functions; any thread.

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"

namespace NSKinvar
{
// The kinds of Kinvarable a map line can drive.
enum ETargetKind : u32
{
    kTargetTrigger = 32,     // fires on a press
    kTargetToggle = 33,      // flips, or is set to one of its ends
    kTargetSwitch = 34,      // on while held, or set to 1 or 0
    kTargetContinuous = 35,  // an absolute value in its range
    kTargetIncremental = 36, // moved by steps
    kTargetNotes = 37,       // takes whole keyboard events
    kTargetNone = 38,        // takes nothing
};

// What a Kinvarable is told.
enum ECommandCode : u32
{
    kCommandTrigger = 26,
    kCommandToggle = 27,
    kCommandSetValue = 28,
    kCommandStep = 29,
    kCommandNote = 30,
};

struct TTargetDescription
{
    u32 fKind = kTargetNone;
    i64 fMin = 0;
    i64 fMax = 0;
    TText16 fName;
    TText16 fShortName;
    TText16 fShortestName;
};

struct TKinvarableCommand
{
    u32 fCode = 0;
    i64 fValue = 0;
    i64 fNote = 0;     // kCommandNote only
    i64 fVelocity = 0; // kCommandNote only
};

// A command record names a known code, and a note command a key and velocity
// that fit MIDI.
bool IsKinvarableCommandValid(const TKinvarableCommand& command);

// An input of an item, with the scale of the map line that carries it.
struct TItemEvent
{
    NSKinvarCodec::TItemInput fInput{};
    i64 fScale = 0;
    NSKinvarCodec::TItemInfo fItem{};
};

// False when the input doesn't fit its item or means nothing to the target;
// command is then unchanged.
bool MakeKinvarableCommand(const TItemEvent& event, const TTargetDescription& target,
                           TKinvarableCommand& command);

// A Kinvarable's state as its host reports it.
struct TTargetState
{
    bool fValid = false;
    i64 fValue = 0;
    TText16 fValueText;
    TText16 fNameAndValue;
    TText16 fShortNameAndValue;
    TText16 fShortestNameAndValue;
};

// The item state that shows target's state on item in mode; all zero for an
// invalid state.
NSKinvarCodec::TItemState MakeItemState(const NSKinvarCodec::TItemInfo& item, u32 mode,
                                        const TTargetState& state, const TTargetDescription& target);
} // namespace NSKinvar
