// The run behaviour without a toolkit.

#include "host/MyAppBehavior.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Alert.h"
#include "foundation/TextResource.h"
#include "host/CodecModules.h"
#include "host/ProgramEntry.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;

namespace
{
class MyAppBehaviorTest : public testing::Test
{
protected:
    i64 fNow = 500;
    CFakeVistal fVistal;
    CVistalInstallation fInstallation{fVistal};
    CFakeWindows fWindows;
    CKinvarHUB fHub;
    COutputFrameClock fClock{[this](u32) { fWindows.fCalls.push_back("Frame"); }, [this] { return fNow; }};
    CMyAppBehavior fBehavior{fWindows, fHub, fClock};
};

TEST_F(MyAppBehaviorTest, TheTestMenuAlternatesCommandsAndSeparators)
{
    class CBuilder final : public IMenuBuilder
    {
    public:
        u32 IMenuBuilder_AddItems(u32 menu, const std::vector<TMenuRecord>& records) override
        {
            fMenu = menu;
            fRecords = records;
            return kVistalOK;
        }
        u32 IMenuBuilder_SetTitle(u32 menu, const TText16& title) override
        {
            fTitle = menu == fMenu ? title : u"?";
            return kVistalOK;
        }
        u32 fMenu = 0;
        std::vector<TMenuRecord> fRecords;
        TText16 fTitle;
    } builder;
    EXPECT_EQ(kVistalOK, fBehavior.OnBuildMenus(builder));
    EXPECT_EQ(2u, builder.fMenu);
    EXPECT_EQ(u"Test", builder.fTitle);
    std::u16string items;
    for (const TMenuRecord& record : builder.fRecords)
        items += (record.fSeparator ? u"-" : record.fTitle + u" " + char16_t(u'0' + record.fCommand)) + u"|";
    EXPECT_EQ(u"Choose Codec File 0|-|AutoDetect 1|-|Create ControlSurface 2|-|Validate Map File 5|-|MIDI Test 3|-|"
              u"Show Log Window 4|-|Load MIDI Codecs 6|",
              items);
}

// The menus are brought up to date after every command that did not throw.
TEST_F(MyAppBehaviorTest, CommandsAreDispatchedByIdAndTheMenusUpdatedAfterwards)
{
    const std::pair<u32, const char*> cases[] = {
        {2, "OpenSelectionDialog"}, {3, "OpenMIDITestWindow"}, {4, "OpenLogWindow"}, {7, nullptr}, {1000, nullptr}};
    for (const auto& [command, windowCall] : cases)
    {
        fWindows.fCalls.clear();
        const int updates = fVistal.fUpdateCount;
        u32 handled = 77;
        EXPECT_EQ(kVistalOK, fBehavior.OnMenuCommand({kTestMenu, command}, &handled));
        EXPECT_EQ(windowCall != nullptr ? 1u : 77u, handled) << command;
        EXPECT_EQ(updates + 1, fVistal.fUpdateCount);
        EXPECT_EQ(windowCall ? std::vector<std::string>{windowCall} : std::vector<std::string>{}, fWindows.fCalls);
    }
    fWindows.fThrowIn = "OpenLogWindow";
    const int updates = fVistal.fUpdateCount;
    u32 handled = 77;
    EXPECT_EQ(kVistalUnknown, fBehavior.OnMenuCommand({kTestMenu, kShowLogWindowCommand}, &handled));
    EXPECT_EQ(77u, handled);
    EXPECT_EQ(updates, fVistal.fUpdateCount);
}

// The first idle call only starts the frame clock; a failing step stops the ones after it.
TEST_F(MyAppBehaviorTest, IdleRunsItsStepsInOrderAndAsksForTenMilliseconds)
{
    u64 nextIdle = 0;
    EXPECT_EQ(kVistalOK, fBehavior.OnIdle(&nextIdle));
    EXPECT_EQ(10u, nextIdle);
    fNow += 1;
    EXPECT_EQ(kVistalOK, fBehavior.OnIdle(&nextIdle));
    EXPECT_EQ((std::vector<std::string>{"FlushLog", "IdlePanels", "IdleMIDITestWindow", "FlushLog", "Frame",
                                        "IdlePanels", "IdleMIDITestWindow"}),
              fWindows.fCalls);
    fWindows.fCalls.clear();
    fWindows.fThrowIn = "IdlePanels";
    nextIdle = 0;
    fNow += 100;
    EXPECT_EQ(kVistalUnknown, fBehavior.OnIdle(&nextIdle));
    EXPECT_EQ((std::vector<std::string>{"FlushLog", "Frame", "IdlePanels"}), fWindows.fCalls);
    EXPECT_EQ(0u, nextIdle);
}

TEST_F(MyAppBehaviorTest, TheInputEventDrivesTheHubAndNoOtherEventIsExpected)
{
    TItemInput input{};
    fHub.IControlSurfaceInputHandler_HandleInput(nullptr, &input);
    {
        NSTesting::CExpectAssertions expect;
        EXPECT_EQ(kVistalOK, fBehavior.OnCustomEvent(kInputEvent, 1));
        EXPECT_EQ(kVistalOK, fBehavior.OnCustomEvent(7, 0));
        EXPECT_EQ(2u, expect.Count());
    }
    EXPECT_EQ(1u, fHub.GetQueuedInputCount());
    EXPECT_EQ(kVistalOK, fBehavior.OnCustomEvent(0x10000001, 0));
    EXPECT_EQ(0u, fHub.GetQueuedInputCount());
}

TEST_F(MyAppBehaviorTest, StartLoadsTheTextsAndAnErrorPointsTheUserToTheLog)
{
    EXPECT_EQ(kVistalOK, fBehavior.OnStart());
    EXPECT_EQ(u"Map File Errors:", GetText(102));
    CAlertRecorder alerts;
    CAlertInterception interception(alerts);
    EXPECT_EQ(kVistalOK, fBehavior.OnError(12005));
    EXPECT_EQ(std::vector<TText16>{u"[STOP][Error]An error occurred, check the Log Window![OK]"}, alerts.fTexts);
    fVistal.fQuitStatus = 12003;
    EXPECT_EQ(12003u, fBehavior.OnQuitCommand());
    int canvas = 0;
    NSTesting::CExpectAssertions expect;
    EXPECT_EQ(12003u, fBehavior.OnEndDraw(&canvas));
    EXPECT_EQ(1u, expect.Count());
}

// A toolkit that refuses to run has not taken the behaviour over: the entry destroys it, once.
TEST(ProgramEntryTest, TheBehaviourIsTheToolkitsOnlyWhenItRan)
{
    static int destroyed;
    destroyed = 0;
    struct CCounted final : CMyAppBehavior
    {
        using CMyAppBehavior::CMyAppBehavior;
        ~CCounted() override { ++destroyed; }
    };
    CFakeWindows windows;
    IVistalRunBehavior* kept = nullptr;
    EXPECT_EQ(0, RunWorkbench([&](IVistalRunBehavior* behaviour, const TStartupParams& params) {
                     EXPECT_EQ(u"About Brassfold...", params.fAboutItemText);
                     kept = behaviour;
                     return kVistalOK;
                 },
                 std::make_unique<CCounted>(windows)));
    EXPECT_EQ(0, destroyed);
    delete kept;
    EXPECT_THROW(RunWorkbench([](IVistalRunBehavior*, const TStartupParams&) { return 12005u; },
                              std::make_unique<CCounted>(windows)),
                 XBadFormat);
    EXPECT_EQ(2, destroyed);
}

// Codecs go before their modules, or a codec's Destroy would run in an unloaded module.
TEST_F(MyAppBehaviorTest, TheEndDropsTheCodecsBeforeTheirModules)
{
    CTempFolder folder;
    TCodecPtr codec = LoadCodec(TestCodec("GOOD"), folder.Write("s.luacodec", "A\tB\n"));
    gCodecSurfaces.emplace_back(codec, GetControlSurfacesForCodec(codec).at(0));
    std::weak_ptr<ICodec2> weak = codec;
    codec.reset();
    EXPECT_EQ(kVistalOK, fBehavior.OnEnd());
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(gCodecSurfaces.empty());
    EXPECT_TRUE(loadedModules.empty());
}
} // namespace
