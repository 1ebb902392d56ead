#pragma once
// Log files: optional destinations of the debug channel. A program that wants
// its diagnostic lines in a file holds a CLogFile; while it lives, every line
// that WriteLine passes on is appended to the file as it came in, without
// indentation or prefix. The workbench itself makes none.
//
// The file is opened and closed for each line, so that it is complete whenever
// the process dies. Log destinations are made, used and dropped on the main
// thread only.

#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace NSDebugger
{
// One log destination: the path of its file, and nothing else.
class CLogFileImpl
{
public:
    explicit CLogFileImpl(std::filesystem::path path);

    const std::filesystem::path& GetPath() const { return fPath; }
    // Appends text and a line feed. Silent on every failure: a diagnostic
    // never raises one.
    void AppendLine(std::string_view text) const noexcept;

private:
    std::filesystem::path fPath;
};

// The open destinations, in the order they were made.
std::vector<std::shared_ptr<CLogFileImpl>>& LogDestinations();

// The user's documents folder: XDG_DOCUMENTS_DIR when set, else ~/Documents
// when it exists; empty when neither, and the log name stays relative.
std::filesystem::path GetLogFolder();

// "<prefix> <%y%m%d %H%M%S>.log" for the local time start.
std::string MakeLogFileName(std::string_view namePrefix, std::time_t start);
} // namespace NSDebugger

// Makes one log destination in the log folder, named by the prefix and the
// time of construction; destroying the handle removes the destination.
class CLogFile
{
public:
    explicit CLogFile(std::string_view namePrefix);
    ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    const std::filesystem::path& GetPath() const { return fImpl->GetPath(); }

private:
    std::shared_ptr<NSDebugger::CLogFileImpl> fImpl;
};
