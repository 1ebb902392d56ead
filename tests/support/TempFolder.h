#pragma once
// Test helpers for real files: a fresh folder below the temporary folder,
// removed with everything in it at the end of the test, and a scoped change of
// environment variables.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace NSTesting
{
class CTempFolder
{
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    const std::filesystem::path& Path() const { return fPath; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const { return fPath / relative; }

    std::filesystem::path MakeFolder(const std::filesystem::path& relative) const;
    // Writes a file, and the folders above it.
    std::filesystem::path Write(const std::filesystem::path& relative, std::string_view content = {}) const;
    // Every path below the folder, relative and sorted: a snapshot to compare.
    std::vector<std::string> Snapshot() const;

private:
    std::filesystem::path fPath;
};

// Sets (or, with nullopt, unsets) variables and restores them at the end.
class CEnvironment
{
public:
    void Set(const std::string& name, std::optional<std::string> value);
    ~CEnvironment();

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> fSaved;
};
} // namespace NSTesting
