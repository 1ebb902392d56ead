#include "foundation/Version.h"

#include "foundation/Exceptions.h"
#include "foundation/Media.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace NSCorbelan;

namespace
{
TEST(Version, TextFormsReadBackToTheSameText)
{
    for (const std::string text : {"0.0.9", "1.3.6b7", "1.3", "2.0d1", "12.4a0", "1.2.3 (build 45)",
                                   "4.5f2 (build 7)", "4294967295.0"})
    {
        SCOPED_TRACE(text);
        const CVersion version = CVersion::FromText(text);
        EXPECT_EQ(version.GetText(), text);
        EXPECT_EQ(CVersion::FromText(version.GetText16()), version);
    }
}

struct TBinaryCase
{
    CVersion fVersion;
    std::vector<u8> fBytes;
};

TEST(Version, BinaryFormsHaveTheDocumentedLayoutAndReadBack)
{
    const std::vector<TBinaryCase> cases = {
        {CVersion(1, 3, 6, CVersion::kStageBeta, 7), {1, 3, 6, 2, 7}},
        {CVersion(), {0, 0, 0, 4, 0}},
        {CVersion(255, 255, 255, CVersion::kStageFinal, 255), {255, 255, 255, 3, 255}},
        {CVersion(1, 2, 0, CVersion::kStageRelease, 0, 300),
         {0xBC, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1, 0, 0, 0, 2, 0,   0,
          0,    0,    0,    0,    0,    4, 0, 0, 0, 0, 0, 0, 1, 0x2C}},
        {CVersion(256, 0), {0xBC, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0,
                            0,    0,    0,    0,    0,    4, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const auto& [version, bytes] : cases)
    {
        SCOPED_TRACE(version.GetText());
        COwnedMemoryMedia media;
        version.Write(media);
        EXPECT_EQ(media.GetContent(), bytes);
        media.SetPosition(0);
        EXPECT_EQ(CVersion::Read(media), version);
        EXPECT_EQ(media.GetPosition(), bytes.size()) << "the whole record is consumed";
    }
}

} // namespace
