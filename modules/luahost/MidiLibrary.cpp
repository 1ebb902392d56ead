#include "MidiLibrary.h"

#include "LuaState.h"

#include "generic/MapRule.h"

#include "foundation/TextPackage.h"

#include <map>
#include <memory>
#include <new>

namespace NSLuaHost
{
namespace
{
using NSGenericMidiCodec::CMapRule;

// Compiled patterns of midi.match, so that a pattern is compiled once however
// often a script matches with it. Bounded, since a script may make patterns
// on the fly.
constexpr std::size_t kMaxCachedPatterns = 256;
using TPatternCache = std::map<std::string, CMapRule, std::less<>>;

TPatternCache& PatternCache(lua_State* L)
{
    return **static_cast<TPatternCache**>(lua_touserdata(L, lua_upvalueindex(1)));
}

int FreePatternCache(lua_State* L)
{
    delete *static_cast<TPatternCache**>(lua_touserdata(L, 1));
    return 0;
}

const CMapRule& CompiledPattern(lua_State* L, std::string_view pattern)
{
    TPatternCache& cache = PatternCache(L);
    if (const auto found = cache.find(pattern); found != cache.end())
        return found->second;
    if (pattern.find_first_not_of(' ') == std::string_view::npos)
        throw std::runtime_error("empty pattern");
    if (cache.size() >= kMaxCachedPatterns)
        cache.clear();
    const TText16 text = NSTextPackage::Text16FromUTF8(pattern, u'_');
    return cache.try_emplace(std::string(pattern), text, u"x", u"y", u"z").first->second;
}

void AppendHex(lua_State* L, std::string_view text, std::string& bytes)
{
    if (!ParseHexText(text, bytes))
        luaL_error(L, "\"%s\" is no hex text of whole bytes", std::string(text).c_str());
}

void PushBytes(lua_State* L, const std::string& bytes) { lua_pushlstring(L, bytes.data(), bytes.size()); }

// The parts of midi.message and midi.sysex: bytes as integers, strings of
// bytes as they are (text for a display, what midi.bytes made), lists of
// integers.
void AppendParts(lua_State* L, int first, int last, std::string& bytes)
{
    for (int index = first; index <= last; ++index)
    {
        if (lua_type(L, index) == LUA_TTABLE)
        {
            const int count = int(luaL_len(L, index));
            for (int i = 1; i <= count; ++i)
            {
                lua_geti(L, index, i);
                AppendParts(L, lua_gettop(L), lua_gettop(L), bytes);
                lua_pop(L, 1);
            }
        }
        else if (lua_type(L, index) == LUA_TNUMBER)
        {
            const lua_Integer byte = luaL_checkinteger(L, index);
            luaL_argcheck(L, byte >= 0 && byte <= 255, index, "a byte is 0 to 255");
            bytes += char(byte);
        }
        else
            bytes += CheckBytes(L, index);
    }
}

int Match(lua_State* L)
{
    const std::string_view message = CheckBytes(L, 1);
    const CMapRule& rule = CompiledPattern(L, CheckBytes(L, 2));
    i64 x = 0, y = 0, z = 0;
    if (!rule.Match(reinterpret_cast<const u8*>(message.data()), u32(message.size()), x, y, z))
    {
        lua_pushnil(L);
        return 1;
    }
    lua_pushinteger(L, x);
    lua_pushinteger(L, y);
    lua_pushinteger(L, z);
    return 3;
}

int Hex(lua_State* L)
{
    const std::string_view bytes = CheckBytes(L, 1);
    std::string text;
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (!text.empty())
            text += ' ';
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    PushBytes(L, text);
    return 1;
}

int Bytes(lua_State* L)
{
    std::string bytes;
    AppendHex(L, CheckBytes(L, 1), bytes);
    PushBytes(L, bytes);
    return 1;
}

int Message(lua_State* L)
{
    std::string bytes;
    AppendParts(L, 1, lua_gettop(L), bytes);
    PushBytes(L, bytes);
    return 1;
}

int Sysex(lua_State* L)
{
    std::string bytes(1, char(0xF0));
    AppendParts(L, 1, lua_gettop(L), bytes);
    for (std::size_t i = 1; i < bytes.size(); ++i)
    {
        if (static_cast<unsigned char>(bytes[i]) > 0x7F)
            return luaL_error(L, "sysex data byte %d is %d, above 7F", int(i),
                              int(static_cast<unsigned char>(bytes[i])));
    }
    bytes += char(0xF7);
    PushBytes(L, bytes);
    return 1;
}

// Each 7 bytes become 8: first a byte of their high bits (the first byte's in
// bit 0), then the 7 bytes without them.
int Pack7(lua_State* L)
{
    const std::string_view data = CheckBytes(L, 1);
    std::string packed;
    for (std::size_t group = 0; group < data.size(); group += 7)
    {
        const std::string_view bytes = data.substr(group, 7);
        unsigned char highBits = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            highBits |= u8((static_cast<unsigned char>(bytes[i]) >> 7) << i);
        packed += char(highBits);
        for (const char c : bytes)
            packed += char(c & 0x7F);
    }
    PushBytes(L, packed);
    return 1;
}

int Unpack7(lua_State* L)
{
    const std::string_view packed = CheckBytes(L, 1);
    std::string data;
    for (std::size_t group = 0; group < packed.size(); group += 8)
    {
        const unsigned char highBits = static_cast<unsigned char>(packed[group]);
        const std::string_view bytes = packed.substr(group + 1, 7);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            data += char((bytes[i] & 0x7F) | (((highBits >> i) & 1) << 7));
    }
    PushBytes(L, data);
    return 1;
}

int Split14(lua_State* L)
{
    const lua_Integer value = luaL_checkinteger(L, 1);
    luaL_argcheck(L, value >= 0 && value <= 0x3FFF, 1, "a 14-bit value is 0 to 16383");
    lua_pushinteger(L, value >> 7);
    lua_pushinteger(L, value & 0x7F);
    return 2;
}

int Join14(lua_State* L)
{
    lua_pushinteger(L, ((luaL_checkinteger(L, 1) & 0x7F) << 7) | (luaL_checkinteger(L, 2) & 0x7F));
    return 1;
}

int Checksum(lua_State* L)
{
    unsigned sum = 0;
    for (const char c : CheckBytes(L, 1))
        sum += static_cast<unsigned char>(c);
    lua_pushinteger(L, (128 - sum % 128) % 128);
    return 1;
}

// The step of a relative encoder's 7-bit value.
int Relative(lua_State* L)
{
    const lua_Integer value = luaL_checkinteger(L, 1) & 0x7F;
    static const char* const kEncodings[] = {"twos", "offset", "sign", nullptr};
    switch (luaL_checkoption(L, 2, "twos", kEncodings))
    {
    case 0:
        lua_pushinteger(L, value < 64 ? value : value - 128);
        break;
    case 1:
        lua_pushinteger(L, value - 64);
        break;
    default:
        lua_pushinteger(L, (value & 0x40) != 0 ? -(value & 0x3F) : value);
        break;
    }
    return 1;
}

// UTF-8 text in 7-bit characters: what is not ASCII becomes "?", control
// characters blanks.
std::string SevenBitText(std::string_view utf8)
{
    std::string text;
    for (const char16 c : NSTextPackage::Text16FromUTF8(utf8, u'?'))
    {
        if (c >= 0xDC00 && c <= 0xDFFF)
            continue; // the second half of a pair, whose first half became "?"
        text += c < 0x20 ? ' ' : c < 0x80 ? char(c) : '?';
    }
    return text;
}

bool IsVowel(char c) { return c == 'a' || c == 'e' || c == 'i' || c == 'o' || c == 'u'; }

// Shortens text towards width as people abbreviate: lower-case vowels that do
// not begin a word go first, from the end; then blanks, from the end.
void Squeeze(std::string& text, std::size_t width)
{
    for (std::size_t i = text.size(); i-- > 1 && text.size() > width;)
    {
        if (IsVowel(text[i]) && text[i - 1] != ' ')
            text.erase(i, 1);
    }
    for (std::size_t i = text.size(); i-- > 0 && text.size() > width;)
    {
        if (text[i] == ' ')
            text.erase(i, 1);
    }
    if (text.size() > width)
        text.resize(width);
}

int Fit(lua_State* L)
{
    std::string text = SevenBitText(CheckBytes(L, 1));
    const lua_Integer width = luaL_checkinteger(L, 2);
    luaL_argcheck(L, width >= 0 && width <= 1024, 2, "a width is 0 to 1024");
    static const char* const kAlignments[] = {"left", "right", "center", nullptr};
    const int alignment = luaL_checkoption(L, 3, "left", kAlignments);
    const std::size_t first = text.find_first_not_of(' ');
    text = first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(' ') - first + 1);
    Squeeze(text, std::size_t(width));
    const std::size_t room = std::size_t(width) - text.size();
    const std::size_t before = alignment == 0 ? 0 : alignment == 1 ? room : room / 2;
    PushBytes(L, std::string(before, ' ') + text + std::string(room - before, ' '));
    return 1;
}

const luaL_Reg kFunctions[] = {
    {"match", &LuaFunction<&Match>},
    {"hex", &LuaFunction<&Hex>},
    {"bytes", &LuaFunction<&Bytes>},
    {"message", &LuaFunction<&Message>},
    {"sysex", &LuaFunction<&Sysex>},
    {"pack7", &LuaFunction<&Pack7>},
    {"unpack7", &LuaFunction<&Unpack7>},
    {"split14", &LuaFunction<&Split14>},
    {"join14", &LuaFunction<&Join14>},
    {"checksum", &LuaFunction<&Checksum>},
    {"relative", &LuaFunction<&Relative>},
    {"fit", &LuaFunction<&Fit>},
    {nullptr, nullptr},
};
} // namespace

