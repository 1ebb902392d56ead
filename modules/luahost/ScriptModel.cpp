#include "ScriptModel.h"

#include "MidiLibrary.h"

#include "codec/CodecSupport.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>
#include <set>
#include <stdexcept>

namespace NSLuaHost
{
namespace
{
using namespace NSKinvarCodec;
using NSGenericMidiCodec::CGenericMidiItem;
using NSGenericMidiCodec::CMapRule;

struct TKind
{
    const char* fName;
    u32 fKind;
};

constexpr TKind kInputKinds[] = {
    {"button", kInputButton}, {"value", kInputValue}, {"delta", kInputDelta}, {"keyboard", kInputKeyboard}};
constexpr TKind kOutputKinds[] = {{"value", kOutputValue}, {"text", kOutputText}};

int LineAt(std::string_view script, std::size_t at)
{
    return 1 + int(std::count(script.begin(), script.begin() + std::ptrdiff_t(at), '\n'));
}

// The line of the first place where text stands quoted in the script, or 0.
int LineOfQuoted(std::string_view script, std::string_view text)
{
    if (text.empty())
        return 0;
    for (const char quote : {'"', '\''})
    {
        const std::string quoted = quote + std::string(text) + quote;
        if (const std::size_t at = script.find(quoted); at != std::string_view::npos)
            return LineAt(script, at);
    }
    return 0;
}

class CModelReader
{
public:
    CModelReader(lua_State* L, std::string_view fileName, std::string_view text)
        : L(L), fFileName(fileName), fText(text)
    {
    }

    std::vector<TScriptModel> Read(int table)
    {
        luaL_checkstack(L, 40, "reading the models");
        if (lua_type(L, table) != LUA_TTABLE)
            Fail("the script must return a table");
        std::vector<TScriptModel> models;
        if (lua_getfield(L, table, "models") != LUA_TTABLE)
            Fail("the table that the script returns needs a list \"models\"");
        const int list = lua_gettop(L);
        std::set<std::pair<std::string, std::string>> seen;
        for (int position = 1; lua_geti(L, list, position) != LUA_TNIL; ++position)
        {
            models.push_back(ReadModel(lua_gettop(L), position));
            if (!seen.emplace(models.back().fManufacturer, models.back().fModel).second)
                Fail("the script lists this model twice");
            lua_pop(L, 1);
            fModelName.clear();
        }
        lua_pop(L, 2);
        if (models.empty())
            Fail("the script's list \"models\" is empty");
        return models;
    }

private:
    TScriptModel ReadModel(int table, int position)
    {
        if (lua_type(L, table) != LUA_TTABLE)
            Fail("model " + std::to_string(position) + " is no table");
        TScriptModel model;
        model.fPosition = position;
        model.fModel = RequiredText(table, "model", kMaxSurfaceNameLength);
        fModelName = model.fModel;
        model.fManufacturer = RequiredText(table, "manufacturer", kMaxSurfaceNameLength);
        model.fUniqueName = "LuaHost/" + model.fManufacturer + "/" + model.fModel;
        TControlSurfaceInfo& info = model.fInfo;
        SetRecordText(info.fManufacturer, Text16(model.fManufacturer));
        SetRecordText(info.fModel, Text16(model.fModel));
        ReadPorts(table, "inputs", info.fInPortCount, info.fInPortNames, info.fInPortOptional);
        ReadPorts(table, "outputs", info.fOutPortCount, info.fOutPortNames, info.fOutPortOptional);
        SetRecordText(info.fSetupInfoText, Text16(OptionalText(table, "info", kMaxSetupTextLength)));
        SetRecordText(info.fSetupWarningText, Text16(OptionalText(table, "warning", kMaxSetupTextLength)));
        SetRecordText(info.fSetupUserActionText, Text16(OptionalText(table, "action", kMaxSetupTextLength)));
        ReadIdentity(table, model);
        ReadItems(table, model);
        return model;
    }

