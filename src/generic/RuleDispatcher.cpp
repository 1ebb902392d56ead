#include "generic/RuleDispatcher.h"

#include <algorithm>

namespace NSGenericMidiCodec
{
using namespace NSKinvarCodec;

namespace
{
// A rule can span this many consecutive messages of one port.
constexpr std::size_t kMessagesPerRule = 3;

// Appends the valid bytes of a message.
u8* AppendMessage(u8* destination, const TMIDIEvent& event)
{
    return std::copy_n(event.fData, event.fSize, destination);
}
} // namespace

CRuleDispatcher::CRuleDispatcher(const std::vector<CGenericMidiItem>& items) : fRuleIndex(items) {}

bool CRuleDispatcher::Dispatch(const TMIDIEvent& event, u32 inPort, TRuleMatch& match)
{
    std::deque<TMIDIEvent>& buffer = fInputBuffers.at(inPort);
    if (fRuleIndex.FindMatch(event.fData, event.fSize, match))
    {
        buffer.clear();
        return true;
    }
    while (buffer.size() >= kMessagesPerRule)
        buffer.pop_back();
    if (!buffer.empty())
    {
        u8 joined[kMessagesPerRule * kMaxMIDIEventSize];
        u8* end = AppendMessage(AppendMessage(joined, buffer[0]), event);
        bool found = fRuleIndex.FindMatch(joined, u32(end - joined), match);
        if (!found && buffer.size() == 2)
        {
            end = AppendMessage(AppendMessage(AppendMessage(joined, buffer[1]), buffer[0]), event);
            found = fRuleIndex.FindMatch(joined, u32(end - joined), match);
        }
        if (found)
        {
            buffer.clear();
            return true;
        }
    }
    buffer.push_front(event);
    return false;
}
} // namespace NSGenericMidiCodec
