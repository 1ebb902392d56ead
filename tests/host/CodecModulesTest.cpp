// Codec modules, loaded for real from the modules built for these tests: the
// workbench's forgiving loader with its script binding and its module list,
// the listing of models, the debug channel handed to codecs, and the caching
// loader with its two lifetimes.

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
        gCodecSurfaces.clear();
        loadedModules.clear();
        NSKinvar::ReleaseCodecCache();
        SetCodecFolderOverride("");
    }

    CTemporaryFolder fFolder;
    CLogCapture fLog;
};

std::vector<std::u16string> ModelNames(const std::vector<TControlSurfaceInfo>& infos)
{
    std::vector<std::u16string> names;
    for (const TControlSurfaceInfo& info : infos)
        names.push_back(GetRecordText(info.fManufacturer) + u"/" + GetRecordText(info.fModel));
    return names;
}

TEST_F(CodecModulesTest, AScriptHostGetsTheScriptByURLAndOffersItsModels)
{
    const fs::path script = fFolder.Write("My Scripts/Two Boxes.luacodec", "Acme\tOne\nAcme\tTwo\n");
    CDebugCapture debug;
    const TCodecPtr codec = LoadCodec(TestCodec("GOOD"), script);
    ASSERT_NE(nullptr, codec);
    EXPECT_EQ(1u, loadedModules.size());
    EXPECT_EQ(1u, debug.Count("Test codec: the host's debugger is set"));

    const std::vector<TControlSurfaceInfo> models = GetControlSurfacesForCodec(codec);
    EXPECT_EQ((std::vector<std::u16string>{u"Acme/One", u"Acme/Two"}), ModelNames(models));
    const std::u16string url = GetRecordText(models[0].fSetupInfoText);
    EXPECT_EQ(u"file://", url.substr(0, 7));
    EXPECT_NE(std::u16string::npos, url.find(u"/My%20Scripts/Two%20Boxes.luacodec"));
    EXPECT_TRUE(fLog.Text().empty());
}

// Each load loads the module once more, and the list keeps each one until the
// end of the run.
TEST_F(CodecModulesTest, EveryLoadAddsAModuleEvenOfTheSameFile)
{
    const fs::path script = fFolder.Write("a.luacodec", "A\tB\n");
    const TCodecPtr first = LoadCodec(TestCodec("GOOD"), script);
    const TCodecPtr second = LoadCodec(TestCodec("GOOD"), script);
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, second);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(2u, loadedModules.size());
}

// The forgiving loader says nothing and keeps nothing for a module it can't
// use.
TEST_F(CodecModulesTest, ModulesThatCantBeUsedGiveAnEmptyCodecAndNoMessage)
{
    const fs::path script = fFolder.Write("a.luacodec", "A\tB\n");
    for (const fs::path& module : {fFolder.Path() / "Missing.kinvarcodec", NotALibrary(), TestCodec("NO_FACTORY")})
    {
        SCOPED_TRACE(module.string());
        EXPECT_EQ(nullptr, LoadCodec(module, script));
        EXPECT_TRUE(loadedModules.empty());
    }
    EXPECT_TRUE(fLog.Text().empty());
}

TEST_F(CodecModulesTest, AFailingFactoryIsThrownAsItsStatus)
{
    EXPECT_THROW(LoadCodec(TestCodec("FAILING_FACTORY"), fFolder.Path() / "x.luacodec"), XBadFormat);
    EXPECT_TRUE(loadedModules.empty());
}

// The codec's words come to the log before its status is thrown.
TEST_F(CodecModulesTest, ARefusedScriptLogsTheCodecsTextThenThrows)
{
    const fs::path script = fFolder.Write("bad.luacodec", "fail\n");
    EXPECT_THROW(LoadCodec(TestCodec("GOOD"), script), XBadFormat);
    EXPECT_TRUE(loadedModules.empty());
    const std::u16string log = fLog.Text();
    EXPECT_EQ(u"Script refused: file://", log.substr(0, 23));
    EXPECT_NE(std::u16string::npos, log.find(u"bad.luacodec"));
}

TEST_F(CodecModulesTest, AModuleWithoutScriptBindingServesWithoutTheScript)
{
    const fs::path script = fFolder.Write("a.luacodec", "Not\tUsed\n");
    const TCodecPtr codec = LoadCodec(TestCodec("STATES"), script);
    ASSERT_NE(nullptr, codec);
    const std::vector<TControlSurfaceInfo> models = GetControlSurfacesForCodec(codec);
    EXPECT_EQ(std::vector<std::u16string>{u"Brassfold Tests/State Box"}, ModelNames(models));
    EXPECT_TRUE(GetRecordText(models[0].fSetupInfoText).empty());
}

// What a missing script host leads to in "Choose Codec File".
TEST_F(CodecModulesTest, ListingTheModelsOfNoCodecIsAFailedAssertion)
{
    NSTesting::CExpectAssertions expect;
    EXPECT_THROW(GetControlSurfacesForCodec(nullptr), XProgrammingError);
    EXPECT_EQ(1u, expect.Count());
}