    template <std::size_t N>
    void ReadPorts(int table, const char* key, u32& count, char16 (&names)[kMaxPortCount][N],
                   u32 (&optional)[kMaxPortCount])
    {
        count = 0;
        const int type = lua_getfield(L, table, key);
        if (type != LUA_TNIL && type != LUA_TTABLE)
            Fail(std::string("\"") + key + "\" must be a list of port names");
        for (int i = 1; type == LUA_TTABLE && lua_geti(L, -1, i) != LUA_TNIL; ++i)
        {
            if (count == kMaxPortCount)
                Fail(std::string("more than 16 ") + key);
            const int entry = lua_gettop(L);
            std::string name;
            if (lua_type(L, entry) == LUA_TTABLE)
            {
                name = RequiredText(entry, "name", kMaxPortNameLength);
                optional[count] = Flag(entry, "optional") ? 1 : 0;
            }
            else
                name = TextAt(entry, std::string(key) + " " + std::to_string(i), kMaxPortNameLength);
            SetRecordText(names[count++], Text16(name));
            lua_pop(L, 1);
        }
        lua_pop(L, 1 + (type == LUA_TTABLE ? 1 : 0));
    }

    void ReadIdentity(int table, TScriptModel& model)
    {
        const int type = lua_getfield(L, table, "identity");
        if (type == LUA_TTABLE)
        {
            const int identity = lua_gettop(L);
            std::string request;
            if (!ParseMessage(RequiredText(identity, "request", kMaxMIDIEventSize * 3), request) || request.empty())
                Fail("identity request is no MIDI message");
            model.fIdentityRequest.assign(request.begin(), request.end());
            const std::string response = RequiredText(identity, "response", kMaxMIDIEventSize * 3);
            model.fIdentityResponse.push_back(CompileRule(response, "0", "", ""));
        }
        else if (type != LUA_TNIL)
            Fail("\"identity\" must be a table with request and response");
        lua_pop(L, 1);
    }

    void ReadItems(int table, TScriptModel& model)
    {
        if (lua_getfield(L, table, "items") != LUA_TTABLE)
            Fail("the model needs a list \"items\"");
        const int list = lua_gettop(L);
        std::set<std::string> names;
        for (int position = 1; lua_geti(L, list, position) != LUA_TNIL; ++position)
        {
            if (lua_type(L, -1) != LUA_TTABLE)
                Fail("item " + std::to_string(position) + " is no table");
            ReadItem(lua_gettop(L), model);
            if (!names.insert(model.fItems.back().fName).second)
                Fail("two items have this name");
            lua_pop(L, 1);
            fItemName.clear();
        }
        lua_pop(L, 2);
    }

    void ReadItem(int table, TScriptModel& model)
    {
        TScriptItem item;
        item.fName = RequiredText(table, "name", kMaxItemNameLength);
        fItemName = item.fName;
        if (item.fName.empty())
            Fail("an item name must not be empty");
        TItemInfo& info = item.fInfo;
        SetRecordText(info.fName, Text16(item.fName));
        info.fInputKind = Kind(table, "input", kInputKinds, kInputNone);
        info.fOutputKind = Kind(table, "output", kOutputKinds, kOutputNone);
        ReadRange(table, info);
        ReadStates(table, item);
        model.fInfo.fHasKeyboard |= info.fInputKind == kInputKeyboard ? 1 : 0;
        CGenericMidiItem& rules =
            model.fRuleItems.emplace_back(Text16(item.fName), info.fInputKind, info.fMin, info.fMax);
        ReadRules(table, info, rules);
        model.fHasRules = model.fHasRules || !rules.fRules.empty();
        model.fItems.push_back(std::move(item));
    }

    void ReadRange(int table, TItemInfo& info)
    {
        const std::optional<i64> min = OptionalInteger(table, "min");
        const std::optional<i64> max = OptionalInteger(table, "max");
        const bool needsRange = info.fInputKind == kInputValue || info.fInputKind == kInputDelta ||
                                info.fOutputKind == kOutputValue;
        if (needsRange && (!min || !max))
            Fail("the item needs min and max");
        const bool keyboard = info.fInputKind == kInputKeyboard;
        info.fMin = min.value_or(0);
        info.fMax = max.value_or(info.fInputKind == kInputButton ? 1 : keyboard ? 127 : 0);
        if (info.fMin > info.fMax)
            Fail("min is above max");
    }

    void ReadStates(int table, TScriptItem& item)
    {
        const int type = lua_getfield(L, table, "states");
        if (type != LUA_TNIL && type != LUA_TTABLE)
            Fail("\"states\" must be a list of names");
        for (int i = 1; type == LUA_TTABLE && lua_geti(L, -1, i) != LUA_TNIL; ++i)
        {
            item.fStateNames.push_back(TextAt(lua_gettop(L), "state " + std::to_string(i), kMaxItemNameLength));
            lua_pop(L, 1);
        }
        lua_pop(L, 1 + (type == LUA_TTABLE ? 1 : 0));
        item.fInfo.fStateCount = u32(item.fStateNames.size());
    }

