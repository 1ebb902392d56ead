#pragma once
// Conversions between UTF-8 and the program's 16-bit text for the diagnostic
// channel and the alert sinks. The text package's conversions refuse malformed
// input with an exception; a diagnostic must never fail, so these replace what
// they can't decode with U+FFFD instead. Any thread may call them.

#include "foundation/Types.h"

#include <string>
#include <string_view>

inline constexpr char16 kReplacementCharacter = u'\uFFFD';

// Malformed, overlong or truncated sequences become one U+FFFD each.
TText16 Text16FromUTF8Lenient(std::string_view utf8);
// Lone surrogates become U+FFFD.
std::string UTF8FromText16Lenient(std::u16string_view text);
