#pragma once
// The item states that the workbench makes when it stands in for a host: the
// hardware panel when the user moves a control, the check tool's sessions
// when a line sets a state. Each name field is cut to its array: the name to
// 64, 8 and 4 characters, and the name joined with the value text by a blank
// to 64, 16 and 8, the shorter two built on the short names. Pure functions;
// any thread.

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"

// A state that shows value: its decimal digits are the value text. An item of
// kOutputNone is a failed assertion (it shows nothing).
NSKinvarCodec::TItemState MakeValueState(const NSKinvarCodec::TItemInfo& item, i64 value, bool enabled, u32 stateIndex);

// A state that shows text, with fValue and fStateIndex 0. An item that is not
// kOutputText is a failed assertion.
NSKinvarCodec::TItemState MakeTextState(const NSKinvarCodec::TItemInfo& item, const TText16& text, bool enabled);
