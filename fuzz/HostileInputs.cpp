// Makes the hostile inputs of a fuzz target: the shapes that a mutating
// fuzzer with small inputs never reaches, and that a codec author's broken
// file or a careless generator can still produce. Ten megabytes in one line,
// a million nested "<" or "(", a million columns, a million lines. ctest runs
// each target once over them under a memory and a time limit: each must be
// refused or handled in memory bounded by a small multiple of its size.
//
//   fuzz_hostile_maker TARGET          lists the target's inputs by name
//   fuzz_hostile_maker TARGET NAME FILE writes one of them

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>

namespace
{
namespace fs = std::filesystem;

constexpr std::size_t kLine = 10'000'000;
constexpr std::size_t kMillion = 1'000'000;

std::string Repeat(std::string_view piece, std::size_t count)
{
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        text += piece;
    return text;
}

// count pieces, each piece with its number in place of the "#".
std::string Numbered(std::string_view piece, std::size_t count)
{
    std::string text;
    const std::size_t at = piece.find('#');
    for (std::size_t i = 0; i < count; ++i)
        text.append(piece.substr(0, at)).append(std::to_string(i)).append(piece.substr(at + 1));
    return text;
}

using TInputs = std::map<std::string, std::string>;

// ---- Definition files -----------------------------------------------------

const std::string kDefinitionHeader = "Universal MIDI Codec Control Surface Definition File\n"
                                      "File Format Version\t1.0.0\n"
                                      "Control Surface Manufacturer\tAcme\n"
                                      "Control Surface Model\tBox\n"
                                      "Codec Version\t1.0.0\n";
const std::string kItemHeader = "Item Header\tName\tType\tMin\tMax\n";
const std::string kMapHeader = "Map Header\tPattern\tName\tValue1\tValue2\tValue3\n";

std::string Definition(const std::string& middle, const std::string& items, const std::string& rules)
{
    return kDefinitionHeader + middle + kItemHeader + "Item\tFader\tvalue\t0\t127\n" + items + kMapHeader + rules;
}

std::string Rule(const std::string& pattern, const std::string& value1 = "x")
{
    return "Map\t" + pattern + "\tFader\t" + value1 + "\t\t\t\n";
}

TInputs DefinitionInputs()
{
    return {
        {"long_info_text", Definition("Setup Info Text\t" + std::string(kLine, 'a') + "\n", "", "")},
        {"long_accented_text", Definition("Setup Info Text\t" + Repeat("\xC3\xA9", kLine / 2) + "\n", "", "")},
        {"long_manufacturer", "Universal MIDI Codec Control Surface Definition File\nFile Format Version\t1.0.0\n"
                              "Control Surface Manufacturer\t" + std::string(kLine, 'M') + "\n"},
        {"long_item_name", Definition("", "Item\t" + std::string(kLine, 'n') + "\tbutton\t0\t1\n", "")},
        {"long_identity_request", Definition("Identity Request\t" + Repeat("F0 ", kLine / 3) + "\n"
                                             "Identity Response\tF0\n", "", "")},
        {"long_identity_response", Definition("Identity Request\tF0 F7\nIdentity Response\t" +
                                              Repeat("?", kLine) + "\n", "", "")},
        {"long_setup", Definition("Setup\t" + Repeat("00 ", kLine / 3) + "\n", "", "")},
        {"long_version", "Universal MIDI Codec Control Surface Definition File\n"
                         "File Format Version\t1" + std::string(kLine, '.') + "\n"},
        {"long_pattern", Definition("", "", Rule(std::string(kLine, '0')))},
        {"long_pattern_variable", Definition("", "", Rule("B0 " + std::string(kLine, 'x')))},
        {"nested_angles", Definition("", "", Rule(std::string(kMillion, '<')))},
        {"nested_parentheses", Definition("", "", Rule("B0 07 xx", std::string(kMillion, '(') + "x"))},
        {"long_sum", Definition("", "", Rule("B0 07 xx", Repeat("x+", kLine / 2) + "1"))},
        {"many_negations", Definition("", "", Rule("B0 07 xx", std::string(kMillion, '-') + "x"))},
        {"million_columns", Definition("", "Item\tKnob\tvalue\t0\t127" + Repeat("\t", kMillion) + "x\n", "")},
        {"million_filled_columns", Definition("Identity Request" + Repeat("\tF0", kMillion) + "\n"
                                              "Identity Response\tF0\n", "", "")},
        {"tabs_line", Repeat("\t", kLine) + "x\n"},
        {"open_quote", Definition("Setup Info Text\t\"" + std::string(kLine, 'q'), "", "")},
        {"million_quotes", Definition("Setup Info Text\t" + Repeat("\"\t\n", kMillion) + "\n", "", "")},
        {"million_empty_lines", Repeat("\n", kMillion) + kDefinitionHeader},
        {"million_comments", Repeat("// c\n", kMillion) + kDefinitionHeader},
        {"million_info_rows", Definition(Repeat("Setup Info Text\tline\n", kMillion), "", "")},
        {"million_setup_rows", Definition(Repeat("Setup\tB0 07 00\n", kMillion), "", "")},
        {"hundred_thousand_items", Definition("", Numbered("Item\tItem #\tbutton\t0\t1\n", 100'000), "")},
        {"hundred_thousand_rules", Definition("", "", Repeat("Map\tB0 07 xx\tFader\tx*2+1\ty\tz\n", 100'000))},
    };
}

// ---- Mapping files ----------------------------------------------------------

// The surface of the map target's first sample that these name: the
// Quillfeather from the examples, with its "Fader 1".
const std::string kMapHeaderLines = "Thistlemarrow Kinvar Mapping File\n"
                                    "File Format Version\t1.0.0\n"
                                    "Control Surface Manufacturer\tQuillfeather Instruments\n"
                                    "Control Surface Model\tQF-8 Fader Box\n"
                                    "Map Version\t1.0.0\n";

std::string Map(const std::string& body) { return kMapHeaderLines + "Scope\tHost\tMixer\n" + body; }

TInputs MapInputs()
{
    return {
        {"long_scope", kMapHeaderLines + "Scope\t" + std::string(kLine, 's') + "\tModel\n"},
        {"long_target", Map("Map\tFader 1\t\t" + std::string(kLine, 't') + "\n")},
        {"long_text_constant", Map("Map\tFader 1\t\t\"" + std::string(kLine, 't') + "\"\n")},
        {"long_assignment", Map("Define Group\tG\tA\nMap\tFader 1\t\tG=" + std::string(kLine, 'A') + "\n")},
        {"long_scale", Map("Map\tFader 1\t\tVolume\t" + std::string(kLine, '9') + "\n")},
        {"long_key", Map("Map\tFader 1\t" + std::string(kLine, '1') + "\tVolume\n")},
        {"long_version", "Thistlemarrow Kinvar Mapping File\nFile Format Version\t" + std::string(kLine, '.') + "\n"},
        {"million_group_values", Map("Define Group\tG" + Numbered("\tv#", kMillion) + "\n")},
        {"million_control_group_values", Map("Define Group\tG" + Numbered("\t\x01v#", 300'000) +
                                             "\nDefine Group\tH" + Numbered("\t\x02w#", 300'000) + "\n")},
        {"million_variation_columns", Map("Define Group\tG\tA\tB\nMap\tFader 1\t\tVolume" +
                                          Repeat("\tA", kMillion) + "\n")},
        {"million_empty_columns", Map("Map\tFader 1\t\tVolume" + Repeat("\t", kMillion) + "x\n")},
        {"million_map_lines", Map(Numbered("Map\tFader 1\t\tTarget #\n", kMillion))},
        {"million_bad_lines", Map(Repeat("Map\tNo Such Item\t\tTarget\n", kMillion))},
        {"million_unknown_commands", Map(Repeat("Frobnicate\n", kMillion))},
        {"hundred_thousand_scopes", kMapHeaderLines + Numbered("Scope\tHost\tModel #\nMap\tFader 1\t\tVolume\n", 100'000)},
        {"tabs_line", kMapHeaderLines + Repeat("\t", kLine) + "x\n"},
    };
}

// ---- Others ---------------------------------------------------------------------

TInputs PatternInputs()
{
    return {
        {"nested_angles", std::string(kMillion, '<') + "\tx\n"},
        {"long_fixed", std::string(kLine, '0') + "\tx\n" + std::string(64, '\0')},
        {"long_variable", std::string(kLine, 'x') + "\tx\n" + std::string(64, '\x7F')},
        {"long_blanks", std::string(kLine, ' ') + "B0\tx\n\xB0"},
        {"long_binary", "<" + std::string(kLine, '1') + ">\tx\n"},
        {"long_expression", "B0 xx\t" + std::string(kMillion, '(') + "\n\xB0\x01"},
    };
}

TInputs ExpressionInputs()
{
    const std::string variables(12, '\x01');
    return {
        {"nested_parentheses", variables + std::string(kMillion, '(') + "x"},
        {"closed_parentheses", variables + std::string(kMillion, '(') + "x" + std::string(kMillion, ')')},
        {"many_negations", variables + std::string(kMillion, '-') + "x"},
        {"long_sum", variables + Repeat("x+", kLine / 2) + "1"},
        {"long_product", variables + Repeat("x*(", kLine / 3) + "1"},
        {"long_number", variables + std::string(kLine, '9')},
        {"many_operands", variables + std::string(kLine, 'x')},
        {"long_blanks", variables + std::string(kLine, ' ') + "x"},
    };
}

TInputs StringScriptInputs()
{
    return {
        {"long_text", "1 {" + std::string(kLine, 't') + "}\n"},
        {"long_id", std::string(kLine, '0') + "1 {t}\n"},
        {"long_comment", "//" + std::string(kLine, 'c') + "\n1 {t}\n"},
        {"open_brace", "1 {" + std::string(kLine, 't')},
        {"million_entries", Numbered("# {text}\n", 65536) + Repeat("1 {again}\n", kMillion - 65536)},
        {"million_lines_in_text", "1 {" + Repeat("\r\n", kMillion) + "}"},
        {"million_braces", "1 " + std::string(kMillion, '{')},
        {"long_blanks", std::string(kLine, ' ') + "1 {t}"},
    };
}

TInputs AlertTextInputs()
{
    return {
        {"long_body", "[NOTE]" + std::string(kLine, 'b') + "[OK]"},
        {"long_icon", "[" + std::string(kLine, 'i') + "]b[OK]"},
        {"long_caption", "[NOTE][" + std::string(kLine, 'c') + "]b[OK]"},
        {"million_buttons", "[NOTE]b" + Repeat("[x]", kMillion)},
        {"million_escapes", "[NOTE]" + Repeat("\\[", kMillion) + "[OK]"},
        {"million_brackets", std::string(kMillion, '[')},
    };
}

TInputs TextInputs()
{
    return {
        {"long_accents", Repeat("\xC3\xA9", kLine / 2)},
        {"long_pairs", Repeat("\xF0\x9F\x8E\xB9", kLine / 4)},
        {"long_bad_bytes", std::string(kLine, '\xFF')},
        {"long_continuations", std::string(kLine, '\x80')},
        {"long_wide_forms", Repeat("\xFE\x01\x80\x80\x80\x80", kLine / 6)},
        {"long_placeholders", Repeat("^1", kLine / 2)},
        {"long_placeholder_index", "^" + std::string(kLine, '9')},
        {"long_mark", "\xEF\xBB\xBF" + std::string(kLine, 'a')},
    };
}

TInputs VersionInputs()
{
    return {
        {"long_number", std::string(kLine, '9')},
        {"long_zeros", "1." + std::string(kLine, '0') + "1"},
        {"long_points", "1" + std::string(kLine, '.')},
        {"long_build", "1.2b3 (build " + std::string(kLine, '0') + "5)"},
        {"long_binary", "\xBC\xFF\xFF\xFF\xFF" + std::string(kLine, '\x01')},
    };
}

const std::map<std::string, std::function<TInputs()>> kMakers = {
    {"definition", DefinitionInputs}, {"map", MapInputs},
    {"pattern", PatternInputs},       {"expression", ExpressionInputs},
    {"string_script", StringScriptInputs}, {"alert_text", AlertTextInputs},
    {"text", TextInputs},             {"version", VersionInputs},
};
} // namespace

int main(int argc, char** argv)
{
    if ((argc != 2 && argc != 4) || kMakers.count(argv[1]) == 0)
    {
        std::fprintf(stderr, "usage: %s TARGET [NAME FILE]\n", argv[0]);
        return 2;
    }
    const TInputs inputs = kMakers.at(argv[1])();
    if (argc == 2)
    {
        for (const auto& entry : inputs)
            std::printf("%s\n", entry.first.c_str());
        return 0;
    }
    const auto input = inputs.find(argv[2]);
    if (input == inputs.end())
    {
        std::fprintf(stderr, "%s: %s has no input %s\n", argv[0], argv[1], argv[2]);
        return 2;
    }
    std::ofstream(argv[3], std::ios::binary) << input->second;
    return 0;
}
