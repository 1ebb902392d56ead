#pragma once
// The integer and text types that every layer of Brassfold speaks.

#include <cstdint>
#include <string>

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;
using i64 = std::int64_t;
using char16 = char16_t;

// The application's text: UTF-16 code units. Narrow strings hold ASCII or UTF-8 only.
using TText16 = std::u16string;

// Line break inside displayed text.
inline constexpr char16 kParagraphSeparator = u'\u2029';
