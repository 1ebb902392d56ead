// The examples of docs/ run as the reader would run them, so that the pages
// cannot drift from the tool. In a page, a fenced block right behind the line
// "<!-- file: NAME -->" is a file of that name; in a fenced "sh" block, a line
// "$ COMMAND" is run in a folder with the bundled examples and the page's
// files, and the lines up to the next "$ " line are what it must print.

#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace NSToolTesting;
namespace fs = std::filesystem;

namespace
{
const fs::path kKinvar = fs::path(BRASSFOLD_SOURCE_DIR) / "examples/Thistlemarrow Software/Kinvar";

struct TShownRun
{
    std::string fCommand;
    std::string fOutput;
};

struct TPage
{
    std::vector<std::pair<std::string, std::string>> fFiles; // name, content
    std::vector<TShownRun> fRuns;
};

void TakeBlock(TPage& page, const std::string& info, const std::string& file, const std::vector<std::string>& lines)
{
    std::string content;
    for (const std::string& line : lines)
        content.append(line).append("\n");
    if (!file.empty())
        page.fFiles.emplace_back(file, content);
    for (const std::string& line : info == "sh" && file.empty() ? lines : std::vector<std::string>())
    {
        if (line.starts_with("$ "))
            page.fRuns.push_back({line.substr(2), {}});
        else if (!page.fRuns.empty())
            page.fRuns.back().fOutput.append(line).append("\n");
    }
}

TPage ReadPage(const fs::path& page)
{
    TPage result;
    std::ifstream in(page);
    std::string line;
    std::string file;
    while (std::getline(in, line))
    {
        if (line.starts_with("<!-- file: ") && line.ends_with(" -->"))
            file = line.substr(11, line.size() - 15);
        if (!line.starts_with("```"))
            continue;
        const std::string info = line.substr(3);
        std::vector<std::string> lines;
        while (std::getline(in, line) && !line.starts_with("```"))
            lines.push_back(line);
        TakeBlock(result, info, file, lines);
        file.clear();
    }
    return result;
}

TEST(DocsExamples, PrintWhatThePagesShow)
{
    std::size_t runs = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(BRASSFOLD_SOURCE_DIR) / "docs"))
    {
        const TPage page = ReadPage(entry.path());
        const CScratchFolder scratch;
        const fs::path folder = scratch.Write(".page", "").parent_path();
        for (const char* examples : {"Codecs/MIDI Codecs", "Codecs/Lua Codecs", "Maps"})
            for (const auto& example : fs::directory_iterator(kKinvar / examples))
                fs::copy_file(example.path(), folder / example.path().filename());
        for (const auto& [name, content] : page.fFiles)
            scratch.Write(name, content);
        for (const TShownRun& run : page.fRuns)
        {
            SCOPED_TRACE(entry.path().filename().string() + ": " + run.fCommand);
            EXPECT_EQ(RunShell(run.fCommand, folder).fOut, run.fOutput);
            ++runs;
        }
    }
    EXPECT_GE(runs, 10u); // the pages' examples were found
}
} // namespace
