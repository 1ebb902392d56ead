#pragma once
// Folders and files: where codecs and maps are found, the names that classify
// files, the folder walk, and files as byte streams.
//
// Data folders follow the XDG base directories. The user's folder of maker and
// product is $XDG_DATA_HOME/Thistlemarrow Software/Kinvar (by default below
// ~/.local/share); the machine-wide ones are the same below each folder of
// $XDG_DATA_DIRS (by default /usr/local/share:/usr/share), in that order. Below
// them lie "Codecs/MIDI Codecs", "Codecs/Lua Codecs" and "Maps".
//
// Nothing here creates a folder: a search list holds only folders that exist,
// and an empty list is a legal answer. File-system failures arrive as the
// exceptions of foundation/Exceptions.h (see ThrowErrnoError), with a trace line
// that names the path.
//
// Main thread in all known uses; nothing here keeps state besides the two
// override strings.

#include "foundation/Media.h"
#include "foundation/Types.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// ---- Names ----------------------------------------------------------------

inline constexpr std::u16string_view kCodecFolderName = u"Codecs";
inline constexpr std::u16string_view kMIDICodecFolderName = u"MIDI Codecs";
inline constexpr std::u16string_view kLuaCodecFolderName = u"Lua Codecs";
inline constexpr std::u16string_view kMapFolderName = u"Maps";
inline constexpr std::u16string_view kMakerFolderName = u"Thistlemarrow Software";
inline constexpr std::u16string_view kProductFolderName = u"Kinvar";
inline constexpr std::u16string_view kMapExtension = u".kinvarmap";
inline constexpr std::u16string_view kCodecExtension = u".kinvarcodec";
inline constexpr std::u16string_view kDefinitionExtension = u".midicodec";
inline constexpr std::u16string_view kPictureExtension = u".png";
inline constexpr std::u16string_view kLuaExtension = u".luacodec";
inline constexpr std::u16string_view kDebuggingFolderName = u"Debugging";
inline constexpr std::u16string_view kTestingFolderName = u"Testing";

// ---- Extensions -----------------------------------------------------------

// A name qualifies when it is longer than the extension and ends in it, in
// exact case: "a.kinvarmap" is a map file, ".kinvarmap" and "a.KINVARMAP" are
// not. A path is judged by its last element.
bool HasMapExtension(const std::filesystem::path& name);
bool HasDefinitionExtension(const std::filesystem::path& name);
bool HasPictureExtension(const std::filesystem::path& name);
bool HasLuaExtension(const std::filesystem::path& name);
bool HasCodecExtension(const std::filesystem::path& name);

// ---- Folder searches -------------------------------------------------------

using TFolderList = std::vector<std::filesystem::path>;

// "MIDI Codecs" below "Codecs" of the user's data folder, then of each
// machine-wide one; only folders that exist, each once. With the codec
// override set, exactly the override's folder.
TFolderList GetMIDICodecFolders();
// The same with "Lua Codecs", and the same override.
TFolderList GetLuaCodecFolders();
// "Maps" directly below each data folder; its own override.
TFolderList GetMapFolders();

// Override strings (UTF-8 paths), empty at start: set, they replace the codec
// searches (MIDI and scripted alike) or the map search. The codec override is
// also the folder that a scripted codec host is told its scripts lie in.
void SetCodecFolderOverride(std::string folder);
const std::string& GetCodecFolderOverride();
void SetMapFolderOverride(std::string folder);

// Where an installed tree keeps the scripted codec host's "Codecs" folder,
// relative to the folder of the installed programs (bin/). The install rules
// put the module there, out of the way of the programs on the PATH.
inline constexpr std::string_view kInstalledCodecBase = "../lib/brassfold";

// The folder of the scripted codec host: "Codecs", then "Testing", below the
// program's own folder as a build tree has it, or else below
// kInstalledCodecBase as an installed tree has it. When neither tree has
// "Codecs", or its "Codecs" lacks "Testing", that is an assertion failure; the
// build tree's path is returned all the same.
std::filesystem::path GetTestCodecFolder();
// The same below a given program folder.
std::filesystem::path GetTestCodecFolderIn(const std::filesystem::path& programFolder);

namespace NSHarbryUtils
{
// The user's data folder of maker and product, whether it exists or not;
// empty when the user has no home folder.
std::filesystem::path GetUserDataFolder();
// The machine-wide data folders of maker and product, in search order, whether
// they exist or not.
TFolderList GetMachineDataFolders();
// The folder of the running program.
std::filesystem::path GetProgramFolder();

// Whether folder has a child of that name which is a folder. A child that
// can't be looked at counts as absent.
bool FolderExists(const std::filesystem::path& folder, std::u16string_view name);

// The whole file; throws the exception of the file-system failure.
std::vector<u8> ReadWholeFile(const std::filesystem::path& file);

// A file as a stream. The size is taken at open and follows the writes.
// Reading past the end of a file is bad input, not a programming fault: it
// throws NSException::XRead without an assertion.
class COpenFile : public NSCorbelan::CMedia
{
public:
    enum class EMode
    {
        kRead,      // the file must exist
        kReadWrite, // the file must exist
        kCreate,    // made if missing, emptied if present
    };

    COpenFile(const std::filesystem::path& file, EMode mode);
    ~COpenFile() override;
    COpenFile(const COpenFile&) = delete;
    COpenFile& operator=(const COpenFile&) = delete;

    bool Invariant() const override;
    u32 GetSize() const override;
    u32 GetPosition() const override;
    void SetPosition(u32 position) override;
    void ReadAt(u32 position, u32 count, void* destination) override;
    void WriteAt(u32 position, u32 count, const void* source) override;

    const std::filesystem::path& GetPath() const { return fPath; }

protected:
    // Takes an open descriptor; closes it at destruction.
    COpenFile(const std::filesystem::path& file, int descriptor, bool writable);

private:
    std::filesystem::path fPath;
    int fDescriptor;
    bool fWritable;
    u32 fSize = 0;
    u32 fPosition = 0;
};

// A file opened for reading only.
class COpenReadFileBridge : public COpenFile
{
public:
    explicit COpenReadFileBridge(const std::filesystem::path& file);
};

} // namespace NSHarbryUtils

// ---- Folder walk ------------------------------------------------------------

namespace NSHarbryExtras
{
inline constexpr u32 kDirItemFolder = 34;
inline constexpr u32 kDirItemFile = 35;

// Flag bits of a folder item. A plain folder has none.
inline constexpr u32 kDirItemHidden = 1; // its name starts with "."
inline constexpr u32 kDirItemLoop = 2;   // it is a folder of the walk's own chain, by a link

struct TDirItem
{
    std::filesystem::path fPath;
    u32 fKind;
    u32 fFlags;
};

class IDirScannerHandler
{
public:
    // A file was met.
    virtual void IDirScannerHandler_FileFound(const TDirItem& item) = 0;
    // A folder was met; true passes over it.
    virtual bool IDirScannerHandler_FolderFound(const TDirItem& item) = 0;
    virtual ~IDirScannerHandler() = default;
};
} // namespace NSHarbryExtras

// Tells the handler of everything below folder, depth first. The items of each
// folder come in byte order of their names, so that a walk gives the same
// order on every file system. Links are followed; a folder item flagged
// kDirItemLoop is reported but never entered, whatever the handler answers.
// Items that are neither file nor folder (and dangling links) are passed over.
// A folder that can't be listed throws its file-system failure.
void WalkFolder(const std::filesystem::path& folder, NSHarbryExtras::IDirScannerHandler& handler);
