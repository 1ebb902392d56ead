// The run behaviour without a toolkit.

#include "host/MyAppBehavior.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Alert.h"
#include "foundation/TextResource.h"
#include "host/CodecModules.h"
#include "host/ProgramEntry.h"
#include "foundation/Exceptions.h"
#include "foundation/FileHandling.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <map>

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

// Each command record of both menus, dispatched as the toolkit does, reaches the handler that its title names, and
// the menus are brought up to date after every command that did not throw.
TEST_F(MyAppBehaviorTest, EveryMenuCommandReachesTheHandlerItsTitleNames)
{
    // Menu titles in order, then the records of all menus.
    class CBuilder final : public IMenuBuilder
    {
    public:
        u32 IMenuBuilder_AddItems(u32, const std::vector<TMenuRecord>& records) override
        {
            fRecords.insert(fRecords.end(), records.begin(), records.end());
            return kVistalOK;
        }
        u32 IMenuBuilder_SetTitle(u32 menu, const TText16& title) override
        {
            fTitles.push_back(std::to_string(menu) + " " + NSTextPackage::UTF8FromText16(title));
            return kVistalOK;
        }
        std::vector<TMenuRecord> fRecords;
        std::vector<std::string> fTitles;
    } builder;
    ASSERT_EQ(kVistalOK, fBehavior.OnBuildMenus(builder));
    EXPECT_EQ((std::vector<std::string>{"2 Test", "1 File"}), builder.fTitles);
    EXPECT_EQ(11u, GetTestMenu().size());
    const std::map<TText16, std::string> effects = {
        {u"Choose Codec File", "Select Codec File"}, {u"AutoDetect", "OpenProgress"},
        {u"Create ControlSurface", "OpenSelectionDialog"}, {u"Validate Map File", "Select Map File"},
        {u"MIDI Test", "OpenMIDITestWindow"}, {u"Show Log Window", "OpenLogWindow"},
        {u"Load MIDI Codecs", "models"}, {u"About Brassfold...", "alert"}, {u"Quit", "quit"}};
    LoadTextResource(2000);
    SetCodecFolderOverride(BRASSFOLD_TEST_DATA_DIR "/map");
    fVistal.fQuitStatus = kFirstApplicationResult;
    CAlertRecorder alerts;
    CAlertInterception interception(alerts);
    std::size_t commands = 0;
    for (const TMenuRecord& record : builder.fRecords)
    {
        if (record.fSeparator)
            continue;
        ++commands;
        fWindows.fCalls.clear();
        fVistal.fOpenRequests.assign(1, TOpenDialogRequest());
        alerts.fTexts.clear();
        const std::size_t models = gCodecSurfaces.size();
        const int updates = fVistal.fUpdateCount;
        u32 handled = 0;
        const u32 status = fBehavior.OnMenuCommand({record.fMenu, record.fCommand}, &handled);
        const std::string prompt = NSTextPackage::UTF8FromText16(fVistal.fOpenRequests.back().fPrompt);
        const std::string effect = status == kFirstApplicationResult ? "quit"
                                   : !alerts.fTexts.empty()          ? "alert"
                                   : gCodecSurfaces.size() > models  ? "models"
                                   : fWindows.fCalls.empty()         ? prompt
                                                                     : fWindows.fCalls.front();
        EXPECT_EQ(effects.at(record.fTitle), effect) << NSTextPackage::UTF8FromText16(record.fTitle);
        EXPECT_EQ(status == kVistalOK ? 1u : 0u, handled);
        EXPECT_EQ(updates + (status == kVistalOK ? 1 : 0), fVistal.fUpdateCount);
    }
    SetCodecFolderOverride("");
    gCodecSurfaces.clear();
    EXPECT_EQ(effects.size(), commands);
    EXPECT_EQ(u"Ctrl+Q", builder.fRecords.back().fShortcut);
    // A command that throws leaves the menus as they are.
    fWindows.fThrowIn = "OpenLogWindow";
    const int updates = fVistal.fUpdateCount;
    u32 handled = 0;
    EXPECT_EQ(kVistalUnknown, fBehavior.OnMenuCommand({kTestMenu, kShowLogWindowCommand}, &handled));
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

// Surfaces go before their codecs, and codecs before their modules: a running surface's ports would deliver
// into an unloaded module, and a codec's Destroy would run in one.
TEST_F(MyAppBehaviorTest, TheEndStopsRunningSurfacesThenDropsTheCodecsThenTheirModules)
{
    CTempFolder folder;
    TCodecPtr codec = LoadCodec(TestCodec("GOOD"), folder.Write("s.luacodec", "Acme\tState Box\n"));
    gCodecSurfaces.emplace_back(codec, GetControlSurfacesForCodec(codec).at(0));
    CRecordingReceiver shutdown;
    NSMIDIHub::CMIDIInPort port(InPort(u"Loopback B"), &shutdown);
    fHub.CreateActiveControlSurface(codec, gCodecSurfaces[0].second, u"Box", {InPort(u"Loopback A")},
                                    {OutPort(u"Loopback B"), CMIDIPortSpec()});
    std::weak_ptr<ICodec2> weak = codec;
    codec.reset();
    EXPECT_EQ(kVistalOK, fBehavior.OnEnd());
    EXPECT_EQ(0u, fHub.GetSurfaceCount());
    ASSERT_TRUE(shutdown.WaitForCount(2)); // the setup message, then the shutdown message
    EXPECT_EQ((TBinary{0xF0, 0x7D, 0x02, 0x00, 0xF7}), shutdown.Messages()[1]);
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(gCodecSurfaces.empty());
    EXPECT_TRUE(loadedModules.empty());
}
} // namespace
