// Texts on their way to Qt.

#include "gui/GuiText.h"

#include <gtest/gtest.h>

TEST(GuiTextTest, LineEndsBecomeOneParagraphSeparatorEachAndAmpersandsStayVisible)
{
    EXPECT_EQ(u"a\u2029b\u2029c\u2029\u2029d", NormalizeLineEnds(u"a\r\nb\rc\n\r\nd"));
    EXPECT_EQ(QString("a\nb"), DisplayText(u"a\r\nb"));
    EXPECT_EQ(QString("R&&D && more"), EscapeMnemonics("R&D & more"));
}
