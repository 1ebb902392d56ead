#pragma once
// The midi helper table of the scripts: matching messages against patterns of
// the definition files' pattern language, hex text and bytes, sysex and 7-bit
// packing, 14-bit values, relative encoder steps, and fitting text into narrow
// displays. docs/scripting.md describes each function.

#include <lua.hpp>

#include <string>
#include <string_view>

namespace NSLuaHost
{
// Pushes a new midi table. Inside a protected call.
void OpenMidiLibrary(lua_State* L);

// Hex text such as "B0 07 40" as bytes; blanks, TABs and commas may stand
// between the digits. False for anything else.
bool ParseHexText(std::string_view text, std::string& bytes);
// A message as bytes: a text whose first byte is a status byte (80 to FF) is
// taken as it is, anything else as hex text. False for bad hex text.
bool ParseMessage(std::string_view text, std::string& bytes);

// A message argument as bytes: a string whose first byte is a status byte (80
// to FF) is taken as it is, anything else as hex text such as "B0 07 40".
// Raises a Lua error for bad hex text.
std::string CheckMessage(lua_State* L, int index);
} // namespace NSLuaHost
