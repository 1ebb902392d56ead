#include "foundation/FileHandling.h"

#include "foundation/Exceptions.h"

#include "AssertionRecorder.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace NSHarbryUtils;
using NSTesting::CEnvironment;
using NSTesting::CExpectAssertions;
using NSTesting::CTempFolder;

namespace
{
const fs::path kKinvar = fs::path("Thistlemarrow Software") / "Kinvar";

struct TExtensionCase
{
    const char16* fName;
    bool (*fTest)(const fs::path&);
    bool fExpected;
};

TEST(FileHandling, ExtensionsMatchExactCaseOnLongerNames)
{
    const std::vector<TExtensionCase> cases = {
        {u".kinvarmap", &HasMapExtension, false},
        {u"a.kinvarmap", &HasMapExtension, true},
        {u"a.KINVARMAP", &HasMapExtension, false},
        {u"/some/folder/b.kinvarmap", &HasMapExtension, true},
        {u"Fader.midicodec", &HasDefinitionExtension, true},
        {u"Fader.png", &HasPictureExtension, true},
        {u"Fader.PNG", &HasPictureExtension, false},
        {u"s.luacodec", &HasLuaExtension, true},
        {u"LuaHost.kinvarcodec", &HasCodecExtension, true},
    };
    for (const TExtensionCase& c : cases)
        EXPECT_EQ(c.fTest(fs::path(c.fName)), c.fExpected) << fs::path(c.fName);
}

// A fake XDG tree: the user's data home, and two machine-wide folders with a
// relative entry between them that must be ignored.
class DataFolders : public testing::Test
{
protected:
    void SetUp() override
    {
        fEnvironment.Set("XDG_DATA_HOME", (fTree / "home").string());
        fEnvironment.Set("XDG_DATA_DIRS", (fTree / "sys1").string() +
                                              ":relative/share:" + (fTree / "sys2").string());
    }
    void TearDown() override
    {
        SetCodecFolderOverride("");
        SetMapFolderOverride("");
    }

    fs::path Make(const std::string& base, const fs::path& below)
    {
        return fTree.MakeFolder(fs::path(base) / kKinvar / below);
    }

    CTempFolder fTree;
    CEnvironment fEnvironment;
};

TEST_F(DataFolders, UserFolderComesFirstAndOnlyExistingFoldersAreListed)
{
    EXPECT_TRUE(GetMIDICodecFolders().empty());
    EXPECT_TRUE(GetLuaCodecFolders().empty());
    EXPECT_TRUE(GetMapFolders().empty());
    EXPECT_TRUE(fTree.Snapshot().empty()) << "a search must create nothing";
    const fs::path userMIDI = Make("home", "Codecs/MIDI Codecs");
    const fs::path userMaps = Make("home", "Maps");
    Make("sys1", "Codecs"); // no "MIDI Codecs" below it
    const fs::path sys1Lua = Make("sys1", "Codecs/Lua Codecs");
    const fs::path sys1Maps = Make("sys1", "Maps");
    const fs::path sys2MIDI = Make("sys2", "Codecs/MIDI Codecs");
    fTree.Write(fs::path("sys2") / kKinvar / "Maps", "a file, not a folder");
    const auto before = fTree.Snapshot();

    EXPECT_EQ(GetMIDICodecFolders(), (TFolderList{userMIDI, sys2MIDI}));
    EXPECT_EQ(GetLuaCodecFolders(), (TFolderList{sys1Lua}));
    EXPECT_EQ(GetMapFolders(), (TFolderList{userMaps, sys1Maps}));
    EXPECT_EQ(fTree.Snapshot(), before) << "a search must create nothing";
}

TEST_F(DataFolders, DefaultsFollowTheXdgRules)
{
    fEnvironment.Set("HOME", (fTree / "user").string());
    fEnvironment.Set("XDG_DATA_HOME", std::nullopt);
    fEnvironment.Set("XDG_DATA_DIRS", std::nullopt);
    EXPECT_EQ(GetUserDataFolder(), fTree / "user/.local/share" / kKinvar);
    EXPECT_EQ(GetMachineDataFolders(), (TFolderList{fs::path("/usr/local/share") / kKinvar,
                                                    fs::path("/usr/share") / kKinvar}));

    fEnvironment.Set("XDG_DATA_HOME", "relative/data");
    fEnvironment.Set("XDG_DATA_DIRS", "");
    EXPECT_EQ(GetUserDataFolder(), fTree / "user/.local/share" / kKinvar)
        << "a relative XDG_DATA_HOME doesn't count";
    EXPECT_EQ(GetMachineDataFolders().size(), 2u) << "an empty XDG_DATA_DIRS means the default";
}

TEST(ProgramFolder, IsTheFolderOfTheRunningProgram)
{
    EXPECT_EQ(fs::canonical(GetProgramFolder()),
              fs::canonical(fs::path(BRASSFOLD_BINARY_DIR) / "bin"));
}

TEST(ProgramFolder, TestCodecFolderIsCodecsTestingAndAssertsWhenAStepIsMissing)
{
    CTempFolder tree;
    {
        CExpectAssertions expect;
        EXPECT_EQ(GetTestCodecFolderIn(tree.Path()), tree / "Codecs/Testing");
        EXPECT_EQ(expect.Count(), 2u);
    }
    tree.MakeFolder("Codecs");
    {
        CExpectAssertions expect;
        GetTestCodecFolderIn(tree.Path());
        EXPECT_EQ(expect.Count(), 1u);
    }
    tree.MakeFolder("Codecs/Testing");
    EXPECT_EQ(GetTestCodecFolderIn(tree.Path()), tree / "Codecs/Testing");
}

TEST(ProgramFolder, InstalledTreeKeepsTheTestCodecFolderBesideBinAndABuildTreeWins)
{
    CTempFolder tree;
    tree.MakeFolder("lib/brassfold/Codecs/Testing");
    EXPECT_EQ(GetTestCodecFolderIn(tree.MakeFolder("bin")), tree / "lib/brassfold/Codecs/Testing");
    tree.MakeFolder("bin/Codecs/Testing");
    EXPECT_EQ(GetTestCodecFolderIn(tree / "bin"), tree / "bin/Codecs/Testing");
}

// Records what the walk meets, relative to the root; passes over hidden
// folders and those named skip, and asks for every other one, loops too.
class CRecordingHandler : public NSHarbryExtras::IDirScannerHandler
{
public:
    explicit CRecordingHandler(fs::path root) : fRoot(std::move(root)) {}

