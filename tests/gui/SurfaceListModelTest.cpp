// What the main window lists of the loaded surface models.

#include "gui/SurfaceListModel.h"

#include "generic/GenericMidiCodec.h"
#include "host/CodecModules.h"

#include <gtest/gtest.h>

using namespace NSKinvarCodec;

namespace
{
TCodecSurfaceList ExampleModels()
{
    const std::filesystem::path folder =
        std::filesystem::path(BRASSFOLD_SOURCE_DIR) /
        "examples/Thistlemarrow Software/Kinvar/Codecs/MIDI Codecs";
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec({{folder}, {}}),
                          codec_deleter());
    TCodecSurfaceList list;
    for (const TControlSurfaceInfo& info : GetControlSurfacesForCodec(codec))
        list.emplace_back(codec, info);
    return list;
}
} // namespace

TEST(SurfaceListModelTest, AnEntryNamesThePortsAndTheSetupTextsThatAreGiven)
{
    TControlSurfaceInfo info{};
    SetRecordText(info.fManufacturer, u"Acme");
    SetRecordText(info.fModel, u"Box");
    info.fInPortCount = 2;
    SetRecordText(info.fInPortNames[0], u"In");
    SetRecordText(info.fInPortNames[1], u"Foot");
    info.fInPortOptional[1] = 1;
    SetRecordText(info.fSetupWarningText, u"Unplug first.");
    const TSurfaceEntry entry = CSurfaceListModel::MakeEntry({nullptr, info});
    EXPECT_EQ(u"Acme Box", entry.fTitle);
    EXPECT_EQ((std::vector<TText16>{u"Input ports: In, Foot (optional)", u"Output ports: none",
                                    u"Warning: Unplug first."}),
              entry.fLines);
    EXPECT_TRUE(entry.fPicture.empty());
}

TEST(SurfaceListModelTest, FollowsTheGrowingListAndStartsOverWhenItShrinks)
{
    TCodecSurfaceList list = ExampleModels();
    ASSERT_EQ(3u, list.size());
    CSurfaceListModel model;
    EXPECT_TRUE(model.Update({list.begin(), list.begin() + 1}));
    EXPECT_TRUE(model.Update(list));
    EXPECT_FALSE(model.Update(list));
    ASSERT_EQ(3u, model.GetEntries().size());
    for (const TSurfaceEntry& entry : model.GetEntries())
        EXPECT_EQ(std::size_t(kPictureWidth) * kPictureHeight, entry.fPicture.size());
    list.pop_back();
    EXPECT_TRUE(model.Update(list));
    EXPECT_EQ(2u, model.GetEntries().size());
}
