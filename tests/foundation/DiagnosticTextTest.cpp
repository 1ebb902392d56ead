#include "foundation/DiagnosticText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

TEST(DiagnosticText, MalformedUTF8BecomesOneReplacementPerSequence)
{
    const std::pair<std::string, TText16> cases[] = {
        {"plain ASCII", u"plain ASCII"},
        {"\xc3\xa9\xe2\x80\xa9", u"\u00e9\u2029"},
        {"\xf0\x9f\x8e\xb9", u"\U0001F3B9"},
        {"\xf4\x8f\xbf\xbf", u"\U0010FFFF"},
        {"a\x80z", u"a\uFFFDz"},         // stray continuation byte
        {"\xc0\xaf", u"\uFFFD"},         // overlong '/'
        {"\xe0\x80\xaf", u"\uFFFD"},     // overlong, three bytes
        {"\xed\xa0\x80", u"\uFFFD"},     // an encoded surrogate
        {"\xf4\x90\x80\x80", u"\uFFFD"}, // beyond U+10FFFF
        {"\xe2\x82", u"\uFFFD"},         // cut short at the end
        {"\xe2\x82x", u"\uFFFDx"},       // cut short by an ASCII byte
        {"\xff\xfe", u"\uFFFD\uFFFD"},   // bytes that open nothing
        {std::string("a\0b", 3), TText16(u"a\0b", 3)},
    };
    for (const auto& [utf8, expected] : cases)
        EXPECT_EQ(Text16FromUTF8Lenient(utf8), expected) << utf8;
}

TEST(DiagnosticText, LoneSurrogatesBecomeReplacementsInUTF8)
{
    const std::pair<TText16, std::string> cases[] = {
        {u"caf\u00e9", "caf\xc3\xa9"},
        {u"\U0001F3B9", "\xf0\x9f\x8e\xb9"},
        {TText16(1, char16(0xD800)) + u"x", "\xef\xbf\xbdx"},
        {TText16(1, char16(0xDC00)), "\xef\xbf\xbd"},
        {TText16(2, char16(0xD800)), "\xef\xbf\xbd\xef\xbf\xbd"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(UTF8FromText16Lenient(text), expected);
}
