#include "TempFolder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace NSTesting
{
CTempFolder::CTempFolder()
{
    std::string name = fs::temp_directory_path() / "brassfold-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    fPath = name;
}

CTempFolder::~CTempFolder()
{
    std::error_code error;
    fs::permissions(fPath, fs::perms::owner_all, fs::perm_options::add, error);
    fs::remove_all(fPath, error);
}

fs::path CTempFolder::MakeFolder(const fs::path& relative) const
{
    fs::create_directories(fPath / relative);
    return fPath / relative;
}

fs::path CTempFolder::Write(const fs::path& relative, std::string_view content) const
{
    const fs::path file = fPath / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

std::vector<std::string> CTempFolder::Snapshot() const
{
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(fPath))
        paths.push_back(fs::relative(entry.path(), fPath).string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

namespace
{
void Apply(const std::string& name, const std::optional<std::string>& value)
{
    if (value)
        ::setenv(name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(name.c_str());
}
} // namespace

void CEnvironment::Set(const std::string& name, std::optional<std::string> value)
{
    const char* old = std::getenv(name.c_str());
    fSaved.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
    Apply(name, value);
}

CEnvironment::~CEnvironment()
{
    for (auto saved = fSaved.rbegin(); saved != fSaved.rend(); ++saved)
        Apply(saved->first, saved->second);
}
} // namespace NSTesting
