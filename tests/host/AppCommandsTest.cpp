// The menu commands that fill and read the list of loaded models, each behind its file dialog.

#include "host/AppCommands.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Alert.h"
#include "foundation/Exceptions.h"
#include "foundation/FileHandling.h"
#include "foundation/TextResource.h"
#include "host/CodecModules.h"
#include "host/MyAppBehavior.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace NSHostTesting;
using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace
{
std::vector<std::u16string> LoadedModels()
{
    std::vector<std::u16string> names;
    for (const TCodecSurface& entry : gCodecSurfaces)
        names.push_back(GetRecordText(entry.second.fManufacturer) + u"/" + GetRecordText(entry.second.fModel));
    return names;
}

class AppCommandsTest : public testing::Test
{
protected:
    void TearDown() override
    {
        gCodecSurfaces.clear();
        loadedModules.clear();
        SetCodecFolderOverride("");
    }

    // "Load MIDI Codecs" over a folder that holds a copy of the definition.
    void LoadDefinition(const char* relative)
    {
        std::ostringstream text;
        text << std::ifstream(fs::path(BRASSFOLD_TEST_DATA_DIR) / relative, std::ios::binary).rdbuf();
        fFolder.Write(fs::path(relative).filename(), text.str());
        SetCodecFolderOverride(fFolder.Path().string());
        u32 handled = 0;
        ASSERT_EQ(kVistalOK, fBehavior.OnMenuCommand({kFileMenu, kLoadMIDICodecsCommand}, &handled));
        EXPECT_EQ(1u, handled);
    }

    CTempFolder fFolder;
    CFakeVistal fVistal;
    CVistalInstallation fInstallation{fVistal};
    CFakeWindows fWindows;
    CMyAppBehavior fBehavior{fWindows};
    CLogCapture fLog;
};

TEST_F(AppCommandsTest, ChoosingAScriptAppendsItsModelsEachTime)
{
    SetCodecFolderOverride(fFolder.Path().string());
    ChooseCodecFile(fVistal, TestCodec("GOOD")); // cancelled
    SetCodecFolderOverride("");
    EXPECT_TRUE(gCodecSurfaces.empty());
    const TOpenDialogRequest& request = fVistal.fOpenRequests.at(0);
    EXPECT_EQ(fFolder.Path(), request.fStartFolder);
    EXPECT_EQ(u"Select Codec File", request.fPrompt);
    ASSERT_EQ(1u, request.fFileTypes.size());
    EXPECT_EQ(u".luacodec", request.fFileTypes[0].fDescription);
    EXPECT_EQ(u".luacodec", request.fFileTypes[0].fExtension);
    EXPECT_EQ(123u, request.fDialogId);

    fVistal.fFilesToChoose = {fFolder.Write("two.luacodec", "Acme\tOne\nAcme\tTwo\n")};
    ChooseCodecFile(fVistal, TestCodec("GOOD"));
    ChooseCodecFile(fVistal, TestCodec("GOOD"));
    EXPECT_EQ((std::vector<std::u16string>{u"Acme/One", u"Acme/Two", u"Acme/One", u"Acme/Two"}), LoadedModels());

    LoadTextResource(2000);
    fLog.Text();
    NSTesting::CExpectAssertions expect;
    EXPECT_THROW(ChooseCodecFile(fVistal, fFolder.Path() / "LuaHost.kinvarcodec"), XProgrammingError);
    EXPECT_EQ(1u, expect.Count());
    EXPECT_EQ(4u, gCodecSurfaces.size());
    EXPECT_EQ(u"Failed to load codec: " + (fFolder.Path() / "LuaHost.kinvarcodec").u16string() + u".", fLog.Text());
}

TEST_F(AppCommandsTest, ValidatingAMapFileShowsTheOutcome)
{
    LoadTextResource(2000);
    LoadDefinition("map/Acme Box.midicodec");
    const std::string header = "Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n"
                               "Control Surface Manufacturer\tAcme\nControl Surface Model\tBox\n"
                               "Map Version\t1.2.3\nScope\tHost\tMixer\n";
    CAlertRecorder alerts;
    CAlertInterception interception(alerts);
    u32 handled = 0;
    EXPECT_EQ(kVistalOK, fBehavior.OnMenuCommand({kTestMenu, kValidateMapFileCommand}, &handled));
    EXPECT_EQ(u"Select Map File", fVistal.fOpenRequests.at(0).fPrompt);
    EXPECT_EQ(u".kinvarmap", fVistal.fOpenRequests[0].fFileTypes.at(0).fExtension);
    EXPECT_EQ(124u, fVistal.fOpenRequests[0].fDialogId);
    EXPECT_TRUE(alerts.fTexts.empty());

    fVistal.fFilesToChoose = {fFolder.Write("good.kinvarmap", header + "Map\tFader 1\t\tVolume\n")};
    EXPECT_EQ(kVistalOK, fBehavior.OnMenuCommand({kTestMenu, kValidateMapFileCommand}, &handled));
    EXPECT_EQ(std::vector<TText16>{u"[NOTE]Kinvar map is ok![Close]"}, alerts.fTexts);

    fVistal.fFilesToChoose = {fFolder.Write("bad.kinvarmap", header + "Map\tFader 9\t\tVolume\n")};
    EXPECT_NE(kVistalOK, fBehavior.OnMenuCommand({kTestMenu, kValidateMapFileCommand}, &handled));
    EXPECT_EQ(u"Map File Errors:\nLine  7: Map entry with unknown control surface item.\n", fLog.Text());
}
} // namespace
