#include "foundation/LogFile.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace NSDebugger
{
namespace
{
bool WriteAll(int fd, const char* data, std::size_t size)
{
    while (size > 0)
    {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0)
            return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}
} // namespace

CLogFileImpl::CLogFileImpl(std::filesystem::path path) : fPath(std::move(path)) {}

// Opened for each line and closed again: the page cache keeps what was
// written when the process dies, which is all the log promises, so the lines
// are not forced to the disk one by one.
void CLogFileImpl::AppendLine(std::string_view text) const noexcept
{
    const int fd = ::open(fPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    // No sharing while the line goes in: two processes can't mix their lines.
    ::flock(fd, LOCK_EX);
    if (::lseek(fd, 0, SEEK_END) >= 0 && WriteAll(fd, text.data(), text.size()))
        WriteAll(fd, "\n", 1);
    ::close(fd);
}

std::vector<std::shared_ptr<CLogFileImpl>>& LogDestinations()
{
    static std::vector<std::shared_ptr<CLogFileImpl>> destinations;
    return destinations;
}

std::filesystem::path GetLogFolder()
{
    if (const char* documents = std::getenv("XDG_DOCUMENTS_DIR"); documents && *documents)
        return documents;
    if (const char* home = std::getenv("HOME"); home && *home)
    {
        std::error_code error;
        std::filesystem::path folder = std::filesystem::path(home) / "Documents";
        if (std::filesystem::is_directory(folder, error))
            return folder;
    }
    return {};
}

std::string MakeLogFileName(std::string_view namePrefix, std::time_t start)
{
    std::tm local{};
    localtime_r(&start, &local);
    char stamp[64];
    const std::size_t length = std::strftime(stamp, sizeof stamp, "%y%m%d %H%M%S.log", &local);
    return std::string(namePrefix) + " " + std::string(stamp, length);
}
} // namespace NSDebugger

CLogFile::CLogFile(std::string_view namePrefix)
    : fImpl(std::make_shared<NSDebugger::CLogFileImpl>(
          NSDebugger::GetLogFolder() / NSDebugger::MakeLogFileName(namePrefix, std::time(nullptr))))
{
    NSDebugger::LogDestinations().push_back(fImpl);
}

CLogFile::~CLogFile()
{
    auto& destinations = NSDebugger::LogDestinations();
    destinations.erase(std::remove(destinations.begin(), destinations.end(), fImpl),
                       destinations.end());
}
