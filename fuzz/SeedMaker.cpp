// Makes a fuzz target's seed corpus at build time from the project's own
// files, so that the seeds follow the examples and the test data as they
// change and nothing is kept twice in the repository.
//
//   fuzz_seed_maker KIND OUTPUT_FOLDER FILE...
//
// KIND says what a target's input looks like:
//   copy        each file as it is (definition files, maps, scripts, any bytes)
//   pattern     each map row of the definition files as the pattern target's
//               input: the row's fields, then a message that the pattern fits
//   expression  each value column of those rows, behind three variables
//   alert       each text of the string scripts as an alert's body, and the
//               program's own alert shapes
//   version     the version columns of definition and mapping files, and
//               versions in text and in both binary forms
// Seeds are named after a hash of their content, so a rebuild rewrites the
// same files and equal seeds collapse into one.

#include "codec/TableReader.h"
#include "foundation/Media.h"
#include "foundation/StringScript.h"
#include "foundation/TextCompare.h"
#include "foundation/TextPackage.h"
#include "foundation/Version.h"
#include "generic/MapRule.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;
using NSTextPackage::UTF8FromText16;

class CSeedFolder
{
public:
    explicit CSeedFolder(fs::path folder) : fFolder(std::move(folder)) { fs::create_directories(fFolder); }

    void Add(const std::string& content)
    {
        u64 hash = 14695981039346656037ull;
        for (const char c : content)
            hash = (hash ^ u8(c)) * 1099511628211ull;
        char name[17];
        std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
        std::ofstream(fFolder / name, std::ios::binary) << content;
        ++fCount;
    }

    std::size_t Count() const { return fCount; }

private:
    fs::path fFolder;
    std::size_t fCount = 0;
};

std::string ReadBytes(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

bool IsKey(const TMapLine& line, std::u16string_view key)
{
    return !line.second.empty() && NSTextPackage::EqualTexts(line.second.front(), key);
}

// The rows of every definition file, as the definition reader sees them.
std::vector<TMapLine> RowsOf(const std::vector<fs::path>& files, const TTableOptions& options)
{
    std::vector<TMapLine> rows;
    for (const fs::path& file : files)
    {
        const TMapLines lines = ReadTableFile(file, options);
        rows.insert(rows.end(), lines.begin(), lines.end());
    }
    return rows;
}

// A message that the rule fits: its fixed bits, and a mixture in the others.
std::string FittingMessage(const NSGenericMidiCodec::CMapRule& rule)
{
    std::string message;
    for (std::size_t i = 0; i < rule.GetBits().size(); ++i)
        message.push_back(char(rule.GetBits()[i] | (~rule.GetMask()[i] & 0x35)));
    return message;
}

void MakePatternSeeds(CSeedFolder& seeds, const std::vector<fs::path>& files)
{
    for (const TMapLine& row : RowsOf(files, kDefinitionTableOptions))
    {
        const auto& fields = row.second;
        if (!IsKey(row, u"Map") || fields.size() < 6)
            continue;
        std::string text = UTF8FromText16(fields[1]);
        for (std::size_t i = 3; i < 6; ++i)
            text.append("\t").append(UTF8FromText16(fields[i]));
        text.push_back('\n');
        try
        {
            const NSGenericMidiCodec::CMapRule rule(fields[1], fields[3], fields[4], fields[5]);
            text += FittingMessage(rule);
        }
        catch (const std::runtime_error&)
        {
        }
        seeds.Add(text);
    }
}

void MakeExpressionSeeds(CSeedFolder& seeds, const std::vector<fs::path>& files)
{
    // x = 1, y = 64, z = -1, little-endian.
    const std::string variables("\x01\0\0\0\x40\0\0\0\xff\xff\xff\xff", 12);
    for (const TMapLine& row : RowsOf(files, kDefinitionTableOptions))
    {
        if (!IsKey(row, u"Map"))
            continue;
        for (std::size_t i = 3; i < row.second.size() && i < 6; ++i)
        {
            if (!row.second[i].empty())
                seeds.Add(variables + UTF8FromText16(row.second[i]));
        }
    }
}

void MakeAlertSeeds(CSeedFolder& seeds, const std::vector<fs::path>& files)
{
    for (const char* shape : {"[STOP]Unknown exception.[OK]", "[NOTE]Kinvar map is ok![Close]",
                              "[WARN][Replace file]The file ^0 exists.[Replace][Keep]",
                              "[NONE][A \\[caption\\]]Body \\\\ text[Yes][No][Cancel]"})
        seeds.Add(shape);
    for (const fs::path& file : files)
    {
        const TStringMap texts = NSStringScript::Parse(NSTextPackage::Text16FromUTF8(ReadBytes(file)));
        for (const auto& [id, text] : texts)
            seeds.Add("[NOTE]" + UTF8FromText16(text) + "[OK]");
    }
}

void MakeVersionSeeds(CSeedFolder& seeds, const std::vector<fs::path>& files)
{
    using NSCorbelan::CVersion;
    for (const TMapLine& row : RowsOf(files, kMapTableOptions))
    {
        const bool version = IsKey(row, u"Codec Version") || IsKey(row, u"Map Version") ||
                             IsKey(row, u"File Format Version");
        if (version && row.second.size() > 1)
            seeds.Add(UTF8FromText16(row.second[1]));
    }
    const CVersion versions[] = {CVersion(1, 3), CVersion(1, 3, 6, CVersion::kStageBeta, 7),
                                 CVersion(2, 0, 1, CVersion::kStageRelease, 0, 45),
                                 CVersion(300, 70000, 1, CVersion::kStageDevelopment, 1, 0)};
    for (const CVersion& version : versions)
    {
        seeds.Add(version.GetText());
        NSCorbelan::COwnedMemoryMedia shortForm;
        NSCorbelan::COwnedMemoryMedia longForm;
        version.Write(shortForm);
        version.WriteLong(longForm);
        for (const auto* media : {&shortForm, &longForm})
            seeds.Add(std::string(media->GetContent().begin(), media->GetContent().end()));
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        std::fprintf(stderr, "usage: %s KIND OUTPUT_FOLDER FILE...\n", argv[0]);
        return 2;
    }
    const std::string kind = argv[1];
    CSeedFolder seeds(argv[2]);
    const std::vector<fs::path> files(argv + 3, argv + argc);
    if (kind == "copy")
    {
        for (const fs::path& file : files)
            seeds.Add(ReadBytes(file));
    }
    else if (kind == "pattern")
        MakePatternSeeds(seeds, files);
    else if (kind == "expression")
        MakeExpressionSeeds(seeds, files);
    else if (kind == "alert")
        MakeAlertSeeds(seeds, files);
    else if (kind == "version")
        MakeVersionSeeds(seeds, files);
    else
    {
        std::fprintf(stderr, "%s: unknown kind %s\n", argv[0], kind.c_str());
        return 2;
    }
    if (seeds.Count() == 0)
    {
        std::fprintf(stderr, "%s: no seeds for %s\n", argv[0], kind.c_str());
        return 1;
    }
    return 0;
}
