// The script API as a codec author meets it, through the real module.

#include "ScriptRig.h"

#include "foundation/TextPackage.h"
#include "host/CodecModules.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace NSLuaHostTesting;
using namespace NSKinvarCodec;
using NSTextPackage::UTF8FromText16;

namespace
{
using NSKinvarCodec::kCodecOK;

std::string Text(std::u16string_view text) { return UTF8FromText16(text); }

TEST(ScriptApi, ModelsAndItemsReachTheContractRecords)
{
    const CScriptRig rig;
    const TCodecPtr codec = rig.Load(Script(R"(
        { name = "Fader", input = "value", output = "value", min = -8, max = 8 },
        { name = "Pad", input = "button" },
        { name = "Keys", input = "keyboard" },
        { name = "Ring", input = "delta", output = "value", min = 0, max = 11, states = { "Dot", "Bar" } },
        { name = "Display", output = "text" })",
        "info = 'no'"));
    ASSERT_TRUE(codec) << rig.TakeLog();
    const auto infos = GetControlSurfacesForCodec(codec);
    ASSERT_EQ(infos.size(), 1u);
    const TControlSurfaceInfo& info = infos[0];
    EXPECT_EQ(Text(GetRecordText(info.fManufacturer)) + "/" + Text(GetRecordText(info.fModel)), "Tests/Box");
    EXPECT_EQ(info.fInPortCount, 1u);
    EXPECT_EQ(info.fOutPortCount, 2u);
    EXPECT_EQ(Text(GetRecordText(info.fOutPortNames[1])), "Lamps");
    EXPECT_EQ(info.fOutPortOptional[0] * 10 + info.fOutPortOptional[1], 1u);
    EXPECT_EQ(info.fHasKeyboard, 1u);

    const CSurfaceRig surface(codec);
    const auto items = GetItemInfos(*surface.fSurface);
    const struct
    {
        u32 fInput, fOutput;
        i64 fMin, fMax;
        u32 fStates;
    } expected[] = {{kInputValue, kOutputValue, -8, 8, 0}, {kInputButton, kOutputNone, 0, 1, 0},
                    {kInputKeyboard, kOutputNone, 0, 127, 0}, {kInputDelta, kOutputValue, 0, 11, 2},
                    {kInputNone, kOutputText, 0, 0, 0}};
    ASSERT_EQ(items->size(), std::size(expected));
    for (std::size_t i = 0; i < items->size(); ++i)
    {
        const TItemInfo& item = (*items)[i];
        EXPECT_EQ(item.fInputKind, expected[i].fInput) << i;
        EXPECT_EQ(item.fOutputKind, expected[i].fOutput) << i;
        EXPECT_EQ(item.fMin, expected[i].fMin) << i;
        EXPECT_EQ(item.fMax, expected[i].fMax) << i;
        EXPECT_EQ(item.fStateCount, expected[i].fStates) << i;
    }
    EXPECT_EQ(Text((*GetItemStateNames(*surface.fSurface))[3][1]), "Bar");
}

// Rules first, as a definition file's rows decode; the rest to input().
TEST(ScriptApi, MidiRulesDecodeAndInputTakesTheRest)
{
    const CScriptRig rig;
    CSurfaceRig surface(rig.Load(Script(R"(
        { name = "Volume", input = "value", min = 0, max = 127, midi = "B0 07 xx" },
        { name = "Tune", input = "value", min = 0, max = 1 << 20, midi = "B0 63 xx B0 62 yy B0 06 zz",
          value = "x * 16384 + y * 128 + z" },
        { name = "Keys", input = "keyboard", midi = {
            { "9? xx yy", value = "(y + 126) / 127", value2 = "x", value3 = "y" },
            { "8? xx ??", value = 0, value2 = "x" } } },
        { name = "Shift", input = "button" })",
        R"(input = function(surface, port, msg)
             local x = midi.match(msg, "F0 7D xx F7")
             if x then surface:input("Shift", x, 0, port) end
           end)")));
    const char* const messages[] = {"B0 07 40", "B0 63 01", "B0 62 02", "B0 06 03", "90 3C 64",
                                    "90 3C 00", "81 3D 40", "F0 7D 01 F7", "F0 7E 01 F7"};
    for (const char* message : messages)
        EXPECT_EQ(surface.Receive(message), kCodecOK) << message << surface.fMessages;
    const std::vector<std::vector<i64>> expected = {{0, 64, 0, 0},         {1, 16384 + 256 + 3, 0, 0},
                                                    {2, 1, 60, 100},       {2, 0, 60, 0},
                                                    {2, 0, 61, 0},         {3, 1, 0, 1}};
    ASSERT_EQ(surface.fInputs.size(), expected.size()) << CScriptRig::TakeLog();
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const TItemInput& input = surface.fInputs[i];
        EXPECT_EQ((std::vector<i64>{input.fItemIndex, input.fValue1, input.fValue2, input.fValue3}), expected[i]) << i;
    }
}

