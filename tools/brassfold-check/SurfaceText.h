#pragma once
// How the tool reads and writes what passes between a surface and its host:
// MIDI messages as hex bytes, and item inputs as lines, with the words for
// what the host's check of an input refuses. decode and session share them.

#include "foundation/Types.h"

#include "codec/CodecSupport.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace NSCheckTool
{
// Pairs of hex digits, blanks and TABs anywhere between the digits; nothing
// when the text is not that, or longer than a message that crosses the
// codec boundary.
std::optional<std::vector<u8>> ParseHexMessage(const std::string& text);

// "B0 07 40": upper-case pairs, a blank between them.
std::string HexText(const u8* bytes, std::size_t size);

// The item's name, fValue1, fValue2 and fValue3, TAB between them; "#N" for
// an index past the item list.
std::string ItemInputLine(const NSKinvarCodec::TItemInput& input, const TItemInfoList& items);

// What the host's check (IsItemInputValid) objects to in an input, worded for
// the author, or nothing; column tells which of the three values is at fault
// (0 to 2). The check's assertion is not shown.
std::optional<std::string> HostObjection(const NSKinvarCodec::TItemInput& input, const NSKinvarCodec::TItemInfo& info,
                                         std::size_t& column);
// Why a call into a codec failed: the status that the host read from it, by
// its name in the contract, or the host's own words.
std::string FailureReason(const std::exception& e);
} // namespace NSCheckTool
