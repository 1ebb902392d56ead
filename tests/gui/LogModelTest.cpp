// The log window's text rules, without the window.

#include "gui/LogModel.h"

#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

TEST(LogModelTest, EachPieceEndsALineTheTextKeepsItsLastTenThousandCharactersAndSavesAsUTF8)
{
    CLogModel log;
    log.Add(u"a\nb\n");
    log.Add(u"c");
    EXPECT_EQ(u"a\rb\r\rc\r", log.GetText());
    EXPECT_EQ(u"a\nb\n\nc", log.GetLines());

    log.Clear();
    log.Add(TText16(9000, u'x'));
    log.Add(TText16(2000, u'y'));
    EXPECT_EQ(TText16(7999, u'x') + u'\r' + TText16(2000, u'y') + u'\r', log.GetText());

    log.Clear();
    TText16 piece(14999, u'a');
    piece += u'z';
    log.Add(piece);
    EXPECT_EQ(TText16(9999, u'a') + u"z\r", log.GetText());

    log.Clear();
    log.Add(u"Gr\u00fc\u00dfe\nnext");
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / "brassfold-log-test.txt";
    log.Save(file);
    std::ostringstream saved;
    saved << std::ifstream(file, std::ios::binary).rdbuf();
    EXPECT_EQ("Gr\xc3\xbc\xc3\x9f"
              "e\nnext\n",
              saved.str());
    std::filesystem::remove(file);
    EXPECT_THROW(log.Save(file / "missing" / "log.txt"), std::exception);
}
