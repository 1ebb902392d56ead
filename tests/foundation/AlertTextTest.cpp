#include "foundation/AlertText.h"

#include "ExceptionKind.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using NSTesting::KindThrownBy;
using NSVistalUtils::MakeAlertRecordFromText;
using NSVistalUtils::ParseAlertText;

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