TEST(ScriptApi, OutputSeesTheChangedStatesAndSendsByPort)
{
    const CScriptRig rig;
    CSurfaceRig surface(rig.Load(Script(R"(
        { name = "Lamp", output = "value", min = 0, max = 1 },
        { name = "Pad", input = "button" },
        { name = "Display", output = "text" },
        { name = "Mode", output = "value", min = 0, max = 3, states = { "Off", "On" } })",
        R"(
        start = function(surface, port) surface:send(port, "F0 01 F7") end,
        stop = function(surface, port) surface:send(port, midi.message(0xF0, 2, 0xF7)) end,
        output = function(surface, port, max_bytes)
          print(port, max_bytes, table.concat(surface:changed(), ","))
          for _, name in ipairs(port == 1 and surface:changed() or {}) do
            local s = surface:state(name)
            print(name, s.enabled, s.value, s.state, s.state_name, s.text, s.name, s.short_name)
          end
          surface:send(port, midi.message(0xB0, port, 0))
          surface:send(2, "B1 00 00")
        end)")));
    CScriptRig::TakeLog();
    EXPECT_EQ(surface.Start(), kCodecOK);
    surface.SetValue(3, 1);
    surface.fStates[3].fStateIndex = 1;
    surface.SetValue(2, 0, u"Hallo Welt");
    EXPECT_EQ(surface.Frame(0), kCodecOK) << surface.fMessages;
    EXPECT_EQ(surface.Frame(0), kCodecOK);
    EXPECT_EQ(surface.Frame(1), kCodecOK);
    EXPECT_EQ(surface.Stop(), kCodecOK);
    // The log window ends a line where its idle step takes the pending text.
    EXPECT_EQ(CScriptRig::TakeLog(), "[Lua] 1\t1000\tLamp,Display,Mode"
                                     "[Lua] Lamp\tfalse\t0\t1\tnil\t\t\t"
                                     "[Lua] Display\ttrue\t0\t1\tnil\tHallo Welt\tVolume\tVol"
                                     "[Lua] Mode\ttrue\t1\t2\tOn\t\tVolume\tVol"
                                     "[Lua] 1\t1000\t"
                                     "[Lua] 2\t1000\tLamp,Display,Mode");
    // Each port's own message goes out in its frame; port 2's waits for it.
    EXPECT_EQ(surface.fSent, (std::vector<std::string>{"F0 01 F7", "B0 01 00", "B0 01 00", "B1 00 00", "B1 00 00",
                                                        "B0 02 00", "B1 00 00", "F0 02 F7"}));
}

// The helpers' own checks are assertions of a script, which names the line
// of the one that fails.
TEST(ScriptApi, MidiHelpers)
{
    std::ifstream file(std::string(BRASSFOLD_TEST_DATA_DIR) + "/luahost/midi-helpers.lua");
    std::ostringstream checks;
    checks << file.rdbuf();
    const CScriptRig rig;
    EXPECT_TRUE(rig.Load(checks.str() + Script("{ name = 'Pad', input = 'button' }")));
    EXPECT_EQ(CScriptRig::TakeLog(), "");
}
} // namespace