    // midi is a pattern with the item's value, value2 and value3, or a list of
    // rules, each a pattern or a table of a pattern and its three values.
    void ReadRules(int table, const TItemInfo& info, CGenericMidiItem& item)
    {
        const int type = lua_getfield(L, table, "midi");
        if (type != LUA_TNIL && info.fInputKind == kInputNone)
            Fail("an item without input can have no midi rules");
        if (type == LUA_TSTRING)
            item.fRules.push_back(ReadRule(table, lua_gettop(L)));
        else if (type == LUA_TTABLE)
        {
            for (int i = 1; lua_geti(L, -1, i) != LUA_TNIL; ++i)
            {
                const int entry = lua_gettop(L);
                if (lua_type(L, entry) == LUA_TTABLE)
                {
                    lua_geti(L, entry, 1);
                    item.fRules.push_back(ReadRule(entry, lua_gettop(L)));
                    lua_pop(L, 1);
                }
                else
                    item.fRules.push_back(ReadRule(table, entry));
                lua_pop(L, 1);
            }
            lua_pop(L, 1);
        }
        else if (type != LUA_TNIL)
            Fail("\"midi\" must be a pattern or a list of them");
        lua_pop(L, 1);
    }

    CMapRule ReadRule(int values, int pattern)
    {
        const std::string text = TextAt(pattern, "a midi pattern", kMaxMIDIEventSize * 3);
        return CompileRule(text, OptionalExpression(values, "value").value_or("x"),
                           OptionalExpression(values, "value2").value_or(""),
                           OptionalExpression(values, "value3").value_or(""));
    }

    CMapRule CompileRule(const std::string& pattern, const std::string& value1, const std::string& value2,
                         const std::string& value3)
    {
        if (pattern.find_first_not_of(' ') == std::string::npos)
            Fail("a midi pattern must not be empty");
        try
        {
            return CMapRule(Text16(pattern), Text16(value1), Text16(value2), Text16(value3));
        }
        catch (const std::runtime_error& e)
        {
            Fail("\"" + pattern + "\": " + (*e.what() != 0 ? e.what() : "syntax error"));
        }
    }

    // ---- Fields -----------------------------------------------------------------

    std::string TextAt(int index, const std::string& what, u32 maxLength)
    {
        if (lua_type(L, index) != LUA_TSTRING)
            Fail(what + " must be a string");
        std::size_t size = 0;
        const char* bytes = lua_tolstring(L, index, &size);
        std::string text(bytes, size);
        if (Text16(text).size() > maxLength)
            Fail(what + " is longer than " + std::to_string(maxLength) + " characters");
        return text;
    }

    std::string OptionalText(int table, const char* key, u32 maxLength)
    {
        std::string text;
        if (lua_getfield(L, table, key) != LUA_TNIL)
            text = TextAt(lua_gettop(L), std::string("\"") + key + "\"", maxLength);
        lua_pop(L, 1);
        return text;
    }

    std::string RequiredText(int table, const char* key, u32 maxLength)
    {
        if (lua_getfield(L, table, key) == LUA_TNIL)
            Fail(std::string("\"") + key + "\" is missing");
        std::string text = TextAt(lua_gettop(L), std::string("\"") + key + "\"", maxLength);
        lua_pop(L, 1);
        return text;
    }

    std::optional<i64> OptionalInteger(int table, const char* key)
    {
        std::optional<i64> value;
        if (lua_getfield(L, table, key) != LUA_TNIL)
        {
            int isInteger = 0;
            value = lua_tointegerx(L, -1, &isInteger);
            if (isInteger == 0)
                Fail(std::string("\"") + key + "\" must be an integer");
        }
        lua_pop(L, 1);
        return value;
    }

    // An expression of the expression language, or an integer.
    std::optional<std::string> OptionalExpression(int table, const char* key)
    {
        std::optional<std::string> text;
        const int type = lua_getfield(L, table, key);
        if (type == LUA_TNUMBER && lua_isinteger(L, -1))
            text = std::to_string(lua_tointeger(L, -1));
        else if (type != LUA_TNIL)
            text = TextAt(lua_gettop(L), std::string("\"") + key + "\"", 256);
        lua_pop(L, 1);
        return text;
    }

