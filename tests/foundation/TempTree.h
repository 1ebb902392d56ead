#pragma once
// Test helpers for real files: a temporary folder removed with its contents at
// the end of the test, and a scoped change of environment variables.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace NSTesting
{
class CTempTree
{
public:
    CTempTree()
    {
        std::string name = (std::filesystem::temp_directory_path() / "brassfold-test-XXXXXX");
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        fRoot = name;
    }
    ~CTempTree()
    {
        std::error_code error;
        std::filesystem::permissions(fRoot, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, error);
        std::filesystem::remove_all(fRoot, error);
    }
    CTempTree(const CTempTree&) = delete;
    CTempTree& operator=(const CTempTree&) = delete;

    const std::filesystem::path& Root() const { return fRoot; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const
    {
        return fRoot / relative;
    }

    std::filesystem::path MakeFolder(const std::filesystem::path& relative) const
    {
        std::filesystem::create_directories(fRoot / relative);
        return fRoot / relative;
    }

    std::filesystem::path MakeFile(const std::filesystem::path& relative,
                                   const std::string& content = "") const
    {
        std::filesystem::create_directories((fRoot / relative).parent_path());
        std::ofstream(fRoot / relative, std::ios::binary) << content;
        return fRoot / relative;
    }

    // Every path below the root, relative and sorted: a snapshot to compare.
    std::vector<std::string> Snapshot() const
    {
        std::vector<std::string> paths;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(fRoot))
            paths.push_back(std::filesystem::relative(entry.path(), fRoot).string());
        std::sort(paths.begin(), paths.end());
        return paths;
    }

private:
    std::filesystem::path fRoot;
};

// Sets (or, with nullopt, unsets) variables and restores them at the end.
class CEnvironment
{
public:
    void Set(const std::string& name, std::optional<std::string> value)
    {
        const char* old = std::getenv(name.c_str());
        fSaved.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
        Apply(name, value);
    }
    ~CEnvironment()
    {
        for (auto saved = fSaved.rbegin(); saved != fSaved.rend(); ++saved)
            Apply(saved->first, saved->second);
    }

private:
    static void Apply(const std::string& name, const std::optional<std::string>& value)
    {
        if (value)
            ::setenv(name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(name.c_str());
    }

    std::vector<std::pair<std::string, std::optional<std::string>>> fSaved;
};
} // namespace NSTesting
