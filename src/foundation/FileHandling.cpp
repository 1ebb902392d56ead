#include "foundation/FileHandling.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace
{
std::string gCodecFolderOverride;
std::string gMapFolderOverride;

constexpr const char* kDefaultDataDirs = "/usr/local/share:/usr/share";
constexpr const char* kProcSelfExe = "/proc/self/exe";

// The trace names the path, since the exception itself can't carry it, and
// the place of the operation that failed.
[[noreturn]] void ThrowPathError(int error, const fs::path& path, const char* doing,
                                 const char* file = __builtin_FILE(), i32 line = __builtin_LINE())
{
    DebugTrace(file, line, "%s \"%s\" failed", doing, path.c_str());
    ThrowErrnoError(error, file, line);
}

bool HasExtension(const fs::path& name, std::u16string_view extension)
{
    const std::u16string leaf = name.filename().u16string();
    return leaf.size() > extension.size() && leaf.ends_with(extension);
}

fs::path HomeFolder()
{
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0')
        return home;
    std::array<char, 4096> buffer;
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr)
        return found->pw_dir;
    return {};
}

// An XDG variable counts only when it holds an absolute path.
fs::path XdgDataHome()
{
    if (const char* value = std::getenv("XDG_DATA_HOME"); value != nullptr && value[0] == '/')
        return value;
    const fs::path home = HomeFolder();
    return home.empty() ? fs::path() : home / ".local" / "share";
}

TFolderList XdgDataDirs()
{
    const char* value = std::getenv("XDG_DATA_DIRS");
    const std::string_view list = (value != nullptr && value[0] != '\0') ? value : kDefaultDataDirs;
    TFolderList folders;
    std::size_t start = 0;
    while (start <= list.size())
    {
        const std::size_t end = std::min(list.find(':', start), list.size());
        const std::string_view entry = list.substr(start, end - start);
        if (entry.starts_with('/'))
            folders.emplace_back(entry);
        start = end + 1;
    }
    return folders;
}

fs::path MakerProductFolder(const fs::path& base)
{
    return base / fs::path(kMakerFolderName) / fs::path(kProductFolderName);
}

bool AlreadyListed(const TFolderList& folders, const fs::path& folder)
{
    return std::any_of(folders.begin(), folders.end(),
                       [&](const fs::path& listed)
                       {
                           std::error_code error;
                           return fs::equivalent(listed, folder, error);
                       });
}

// Follows the chain of child names down from each data folder, the user's
// first, and lists the folders that exist at its end. The same folder reached
// twice (an XDG_DATA_HOME that is also in XDG_DATA_DIRS) is listed once, so
// that a scan doesn't read its files twice.
TFolderList SearchDataFolders(std::initializer_list<std::u16string_view> chain,
                              const std::string& override)
{
    if (!override.empty())
        return {fs::path(override)};
    TFolderList bases;
    if (fs::path user = NSHarbryUtils::GetUserDataFolder(); !user.empty())
        bases.push_back(std::move(user));
    for (fs::path& machine : NSHarbryUtils::GetMachineDataFolders())
        bases.push_back(std::move(machine));

    TFolderList found;
    for (fs::path folder : bases)
    {
        bool complete = true;
        for (const std::u16string_view name : chain)
        {
            complete = NSHarbryUtils::FolderExists(folder, name);
            if (!complete)
                break;
            folder /= fs::path(name);
        }
        if (complete && !AlreadyListed(found, folder))
            found.push_back(std::move(folder));
    }
    return found;
}
} // namespace

// ---- Extensions -----------------------------------------------------------

bool HasMapExtension(const fs::path& name)
{
    return HasExtension(name, kMapExtension);
}

bool HasDefinitionExtension(const fs::path& name)
{
    return HasExtension(name, kDefinitionExtension);
}

bool HasPictureExtension(const fs::path& name)
{
    return HasExtension(name, kPictureExtension);
}

bool HasLuaExtension(const fs::path& name)
{
    return HasExtension(name, kLuaExtension);
}

bool HasCodecExtension(const fs::path& name)
{
    return HasExtension(name, kCodecExtension);
}

// ---- Folder searches -------------------------------------------------------

TFolderList GetMIDICodecFolders()
{
    return SearchDataFolders({kCodecFolderName, kMIDICodecFolderName}, gCodecFolderOverride);
}

TFolderList GetLuaCodecFolders()
{
    return SearchDataFolders({kCodecFolderName, kLuaCodecFolderName}, gCodecFolderOverride);
}

TFolderList GetMapFolders()
{
    return SearchDataFolders({kMapFolderName}, gMapFolderOverride);
}