    bool Flag(int table, const char* key)
    {
        lua_getfield(L, table, key);
        const bool flag = lua_toboolean(L, -1) != 0;
        lua_pop(L, 1);
        return flag;
    }

    template <std::size_t N> u32 Kind(int table, const char* key, const TKind (&kinds)[N], u32 none)
    {
        const std::string name = OptionalText(table, key, 64);
        if (name.empty())
            return none;
        for (const TKind& kind : kinds)
        {
            if (name == kind.fName)
                return kind.fKind;
        }
        std::string allowed;
        for (const TKind& kind : kinds)
            allowed += std::string(allowed.empty() ? "" : ", ") + "\"" + kind.fName + "\"";
        Fail(std::string("\"") + key + "\" must be one of " + allowed + ", or absent");
    }

    static TText16 Text16(std::string_view utf8) { return NSTextPackage::Text16FromUTF8(utf8, u'?'); }

    [[noreturn]] void Fail(const std::string& text)
    {
        int line = LineOfQuoted(fText, fItemName);
        if (line == 0)
            line = LineOfQuoted(fText, fModelName);
        if (line == 0)
            line = FindKeyLine(fText, "models");
        std::string where;
        if (!fModelName.empty())
            where += "model \"" + fModelName + "\": ";
        if (!fItemName.empty())
            where += "item \"" + fItemName + "\": ";
        throw std::runtime_error(std::string(fFileName) + ":" + std::to_string(line) + ": " + where + text);
    }

    lua_State* L;
    std::string_view fFileName;
    std::string_view fText;
    std::string fModelName;
    std::string fItemName;
};

bool SamePorts(u32 count, const u32 (&optionalA)[kMaxPortCount], const u32 (&optionalB)[kMaxPortCount],
               const char16 (&namesA)[kMaxPortCount][kMaxPortNameLength + 1],
               const char16 (&namesB)[kMaxPortCount][kMaxPortNameLength + 1])
{
    return std::memcmp(optionalA, optionalB, sizeof optionalA) == 0 &&
           std::memcmp(namesA, namesB, sizeof namesA[0] * count) == 0;
}
} // namespace

int FindKeyLine(std::string_view script, std::string_view key)
{
    for (std::size_t at = script.find(key); at != std::string_view::npos; at = script.find(key, at + 1))
    {
        const std::size_t next = script.find_first_not_of(" \t", at + key.size());
        const char before = at == 0 ? ' ' : script[at - 1];
        const bool wordStart = !(std::isalnum(static_cast<unsigned char>(before)) || before == '_');
        if (wordStart && next != std::string_view::npos && script[next] == '=' && script.substr(next, 2) != "==")
            return LineAt(script, at);
    }
    return 1;
}

bool HaveSameLayout(const TScriptModel& a, const TScriptModel& b)
{
    const TControlSurfaceInfo& x = a.fInfo;
    const TControlSurfaceInfo& y = b.fInfo;
    if (x.fInPortCount != y.fInPortCount || x.fOutPortCount != y.fOutPortCount ||
        !SamePorts(x.fInPortCount, x.fInPortOptional, y.fInPortOptional, x.fInPortNames, y.fInPortNames) ||
        !SamePorts(x.fOutPortCount, x.fOutPortOptional, y.fOutPortOptional, x.fOutPortNames, y.fOutPortNames) ||
        a.fItems.size() != b.fItems.size())
        return false;
    for (std::size_t i = 0; i < a.fItems.size(); ++i)
    {
        const TItemInfo& p = a.fItems[i].fInfo;
        const TItemInfo& q = b.fItems[i].fInfo;
        if (a.fItems[i].fName != b.fItems[i].fName || p.fInputKind != q.fInputKind ||
            p.fOutputKind != q.fOutputKind || p.fMin != q.fMin || p.fMax != q.fMax ||
            a.fItems[i].fStateNames != b.fItems[i].fStateNames)
            return false;
    }
    return true;
}

std::vector<TScriptModel> ReadModels(lua_State* L, int table, std::string_view fileName, std::string_view text)
{
    return CModelReader(L, fileName, text).Read(lua_absindex(L, table));
}
} // namespace NSLuaHost
