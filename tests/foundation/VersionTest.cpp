#include "foundation/Version.h"

#include <gtest/gtest.h>

#include <string>

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

} // namespace