    void IDirScannerHandler_FileFound(const NSHarbryExtras::TDirItem& item) override
    {
        EXPECT_EQ(item.fKind, NSHarbryExtras::kDirItemFile);
        fMet.push_back("F " + item.fPath.lexically_relative(fRoot).string());
    }
    bool IDirScannerHandler_FolderFound(const NSHarbryExtras::TDirItem& item) override
    {
        EXPECT_EQ(item.fKind, NSHarbryExtras::kDirItemFolder);
        fMet.push_back("D " + item.fPath.lexically_relative(fRoot).string() + " " +
                       std::to_string(item.fFlags));
        return (item.fFlags & NSHarbryExtras::kDirItemHidden) != 0 || item.fPath.filename() == "skip";
    }

    fs::path fRoot;
    std::vector<std::string> fMet;
};

TEST(WalkFolder, WalksDepthFirstInNameOrderAndPassesOverRefusedFoldersAndLoops)
{
    CTempFolder tree;
    tree.Write("b.midicodec");
    tree.Write("Z/x.png");
    tree.Write("a/2.txt");
    tree.Write("a/1.txt");
    tree.Write("a/deep/n.midicodec");
    tree.Write("skip/never.midicodec");
    tree.Write(".hidden/never.midicodec");
    fs::create_directory_symlink(tree.Path(), tree / "a/up");
    fs::create_directory_symlink(tree / "a", tree / "a/self");
    fs::create_symlink(tree / "missing", tree / "dangling");
    fs::create_symlink(tree / "b.midicodec", tree / "c.link");
    ASSERT_EQ(::mkfifo((tree / "fifo").c_str(), 0600), 0);

    CRecordingHandler handler(tree.Path());
    WalkFolder(tree.Path(), handler);
    const std::vector<std::string> expected = {
        "D .hidden 1",  "D Z 0",    "F Z/x.png",     "D a 0",    "F a/1.txt", "F a/2.txt", "D a/deep 0",
        "F a/deep/n.midicodec", "D a/self 2", "D a/up 2", "F b.midicodec", "F c.link", "D skip 0",
    };
    EXPECT_EQ(handler.fMet, expected);
}

TEST(WalkFolder, FolderThatCannotBeListedThrowsItsFailure)
{
    CTempFolder tree;
    CRecordingHandler handler(tree.Path());
    EXPECT_THROW(WalkFolder(tree / "missing", handler), NSException::XFileNotFound);
    tree.Write("file");
    EXPECT_THROW(WalkFolder(tree / "file", handler), NSException::XFileNotFound);
}

TEST(OpenFile, ReadingPastTheEndIsBadInputButWritingAReadOnlyFileAsserts)
{
    CTempFolder tree;
    const fs::path path = tree.Write("ro.bin", "abc");
    COpenReadFileBridge reader(path);
    reader.SetPosition(2);
    EXPECT_THROW(reader.ReadU16(), NSException::XRead);
    CExpectAssertions expect;
    EXPECT_THROW(reader.WriteByte(1), NSException::XWrite);
    EXPECT_EQ(expect.Count(), 1u);
    EXPECT_EQ(ReadWholeFile(path), (std::vector<u8>{'a', 'b', 'c'}));
}

TEST(OpenFile, OpeningFailuresTranslateIntoTheFamily)
{
    CTempFolder tree;
    tree.MakeFolder("folder");
    EXPECT_THROW(COpenReadFileBridge(tree / "missing"), NSException::XFileNotFound);
    EXPECT_THROW(COpenFile(tree / "missing", COpenFile::EMode::kReadWrite),
                 NSException::XFileNotFound);
    EXPECT_THROW(COpenFile(tree / "no/such/folder/f", COpenFile::EMode::kCreate),
                 NSException::XFileNotFound);
    EXPECT_THROW(COpenReadFileBridge(tree / "folder"), NSException::XFileNotFound);
    EXPECT_THROW(ReadWholeFile(tree / "missing"), NSException::XFileNotFound);
}

TEST(OpenFile, AFailureTracesThePlaceOfTheOperationThatFailed)
{
    CTempFolder tree;
    CRecordingHandler handler(tree.Path());
    NSTesting::CRecordTraces traces;
    EXPECT_THROW(COpenReadFileBridge(tree / "missing"), NSException::XFileNotFound);
    EXPECT_THROW(WalkFolder(tree / "missing", handler), NSException::XFileNotFound);
    std::vector<std::string> sites;
    for (const std::string& line : traces.Lines())
    {
        if (line.ends_with("Exception thrown"))
            sites.push_back(line);
    }
    ASSERT_EQ(sites.size(), 2u);
    EXPECT_NE(sites[0], sites[1]) << "both name the shared helper, not the failed operation";
}
} // namespace
