// Codec modules loaded for real: the workbench's forgiving loader and the strict caching loader.

#include "host/CodecInstance.h"
#include "host/CodecModules.h"

#include "AssertionRecorder.h"
#include "HostTestSupport.h"
#include "foundation/Exceptions.h"
#include "foundation/FileHandling.h"

#include <gtest/gtest.h>

using namespace NSHostTesting;
using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace
{
class CodecModulesTest : public testing::Test
{
protected:
    void TearDown() override
    {
        loadedModules.clear();
        NSKinvar::ReleaseCodecCache();
        SetCodecFolderOverride("");
    }

    TText16 FirstModelText(const TCodecPtr& codec, TText16 (*field)(const TControlSurfaceInfo&))
    {
        return field(GetControlSurfacesForCodec(codec).at(0));
    }

    CTempFolder fFolder;
    CLogCapture fLog;
};

TText16 Names(const TControlSurfaceInfo& info) { return GetRecordText(info.fManufacturer) + u"/" + GetRecordText(info.fModel); }
TText16 URL(const TControlSurfaceInfo& info) { return GetRecordText(info.fSetupInfoText); }
TText16 Folder(const TControlSurfaceInfo& info) { return GetRecordText(info.fSetupWarningText); }

TEST_F(CodecModulesTest, AScriptHostGetsTheScriptByURLAndEveryLoadKeepsItsModule)
{
    const fs::path script = fFolder.Write("My Scripts/Two Boxes.luacodec", "Acme\tOne\nAcme\tTwo\n");
    CDebugCapture debug;
    const TCodecPtr codec = LoadCodec(TestCodec("GOOD"), script);
    ASSERT_NE(nullptr, codec);
    EXPECT_EQ(1u, debug.Count("Test codec: the host's debugger is set"));
    const auto models = GetControlSurfacesForCodec(codec);
    ASSERT_EQ(2u, models.size());
    EXPECT_EQ(u"Acme/Two", Names(models[1]));
    EXPECT_EQ(u"file://", URL(models[0]).substr(0, 7));
    EXPECT_NE(std::u16string::npos, URL(models[0]).find(u"/My%20Scripts/Two%20Boxes.luacodec"));

    // Without the export the script is not given, and the codec serves all the same.
    const TCodecPtr unscripted = LoadCodec(TestCodec("STATES"), script);
    EXPECT_EQ(u"", FirstModelText(unscripted, &URL));
    EXPECT_EQ(2u, loadedModules.size());
    EXPECT_TRUE(fLog.Text().empty());
}

// The loader's own refusals pass without a word, the codec's are thrown after its text.
TEST_F(CodecModulesTest, UnusableModulesLeaveNoModuleBehind)
{
    const fs::path script = fFolder.Write("a.luacodec", "A\tB\n");
    for (const fs::path& module : {fFolder.Path() / "Missing.kinvarcodec", NotALibrary(), TestCodec("NO_FACTORY")})
        EXPECT_EQ(nullptr, LoadCodec(module, script)) << module;
    EXPECT_TRUE(fLog.Text().empty());
    EXPECT_THROW(LoadCodec(TestCodec("FAILING_FACTORY"), script), XBadFormat);
    EXPECT_THROW(LoadCodec(TestCodec("GOOD"), fFolder.Write("bad.luacodec", "fail\n")), XBadFormat);
    const TText16 log = fLog.Text();
    EXPECT_EQ(u"Script refused: file://", log.substr(0, 23));
    EXPECT_NE(std::u16string::npos, log.find(u"bad.luacodec"));
    EXPECT_TRUE(loadedModules.empty());
}

// One that may stay loaded is kept until the cache is released; one that may not dies with its last user.
TEST_F(CodecModulesTest, TheCachingLoaderSharesOneInstanceForAsLongAsItMayLive)
{
    std::weak_ptr<NSKinvar::CCodecInstance> kept;
    std::weak_ptr<NSKinvar::CCodecInstance> dropped;
    {
        const auto good = NSKinvar::GetCodecInstance(TestCodec("GOOD"));
        const auto states = NSKinvar::GetCodecInstance(TestCodec("STATES"));
        EXPECT_EQ(good, NSKinvar::GetCodecInstance(TestCodec("GOOD")));
        EXPECT_EQ(states, NSKinvar::GetCodecInstance(TestCodec("STATES").parent_path() / "." / "STATES.kinvarcodec"));
        kept = good;
        dropped = states;
    }
    EXPECT_FALSE(kept.expired());
    EXPECT_TRUE(dropped.expired());
    const auto again = NSKinvar::GetCodecInstance(TestCodec("STATES"));
    EXPECT_EQ(u"Brassfold Tests/State Box", FirstModelText(again->GetCodec(), &Names));
    {
        NSTesting::CExpectAssertions expect;
        NSKinvar::ReleaseCodecCache(); // "again" is still held
        EXPECT_EQ(1u, expect.Count());
    }
    EXPECT_TRUE(kept.expired());
}

TEST_F(CodecModulesTest, TheCachingLoaderThrowsForEveryFault)
{
    EXPECT_THROW(NSKinvar::GetCodecInstance(fFolder.Path() / "Missing.kinvarcodec"), std::bad_alloc);
    EXPECT_THROW(NSKinvar::GetCodecInstance(NotALibrary()), std::bad_alloc);
    EXPECT_THROW(NSKinvar::GetCodecInstance(TestCodec("FAILING_FACTORY")), XBadFormat);
    try
    {
        NSKinvar::GetCodecInstance(TestCodec("NO_FACTORY"));
        ADD_FAILURE() << "no exception";
    }
    catch (const NSKinvar::XUnsupportedInterface& e)
    {
        EXPECT_STREQ("Unsupported interface", e.what());
    }
}

TEST_F(CodecModulesTest, AScriptHostIsToldTheCodecFolderOverrideWhenOneIsSet)
{
    EXPECT_EQ(u"", FirstModelText(NSKinvar::GetCodecInstance(TestCodec("GOOD"))->GetCodec(), &Folder));
    NSKinvar::ReleaseCodecCache();
    SetCodecFolderOverride("/opt/scripts");
    EXPECT_EQ(u"/opt/scripts", FirstModelText(NSKinvar::GetCodecInstance(TestCodec("GOOD"))->GetCodec(), &Folder));
}
} // namespace
