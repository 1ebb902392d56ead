// What keeps a script from harming the workbench, and how its faults reach
// the user: by the script file and the line.

#include "ScriptRig.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace NSLuaHostTesting;
using namespace NSKinvarCodec;

namespace
{
using NSKinvarCodec::kCodecOK;

// What the log says when the host refuses the script.
std::string LoadFailure(const std::string& text)
{
    const CScriptRig rig;
    EXPECT_FALSE(rig.Load(text)) << text;
    return CScriptRig::TakeLog();
}

TEST(ScriptSafety, TheSandboxRefusesEveryEscape)
{
    const char* const escapes[] = {
        "io.open('/etc/passwd')",          "os.exit(1)",
        "debug.getinfo(1)",                "package.loaded.x = 1",
        "require('io')",                   "dofile('/etc/passwd')",
        "loadfile('/etc/passwd')",         "string.dump(print)",
        "assert(load('\\27Lua', 'x', 'b'))", "assert(load('\\27Lua'))",
        "collectgarbage('stop')",          "collectgarbage()",
    };
    for (const char* escape : escapes)
    {
        const std::string log = LoadFailure(std::string("local x = ") + escape + "\nreturn {}");
        EXPECT_EQ(log.rfind("Test.luacodec:1: ", 0), 0u) << escape << ": " << log;
    }
    const CScriptRig rig;
    EXPECT_TRUE(rig.Load("assert(collectgarbage('count') > 0)\n" + Script("{ name = 'Pad', input = 'button' }")));
}

TEST(ScriptSafety, ErrorsNameTheFileAndTheLine)
{
    const struct
    {
        std::string fScript;
        std::string fLog;
    } cases[] = {
        {"return {\n  models = {\n", "Test.luacodec:3: unexpected symbol near <eof>"},
        {"local x\nx.y = 1\n", "Test.luacodec:2: attempt to index a nil value (local 'x')"},
        {"\nerror({})", "Test.luacodec:2: error object is a table value"},
        {"\nerror('no place', 0)", "Test.luacodec:2: no place"},
        {"return 5", "Test.luacodec:1: the script must return a table"},
        {Script("{ name = 'Pad', input = 'button' },\n{ name = 'Knob',\n  input = 'knob' }"),
         "Test.luacodec:6: model \"Box\": item \"Knob\": \"input\" must be one of \"button\", \"value\", \"delta\", "
         "\"keyboard\", or absent"},
        {Script("{ name = 'Fader', input = 'value', min = 0, max = 127,\n  midi = 'B0 07 \\t xx' }"),
         "Test.luacodec:5: model \"Box\": item \"Fader\": \"B0 07 \t xx\": Map error: Non-hex character"},
        {Script("{ name = 'Fader', input = 'value' }"),
         "Test.luacodec:5: model \"Box\": item \"Fader\": the item needs min and max"},
        {Script("{ name = 'Lamp', midi = 'B0 07 xx' }"),
         "Test.luacodec:5: model \"Box\": item \"Lamp\": an item without input can have no midi rules"},
        {Script("{ name = 'Pad', input = 'button' }, { name = 'Pad', input = 'button' }"),
         "Test.luacodec:5: model \"Box\": item \"Pad\": two items have this name"},
        {Script("{ name = 'Pad', input = 'button' }", "output = 5"),
         "Test.luacodec:7: \"output\" of the script's table must be a function"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(LoadFailure(test.fScript), test.fLog);
}

// A runaway loop, a memory bomb and an error each end their call with a
// message and a failure; the function is then off for the surface, the rest
// goes on.
TEST(ScriptSafety, AFailingCallEndsAndTheSurfaceGoesOn)
{
    const CScriptRig rig;
    CSurfaceRig surface(rig.Load(Script("{ name = 'Pad', input = 'button', midi = '90 00 xx', value = 'x / 127' },\n"
                                        "{ name = 'Lamp', output = 'value', min = 0, max = 1 }",
                                        "start = function() while true do pcall(function() while true do end end)"
                                        " end end,\n"
                                        "input = function() local t = {} while true do t[#t + 1] = {} end end,\n"
                                        "output = function(s, port) s:send(port, 'B0 00 00')"
                                        " s:send(port, '07 40') end,\n"
                                        "stop = function(s, port) s:send(port, 'F0 7F F7') end")));
    const auto off = [](const char* function) {
        return std::string("\nTest.luacodec: ") + function +
               " is switched off for this surface until the script is saved again.";
    };
    const struct
    {
        std::function<u32()> fCall;
        u32 fStatus;
        std::string fMessages;
    } steps[] = {
        {[&] { return surface.Start(); }, kCodecBadFormat,
         "Test.luacodec:8: the script ran too long (more than 10000000 Lua instructions in one call)" + off("start")},
        {[&] { return surface.Receive("F0 01 F7"); }, kCodecBadFormat,
         "Test.luacodec:9: the script needs more than 32 MB of memory" + off("input")},
        {[&] { return surface.Frame(); }, kCodecBadFormat,
         "Test.luacodec:10: a MIDI message begins with a status byte (80 to FF)" + off("output")},
        {[&] { return surface.Frame(); }, kCodecOK, ""},
        {[&] { return surface.Receive("F0 01 F7"); }, kCodecOK, ""},
        {[&] { return surface.Receive("90 00 7F"); }, kCodecOK, ""},
        {[&] { return surface.Stop(); }, kCodecOK, ""},
    };
    for (const auto& step : steps)
    {
        EXPECT_EQ(step.fCall(), step.fStatus);
        EXPECT_EQ(surface.fMessages, step.fMessages);
    }
    // What output sent before it failed went out; the rules still decode.
    EXPECT_EQ(surface.fSent, (std::vector<std::string>{"B0 00 00", "F0 7F F7"}));
    EXPECT_EQ(surface.fInputs.size(), 1u);
}
} // namespace
