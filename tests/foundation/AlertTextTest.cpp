#include "foundation/AlertText.h"

#include "ExceptionKind.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using NSTesting::KindThrownBy;
using NSVistalUtils::MakeAlertRecordFromText;
using NSVistalUtils::ParseAlertText;

TEST(AlertParser, TakesTheTextApart)
{
    const struct
    {
        const char16_t *fText, *fIcon, *fCaption, *fBody;
        std::vector<TText16> fButtons;
    } cases[] = {
        {u"[STOP]Unknown exception.[OK]", u"STOP", u"", u"Unknown exception.", {u"OK"}},
        {u"[WARN][T]B[Y][N]", u"WARN", u"T", u"B", {u"Y", u"N"}},
        // Text behind a label continues the body.
        {u"[NOTE]A[x]B[y]", u"NOTE", u"", u"AB", {u"x", u"y"}},
        {u"[NOTE]A[x][y][z]tail", u"NOTE", u"", u"Atail", {u"x", u"y", u"z"}},
        // Escapes in caption, body and label.
        {u"[NOTE][Cap\\]t\\\\ion]Bo\\[dy\\][B\\]u\\[t]", u"NOTE", u"Cap]t\\ion", u"Bo[dy]", {u"B]u[t"}},
        // No escape directly behind the icon tag: the backslash is body text.
        {u"[NONE]\\[OK]", u"NONE", u"", u"\\", {u"OK"}},
        {u"[NONE]]x[OK]", u"NONE", u"", u"]x", {u"OK"}},
        {u"[NONE][]body[OK]", u"NONE", u"", u"body", {u"OK"}},
        {u"[NONE][Only caption][OK]", u"NONE", u"Only caption", u"", {u"OK"}},
        {u"[NONE]x[]", u"NONE", u"", u"x", {u""}},
        // The tag is checked for length only; the words come later.
        {u"[stop]x[OK]", u"stop", u"", u"x", {u"OK"}},
        {u"[WARN]\u00e9\u2029\U0001F3B9[\u00fc]", u"WARN", u"", u"\u00e9\u2029\U0001F3B9", {u"\u00fc"}}};
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        const auto& c = cases[i];
        const NSVistalUtils::TAlertText parts = ParseAlertText(c.fText);
        EXPECT_EQ(parts.fIcon, c.fIcon) << "case " << i;
        EXPECT_EQ(parts.fCaption, c.fCaption) << "case " << i;
        EXPECT_EQ(parts.fBody, c.fBody) << "case " << i;
        EXPECT_EQ(parts.fButtons, c.fButtons) << "case " << i;
    }
}

TEST(AlertParser, RefusesIncompleteTexts)
{
    const char16_t* texts[] = {
        u"",
        u"STOP]x[OK]",    // no opening bracket
        u"[STOP",         // inside the icon tag
        u"[STOP]",        // behind the tag
        u"[STOP][cap",    // inside the caption
        u"[STOP][c\\",    // caption escape
        u"[STOP]x",       // no button
        u"[STOP][OK]",    // the bracket behind the tag is a caption
        u"[STOP]x[OK",    // inside a label
        u"[STOP]x[O\\",   // label escape
        u"[STOP]x[OK]\\", // body escape
        u"[STO]x[OK]",    // tag of 3 units
        u"[STOPS]x[OK]",  // tag of 5 units
    };
    for (const char16_t* text : texts)
    {
        std::string kind = KindThrownBy([&] { ParseAlertText(text); });
        EXPECT_EQ(kind, "std::invalid_argument") << TText16(text).size();
    }
}

TEST(AlertRecord, IconWordsAndButtonLayouts)
{
    struct TCase
    {
        const char16_t* fText;
        bool fHasCancel;
        u32 fIcon;
        u32 fLayout; // 0: refused with std::invalid_argument
    };
    const TCase cases[] = {
        {u"[NONE]b[1]", false, 23, 14000},      {u"[STOP]b[1][2]", false, 24, 14001},
        {u"[NOTE]b[1][2]", true, 25, 14002},    {u"[WARN]b[1][2][3]", false, 26, 14003},
        {u"[WARN]b[1][2][3]", true, 26, 14004}, {u"[NONE]b[1]", true, 0, 0},
        {u"[NONE]b[1][2][3][4]", false, 0, 0},  {u"[stop]b[1]", false, 0, 0},
        {u"[ABCD]b[1]", false, 0, 0},
    };
    for (const TCase& c : cases)
    {
        if (c.fLayout == 0)
        {
            EXPECT_EQ(KindThrownBy([&] { MakeAlertRecordFromText(c.fText, c.fHasCancel); }),
                      "std::invalid_argument");
            continue;
        }
        const TAlertRecord record = MakeAlertRecordFromText(c.fText, c.fHasCancel);
        EXPECT_EQ(record.icon, c.fIcon);
        EXPECT_EQ(record.buttonLayout, c.fLayout);
        EXPECT_TRUE(IsValidAlertRecord(record));
    }
}
