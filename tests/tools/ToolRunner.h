#pragma once
// Runs a program of the build as a whole process, as a codec author's CI does.

#include "TempFolder.h"

#include <filesystem>
#include <string>
#include <vector>

namespace NSToolTesting
{
struct TRunResult
{
    int fExitCode = -1;
    std::string fOut;
    std::string fError;
};

// Runs bin/<program> with the arguments, standard input from input.
TRunResult RunTool(const std::string& program, const std::vector<std::string>& arguments,
                   const std::string& input = {});

// Runs a shell command line in folder, with bin/ of the build first on the
// path, as a reader of the docs types it.
TRunResult RunShell(const std::string& commandLine, const std::filesystem::path& folder);

// A fresh folder below the temporary folder, removed with everything in it.
using CScratchFolder = NSTesting::CTempFolder;
} // namespace NSToolTesting
