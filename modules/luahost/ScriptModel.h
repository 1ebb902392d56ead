#pragma once
// The surface models that a script's table describes, read into the
// contract's records, with the midi rules of their items compiled by the
// generic codec's pattern and expression languages.

#include "generic/GenericMidiCodecConfig.h"
#include "generic/MapRule.h"

#include "codec/KinvarCodec.h"
#include "foundation/Types.h"

#include <lua.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace NSLuaHost
{
struct TScriptItem
{
    NSKinvarCodec::TItemInfo fInfo{};
    // As the script wrote them, in UTF-8.
    std::string fName;
    std::vector<std::string> fStateNames;
};

struct TScriptModel
{
    NSKinvarCodec::TControlSurfaceInfo fInfo{};
    // "LuaHost/<manufacturer>/<model>".
    std::string fUniqueName;
    std::string fManufacturer;
    std::string fModel;
    // Its place in the script's models list, from 1.
    int fPosition = 0;
    std::vector<TScriptItem> fItems;
    // One entry for each item, in item order, with the item's midi rules:
    // what the rule dispatcher decodes by.
    std::vector<NSGenericMidiCodec::CGenericMidiItem> fRuleItems;
    bool fHasRules = false;
    std::vector<u8> fIdentityRequest;
    // Empty, or the one pattern that an identity response matches.
    std::vector<NSGenericMidiCodec::CMapRule> fIdentityResponse;
};

// Whether a running surface of one model may carry on with the other: the same
// ports, and the same items with the same kinds, ranges and state names.
bool HaveSameLayout(const TScriptModel& a, const TScriptModel& b);

// The line of the first "key =" in the script's text, or 1: where a fault of
// a field of the script's table is shown.
int FindKeyLine(std::string_view script, std::string_view key);

// Inside a protected call: the models of the script table at index. A fault
// throws std::runtime_error, its text beginning with the place in the script
// ("file:line:"), found by the names of the model and the item at fault in
// the script's text.
std::vector<TScriptModel> ReadModels(lua_State* L, int table, std::string_view fileName, std::string_view text);
} // namespace NSLuaHost