TEST(FileURLTest, BytesOutsideTheUnreservedSetAreEscaped)
{
    EXPECT_EQ("file:///tmp/a%20b/%C3%BC%23%25.luacodec", MakeFileURL("/tmp/a b/\xC3\xBC#%.luacodec"));
    EXPECT_EQ("file:///x/y/z.luacodec", MakeFileURL("/x/./y/../y/z.luacodec"));
}

// ---- The caching loader --------------------------------------------------------------

TEST_F(CodecModulesTest, OneFileGivesOneInstanceWhileItsUserHoldsIt)
{
    for (const char* kind : {"GOOD", "STATES"})
    {
        SCOPED_TRACE(kind);
        const NSKinvar::TCodecInstancePtr first = NSKinvar::GetCodecInstance(TestCodec(kind));
        const fs::path sameFile = TestCodec(kind).parent_path() / "." / TestCodec(kind).filename();
        const NSKinvar::TCodecInstancePtr second = NSKinvar::GetCodecInstance(sameFile);
        EXPECT_EQ(first, second);
        EXPECT_NE(nullptr, first->GetCodec());
        EXPECT_NE(nullptr, first->GetModule());
    }
}

TEST_F(CodecModulesTest, ACodecThatMayStayLoadedOutlivesItsUsersUntilTheCacheIsReleased)
{
    std::weak_ptr<NSKinvar::CCodecInstance> weak = NSKinvar::GetCodecInstance(TestCodec("GOOD"));
    EXPECT_FALSE(weak.expired());
    EXPECT_EQ(weak.lock(), NSKinvar::GetCodecInstance(TestCodec("GOOD")));
    NSKinvar::ReleaseCodecCache();
    EXPECT_TRUE(weak.expired());
}

TEST_F(CodecModulesTest, ACodecThatMayNotStayLoadedIsLoadedAgainAfterItsLastUser)
{
    NSKinvar::TCodecInstancePtr first = NSKinvar::GetCodecInstance(TestCodec("STATES"));
    std::weak_ptr<NSKinvar::CCodecInstance> weak = first;
    first.reset();
    EXPECT_TRUE(weak.expired());
    const NSKinvar::TCodecInstancePtr again = NSKinvar::GetCodecInstance(TestCodec("STATES"));
    ASSERT_NE(nullptr, again);
    u32 count = 0;
    class CCount final : public IControlSurfaceInfoGetter
    {
    public:
        explicit CCount(u32& count) : fCount(count) {}
        u32 IControlSurfaceInfoGetter_Take(const TControlSurfaceInfo*, u32 count) override
        {
            fCount = count;
            return NSKinvarCodec::kCodecOK;
        }
        u32& fCount;
    } getter(count);
    CCodecTextGetter messages;
    EXPECT_EQ(NSKinvarCodec::kCodecOK, again->GetCodec()->ICodec2_GetControlSurfaces(getter, messages));
    EXPECT_EQ(1u, count);
}

TEST_F(CodecModulesTest, TheCachingLoaderThrowsForEveryFault)
{
    EXPECT_THROW(NSKinvar::GetCodecInstance(fFolder.Path() / "Missing.kinvarcodec"), std::bad_alloc);
    EXPECT_THROW(NSKinvar::GetCodecInstance(NotALibrary()), std::bad_alloc);
    try
    {
        NSKinvar::GetCodecInstance(TestCodec("NO_FACTORY"));
        ADD_FAILURE() << "no exception";
    }
    catch (const NSKinvar::XUnsupportedInterface& e)
    {
        EXPECT_STREQ("Unsupported interface", e.what());
    }
    EXPECT_THROW(NSKinvar::GetCodecInstance(TestCodec("FAILING_FACTORY")), XBadFormat);
}

TEST_F(CodecModulesTest, AScriptHostIsToldTheCodecFolderOverrideWhenOneIsSet)
{
    const auto folderOf = [](const char* kind) {
        const NSKinvar::TCodecInstancePtr instance = NSKinvar::GetCodecInstance(TestCodec(kind));
        const auto models = GetControlSurfacesForCodec(instance->GetCodec());
        return GetRecordText(models.at(0).fSetupWarningText);
    };
    EXPECT_EQ(u"", folderOf("GOOD"));
    NSKinvar::ReleaseCodecCache();
    SetCodecFolderOverride("/opt/scripts");
    EXPECT_EQ(u"/opt/scripts", folderOf("GOOD"));
    // A module without the export is passed over.
    EXPECT_EQ(u"", folderOf("STATES"));
}

TEST_F(CodecModulesTest, ReleasingTheCacheWhileAUserHoldsAnInstanceIsAFailedAssertion)
{
    const NSKinvar::TCodecInstancePtr held = NSKinvar::GetCodecInstance(TestCodec("GOOD"));
    NSTesting::CExpectAssertions expect;
    NSKinvar::ReleaseCodecCache();
    EXPECT_EQ(1u, expect.Count());
}
} // namespace
