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

// A fresh folder below the temporary folder, removed with everything in it.
using CScratchFolder = NSTesting::CTempFolder;
} // namespace NSToolTesting
