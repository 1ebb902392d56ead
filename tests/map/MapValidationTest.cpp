#include "map/MapValidation.h"

#include "AssertionRecorder.h"
#include "MapTestSupport.h"
#include "TempFolder.h"

#include "foundation/Alert.h"
#include "foundation/Exceptions.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "generic/GenericMidiCodec.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;
using namespace NSKinvar;

namespace
{
using NSTesting::CAlertRecorder;

// The surfaces of the generic codec over the test's definition file, a map
// file in a temporary folder, and the log and alerts that the command makes.
class ValidateMapFileTest : public testing::Test
{
protected:
    void SetUp() override
    {
        NSMapTesting::LoadTexts();
        TakePendingLog();
        NSGenericMidiCodec::TScanPlaces places;
        places.fFiles.push_back(fs::path(BRASSFOLD_TEST_DATA_DIR) / "map" / "Acme Box.midicodec");
        fCodec = TCodecPtr(NSGenericMidiCodec::CreateGenericMidiCodec(places), codec_deleter());
        for (const auto& info : GetControlSurfacesForCodec(fCodec))
            fSurfaces.emplace_back(fCodec, info);
    }

    fs::path WriteMap(const std::string& text) { return fFolder.Write("test.kinvarmap", text); }

    std::string Log() { return NSTextPackage::UTF8FromText16(TakePendingLog()); }

    TCodecPtr fCodec;
    TCodecSurfaceList fSurfaces;
    NSTesting::CTempFolder fFolder;
    CAlertRecorder fAlerts;
};

TEST_F(ValidateMapFileTest, AFileForAnUnloadedSurfaceLogsOneLineWithoutLineNumbers)
{
    const fs::path file = WriteMap("Thistlemarrow Kinvar Mapping File\nFile Format Version\t1.0.0\n"
                                   "Control Surface Manufacturer\tAcme\nControl Surface Model\tCrate\n"
                                   "Map Version\t1.0.0\nBogus line\n");
    ValidateMapFile(fSurfaces, file);
    EXPECT_EQ(Log(), "The codec for this map file has not been loaded yet!\n");
    ValidateMapFile({}, file);
    EXPECT_EQ(Log(), "The codec for this map file has not been loaded yet!\n");
}

TEST_F(ValidateMapFileTest, AHeaderFaultFailsWithoutAnyLineInTheLog)
{
    const fs::path file = WriteMap("Thistlemarrow Kinvar Mapping File\nFile Format Version\t2.0.0\n");
    EXPECT_THROW(ValidateMapFile(fSurfaces, file), NSKinvar::XBadFormat);
    EXPECT_EQ(Log(), "");
    const TMapCheckResult result = CheckMapFile(fSurfaces, file);
    EXPECT_EQ(result.fOutcome, EMapCheckOutcome::kHeaderFault);
    EXPECT_EQ(NSTextPackage::UTF8FromText16(result.fErrorText), "Line  2: Missing: File Format Version.\n");
    EXPECT_THROW(ValidateMapFile(fSurfaces, fFolder / "absent.kinvarmap"), NSException::XFileNotFound);
}
} // namespace
