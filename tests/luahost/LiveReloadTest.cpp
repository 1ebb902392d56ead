// Live reload, and input on a MIDI thread while frames run on another.

#include "ScriptRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace NSLuaHostTesting;
using namespace NSKinvarCodec;
using namespace std::chrono_literals;

namespace
{
using NSKinvarCodec::kCodecOK;

// Longer than the host's pause between two looks at the file.
constexpr auto kPollPause = 300ms;

const std::string kFader = "{ name = 'Fader', input = 'value', output = 'value', min = 0, max = 127,"
                           " midi = 'B0 07 xx' }";

// Prints the tag, each changed item and its value.
std::string Version(const std::string& tag, const std::string& items = kFader)
{
    return Script(items, "output = function(s) for _, n in ipairs(s:changed()) do print('" + tag +
                             "', n, s:state(n).value) end end,\n"
                             "input = function(s, port, msg) s:input('Fader', #msg) end");
}

TEST(LiveReload, TheSurfaceTakesOverAGoodTextAndKeepsItsStates)
{
    const CScriptRig rig;
    CSurfaceRig surface(rig.Load(Version("v1")));
    surface.SetValue(0, 42);
    const struct
    {
        std::string fText; // written before the frame, when not empty
        i64 fValue;
        std::string fMessages;
        std::string fLog;
    } steps[] = {
        {"", 42, "", "[Lua] v1\tFader\t42"},
        {"return {\n  models = nil + 1 }", 43,
         "Test.luacodec changed on disk, but the new text does not load; the script as it was keeps running:\n"
         "Test.luacodec:2: attempt to perform arithmetic on a nil value",
         "[Lua] v1\tFader\t43"},
        {Version("v2"), 43, "Test.luacodec changed on disk and was loaded anew.", "[Lua] v2\tFader\t43"},
        {Version("v3", kFader + ", { name = 'Lamp', output = 'value', min = 0, max = 1 }"), 44,
         "Test.luacodec changed on disk and was loaded anew.\n"
         "Test.luacodec: the ports or items of Box changed; close its panel and open it again to use them.",
         "[Lua] v2\tFader\t44"},
    };
    for (const auto& step : steps)
    {
        if (!step.fText.empty())
        {
            rig.Write(step.fText);
            std::this_thread::sleep_for(kPollPause);
        }
        surface.SetValue(0, step.fValue);
        EXPECT_EQ(surface.Frame(), kCodecOK);
        EXPECT_EQ(surface.fMessages, step.fMessages);
        EXPECT_EQ(CScriptRig::TakeLog(), step.fLog);
    }
}

// Input through a rule and through the input function on one thread, frames
// and a reload on another; clean under the thread sanitizer.
TEST(LiveReload, InputAndFramesRunOnTwoThreads)
{
    const CScriptRig rig;
    CSurfaceRig surface(rig.Load(Version("v1")));
    std::atomic<bool> framesDone = false;
    int sent = 0;
    int failures = 0;
    std::thread input([&] {
        TMIDIEvent events[2] = {{0, 3, {0xB0, 0x07, 0x40}}, {0, 4, {0xF0, 0x7D, 0x01, 0xF7}}};
        for (; !framesDone; ++sent)
        {
            CCodecTextGetter messages;
            if (surface.fSurface->IControlSurface_HandleMIDIEvent(&events[sent % 2], 0, messages) != kCodecOK)
                ++failures;
        }
    });
    for (int frame = 0; frame < 400; ++frame)
    {
        if (frame == 100)
            rig.Write(Version("v2"));
        surface.SetValue(0, frame % 128);
        EXPECT_EQ(surface.Frame(), kCodecOK) << surface.fMessages;
        std::this_thread::sleep_for(1ms);
    }
    framesDone = true;
    input.join();
    EXPECT_EQ(failures, 0);
    ASSERT_EQ(surface.fInputs.size(), std::size_t(sent));
    EXPECT_EQ(surface.fInputs[0].fValue1, 0x40);
    EXPECT_EQ(surface.fInputs[1].fValue1, 4);
    EXPECT_NE(CScriptRig::TakeLog().find("[Lua] v2"), std::string::npos);
}
} // namespace
