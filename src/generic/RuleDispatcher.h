#pragma once
// How the rules of a surface's items decode the messages of its ports, also
// across up to three consecutive messages of one port (an NRPN such as
// "B0 63 xx B0 62 yy B0 06 zz" matches when its third message arrives).
//
// A message is tried alone first; then behind the newest waiting message of
// its port; then behind the two newest. What completes no rule waits, newest
// first, at most two of them when the next message comes. The dispatcher does
// no scaling, no clamping and no change detection: every match is one input,
// with the values that the rule's expressions made.
//
// The generic codec's surfaces and the scripted codecs' "midi" rules both
// decode this way, so that a rule means the same wherever it is written.
//
// No lock inside: one caller at a time.

#include "generic/GenericMidiCodecConfig.h"
#include "generic/RuleIndex.h"

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"

#include <array>
#include <deque>
#include <vector>

namespace NSGenericMidiCodec
{
class CRuleDispatcher
{
public:
    // The items must outlive the dispatcher, unmoved: it points at their rules.
    explicit CRuleDispatcher(const std::vector<CGenericMidiItem>& items);

    // The rule that this message completes, if any; a message that completes
    // none waits for the next one of its port. inPort below kMaxPortCount.
    // Any thread, MIDI threads included.
    bool Dispatch(const NSKinvarCodec::TMIDIEvent& event, u32 inPort, TRuleMatch& match);

private:
    CRuleIndex fRuleIndex;
    // Newest at the front; what completed no rule yet.
    std::array<std::deque<NSKinvarCodec::TMIDIEvent>, NSKinvarCodec::kMaxPortCount> fInputBuffers;
};
} // namespace NSGenericMidiCodec
