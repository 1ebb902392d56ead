#include "foundation/StringScript.h"

#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string>
#include <typeinfo>

namespace
{
struct TScriptCase
{
    std::u16string_view fScript;
    std::optional<TStringMap> fExpected; // none: the script is refused
};

std::string Show(std::u16string_view text)
{
    std::string out;
    for (const char16 c : text)
    {
        char unit[12];
        std::snprintf(unit, sizeof unit, c >= 0x20 && c < 0x7F ? "%c" : "<%X>", c);
        out += unit;
    }
    return out;
}

const TScriptCase kCases[] = {
    {u"", TStringMap{}},
    {u" \t\n\r\n// only a comment\n", TStringMap{}},
    {u"1 {a}", TStringMap{{1, u"a"}}}, // no line end at the end of the input
    {u"1\t{a}\t\n", TStringMap{{1, u"a"}}},
    {u"0 {zero}\n65535 {last}", TStringMap{{0, u"zero"}, {65535, u"last"}}},
    {u"00065535 {x}", TStringMap{{65535, u"x"}}},
    {u"65536 {a}", std::nullopt},
    {u"99999999999999999999 {a}", std::nullopt},
    {u"1 {a}\r\n2 {b}\r3 {c}\n4 {d}\u20285 {e}\u20296 {f}",
     TStringMap{{1, u"a"}, {2, u"b"}, {3, u"c"}, {4, u"d"}, {5, u"e"}, {6, u"f"}}},
    {u"1 {a} // note\n2 {b}//note", TStringMap{{1, u"a"}, {2, u"b"}}},
    {u"2 {b\\rc}", TStringMap{{2, u"b\u2029c"}}},
    {u"2 {a\\b\\}", TStringMap{{2, u"a\\b\\"}}}, // any other backslash is plain
    {u"3 {}", TStringMap{{3, u""}}},
    {u"4 {line one\r\nline two}", TStringMap{{4, u"line one\r\nline two"}}},
    {u"5 {a}\n5 {b}", TStringMap{{5, u"b"}}},
    {u"6 {a { b}", TStringMap{{6, u"a { b"}}},
    {u"1 {a", std::nullopt}, // no closing brace
    {u"1 {", std::nullopt},  // nothing behind the opening brace
    {u"1", std::nullopt},    // a digit at the end of the input
    {u"1 ", std::nullopt},
    {u"1 a}", std::nullopt},
    {u"1 {a} x", std::nullopt},
    {u"1 {a}2 {b}", std::nullopt},
    {u"1 {a} / note", std::nullopt},
    {u"x {a}", std::nullopt},
    {u"/ {a}", std::nullopt},
    {u"-1 {a}", std::nullopt},
};

TEST(StringScript, BothParsersReadTheSameGrammar)
{
    for (const TScriptCase& c : kCases)
    {
        SCOPED_TRACE(Show(c.fScript));
        if (c.fExpected)
        {
            EXPECT_EQ(NSStringScript::Parse(c.fScript), *c.fExpected);
            EXPECT_EQ(NSCorbelan::ParseStringScript(c.fScript), *c.fExpected);
            continue;
        }
        try
        {
            NSStringScript::Parse(c.fScript);
            ADD_FAILURE() << "accepted";
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_EQ(typeid(e), typeid(std::runtime_error));
            EXPECT_STREQ(e.what(), "Bad format");
        }
        EXPECT_THROW(NSCorbelan::ParseStringScript(c.fScript), NSException::XBadFormat);
    }
}

TEST(StringScriptQuotes, OnlyTheFrameworksParserStraightensCurlyQuotes)
{
    const std::u16string_view script = u"11 {Save \u201C^0\u201D?}";
    EXPECT_EQ(NSStringScript::Parse(script).at(11), u"Save \u201C^0\u201D?");
    EXPECT_EQ(NSCorbelan::ParseStringScript(script).at(11), u"Save \"^0\"?");
}
} // namespace