bool ParseHexText(std::string_view text, std::string& bytes)
{
    int high = -1;
    for (const char c : text)
    {
        if (c == ' ' || c == '\t' || c == ',')
            continue;
        const int digit = NSGenericMidiCodec::HexDigitValue(char16(static_cast<unsigned char>(c)));
        if (digit < 0)
            return false;
        if (high < 0)
        {
            high = digit;
            continue;
        }
        bytes += char(high * 16 + digit);
        high = -1;
    }
    return high < 0;
}

bool ParseMessage(std::string_view text, std::string& bytes)
{
    if (!text.empty() && static_cast<unsigned char>(text[0]) >= 0x80)
    {
        bytes = text;
        return true;
    }
    return ParseHexText(text, bytes);
}

std::string CheckMessage(lua_State* L, int index)
{
    const std::string_view text = CheckBytes(L, index);
    std::string bytes;
    if (!ParseMessage(text, bytes))
        luaL_error(L, "\"%s\" is no MIDI message: hex text of whole bytes or bytes from a status byte on",
                   std::string(text).c_str());
    return bytes;
}

void OpenMidiLibrary(lua_State* L)
{
    lua_createtable(L, 0, int(std::size(kFunctions)));
    auto** cache = static_cast<TPatternCache**>(lua_newuserdatauv(L, sizeof(TPatternCache*), 0));
    *cache = nullptr;
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, &FreePatternCache);
    lua_setfield(L, -2, "__gc");
    lua_setmetatable(L, -2);
    *cache = new TPatternCache;
    luaL_setfuncs(L, kFunctions, 1);
}
} // namespace NSLuaHost