void SetCodecFolderOverride(std::string folder)
{
    gCodecFolderOverride = std::move(folder);
}

const std::string& GetCodecFolderOverride()
{
    return gCodecFolderOverride;
}

void SetMapFolderOverride(std::string folder)
{
    gMapFolderOverride = std::move(folder);
}

fs::path GetTestCodecFolder()
{
    return GetTestCodecFolderIn(NSHarbryUtils::GetProgramFolder());
}

// A build tree builds the scripted codec host next to the programs; an
// installed tree keeps it apart, since bin/ holds programs only. The build
// tree's layout wins where both could be found, so that a build run from its
// own folder never picks up an older installed module.
fs::path GetTestCodecFolderIn(const fs::path& programFolder)
{
    const fs::path installed = (programFolder / kInstalledCodecBase).lexically_normal();
    const bool isInstalledTree = !NSHarbryUtils::FolderExists(programFolder, kCodecFolderName) &&
                                 NSHarbryUtils::FolderExists(installed, kCodecFolderName);
    const fs::path base = isInstalledTree ? installed : programFolder;
    BF_ASSERT(NSHarbryUtils::FolderExists(base, kCodecFolderName));
    const fs::path codecs = base / fs::path(kCodecFolderName);
    BF_ASSERT(NSHarbryUtils::FolderExists(codecs, kTestingFolderName));
    return codecs / fs::path(kTestingFolderName);
}

namespace NSHarbryUtils
{
fs::path GetUserDataFolder()
{
    const fs::path base = XdgDataHome();
    return base.empty() ? base : MakerProductFolder(base);
}

TFolderList GetMachineDataFolders()
{
    TFolderList folders = XdgDataDirs();
    for (fs::path& folder : folders)
        folder = MakerProductFolder(folder);
    return folders;
}

fs::path GetProgramFolder()
{
    std::error_code error;
    const fs::path program = fs::read_symlink(kProcSelfExe, error);
    if (error)
        ThrowPathError(error.value(), kProcSelfExe, "Finding the program");
    return program.parent_path();
}

bool FolderExists(const fs::path& folder, std::u16string_view name)
{
    std::error_code error;
    return fs::is_directory(folder / fs::path(name), error);
}

std::vector<u8> ReadWholeFile(const fs::path& file)
{
    COpenReadFileBridge stream(file);
    std::vector<u8> bytes(stream.GetSize());
    stream.Read(stream.GetSize(), bytes.data());
    return bytes;
}

// ---- COpenFile ----------------------------------------------------------------

namespace
{
int OpenFlags(COpenFile::EMode mode)
{
    switch (mode)
    {
    case COpenFile::EMode::kRead:
        return O_RDONLY;
    case COpenFile::EMode::kReadWrite:
        return O_RDWR;
    case COpenFile::EMode::kCreate:
        return O_RDWR | O_CREAT | O_TRUNC;
    }
    return O_RDONLY;
}

int OpenDescriptor(const fs::path& file, COpenFile::EMode mode)
{
    const int descriptor = ::open(file.c_str(), OpenFlags(mode) | O_CLOEXEC, 0666);
    if (descriptor < 0)
        ThrowPathError(errno, file, "Opening");
    return descriptor;
}
} // namespace

COpenFile::COpenFile(const fs::path& file, EMode mode)
    : COpenFile(file, OpenDescriptor(file, mode), mode != EMode::kRead)
{
}

COpenFile::COpenFile(const fs::path& file, int descriptor, bool writable)
    : fPath(file), fDescriptor(descriptor), fWritable(writable)
{
    struct stat status
    {
    };
    if (::fstat(fDescriptor, &status) != 0)
    {
        const int error = errno;
        ::close(fDescriptor);
        ThrowPathError(error, fPath, "Looking at");
    }
    if (S_ISDIR(status.st_mode))
    {
        ::close(fDescriptor);
        BF_TRACE("\"%s\" is a folder, not a file", fPath.c_str());
        BF_THROW_SITE();
        throw NSException::XFileNotFound();
    }
    if (status.st_size > std::numeric_limits<u32>::max())
    {
        // A stream counts its bytes in 32 bits.
        ::close(fDescriptor);
        BF_TRACE("\"%s\" is larger than 4 GiB", fPath.c_str());
        BF_THROW_SITE();
        throw NSException::XUnsupportedFormat();
    }
    fSize = static_cast<u32>(status.st_size);
}

COpenFile::~COpenFile()
{
    ::close(fDescriptor);
}

bool COpenFile::Invariant() const
{
    return fDescriptor >= 0 && fPosition <= fSize;
}

u32 COpenFile::GetSize() const
{
    return fSize;
}

u32 COpenFile::GetPosition() const
{
    return fPosition;
}

void COpenFile::SetPosition(u32 position)
{
    CheckPosition(position, fSize);
    fPosition = position;
}

void COpenFile::ReadAt(u32 position, u32 count, void* destination)
{
    if (u64{position} + count > fSize)
    {
        BF_TRACE("Reading past the end of \"%s\"", fPath.c_str());
        BF_THROW_SITE();
        throw NSException::XRead();
    }
    CheckReadRange(position, count, fSize, destination);
    auto* bytes = static_cast<u8*>(destination);
    u32 done = 0;
    while (done < count)
    {
        const ssize_t got = ::pread(fDescriptor, bytes + done, count - done, position + done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            ThrowPathError(errno, fPath, "Reading");
        if (got == 0)
        {
            // The file shrank under us since it was opened.
            BF_TRACE("\"%s\" ended early", fPath.c_str());
            BF_THROW_SITE();
            throw NSException::XRead();
        }
        done += static_cast<u32>(got);
    }
    fPosition = position + count;
}

void COpenFile::WriteAt(u32 position, u32 count, const void* source)
{
    CheckWriteRange(position, count, fWritable ? std::numeric_limits<u32>::max() : 0, source);
    const auto* bytes = static_cast<const u8*>(source);
    u32 done = 0;
    while (done < count)
    {
        const ssize_t put = ::pwrite(fDescriptor, bytes + done, count - done, position + done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            ThrowPathError(errno, fPath, "Writing");
        done += static_cast<u32>(put);
    }
    fPosition = position + count;
    fSize = std::max(fSize, fPosition);
}

COpenReadFileBridge::COpenReadFileBridge(const fs::path& file) : COpenFile(file, EMode::kRead) {}

} // namespace NSHarbryUtils

// ---- Folder walk ------------------------------------------------------------

namespace
{
using NSHarbryExtras::IDirScannerHandler;
using NSHarbryExtras::TDirItem;
using TFolderIdentity = std::pair<dev_t, ino_t>;

std::vector<fs::path> SortedItems(const fs::path& folder)
{
    std::error_code error;
    fs::directory_iterator items(folder, error);
    if (error)
        ThrowPathError(error.value(), folder, "Listing the folder");
    std::vector<fs::path> paths;
    for (; items != fs::directory_iterator(); items.increment(error))
    {
        if (error)
            ThrowPathError(error.value(), folder, "Listing the folder");
        paths.push_back(items->path());
    }
    std::sort(paths.begin(), paths.end(),
              [](const fs::path& a, const fs::path& b)
              { return a.filename().native() < b.filename().native(); });
    return paths;
}

u32 NameFlags(const fs::path& item)
{
    return item.filename().native().starts_with('.') ? NSHarbryExtras::kDirItemHidden : 0;
}

void WalkChain(const fs::path& folder, IDirScannerHandler& handler,
               std::vector<TFolderIdentity>& chain)
{
    for (const fs::path& item : SortedItems(folder))
    {
        // stat follows links; what it can't look at (a dangling link) is passed over.
        struct stat status
        {
        };
        if (::stat(item.c_str(), &status) != 0)
            continue;
        if (S_ISREG(status.st_mode))
        {
            handler.IDirScannerHandler_FileFound(
                {item, NSHarbryExtras::kDirItemFile, NameFlags(item)});
            continue;
        }
        if (!S_ISDIR(status.st_mode))
            continue;
        const TFolderIdentity identity{status.st_dev, status.st_ino};
        u32 flags = NameFlags(item);
        const bool loop = std::find(chain.begin(), chain.end(), identity) != chain.end();
        if (loop)
            flags |= NSHarbryExtras::kDirItemLoop;
        const bool skip =
            handler.IDirScannerHandler_FolderFound({item, NSHarbryExtras::kDirItemFolder, flags});
        if (skip || loop)
            continue;
        chain.push_back(identity);
        WalkChain(item, handler, chain);
        chain.pop_back();
    }
}
} // namespace

void WalkFolder(const fs::path& folder, NSHarbryExtras::IDirScannerHandler& handler)
{
    std::vector<TFolderIdentity> chain;
    struct stat status
    {
    };
    if (::stat(folder.c_str(), &status) != 0)
        ThrowPathError(errno, folder, "Looking at the folder");
    chain.emplace_back(status.st_dev, status.st_ino);
    WalkChain(folder, handler, chain);
}
