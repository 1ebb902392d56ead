// The rows and the choice of the control surface selection dialog.

#include "gui/SelectionDialogModel.h"

#include "AssertionRecorder.h"
#include "foundation/Exceptions.h"
#include "foundation/LogText.h"
#include "midi/PortAddress.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

using namespace NSKinvarCodec;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
// Model i has i % 3 input ports named "In i.p" and no output port but for model 0.
TCodecSurfaceList Models(int count)
{
    TCodecSurfaceList list;
    for (int i = 0; i < count; ++i)
    {
        TControlSurfaceInfo info{};
        SetRecordText(info.fManufacturer, u"Maker");
        SetRecordText(info.fModel, u"Box " + TText16(1, static_cast<char16>(u'A' + i)));
        info.fInPortCount = static_cast<u32>(i % 3);
        for (u32 port = 0; port < info.fInPortCount; ++port)
            SetRecordText(info.fInPortNames[port], u"In " + TText16(1, static_cast<char16>(u'A' + i)));
        info.fOutPortCount = i == 0 ? 1 : 0;
        list.emplace_back(nullptr, info);
    }
    return list;
}

std::vector<CMIDIPortSpec> Ports(NSTonewell::EDirection direction, int count)
{
    std::vector<CMIDIPortSpec> ports;
    for (int i = 0; i < count; ++i)
        ports.emplace_back(NSTonewell::CPortAddress(NSTonewell::EBackend::kLoopback, direction,
                                                    "Cable " + std::to_string(i), 0));
    return ports;
}
} // namespace

TEST(SelectionDialogModelTest, RefusesToOpenWithoutAnyModel)
{
    TakePendingLog();
    EXPECT_THROW(CSelectionDialogModel({}, {}, {}), std::bad_exception);
    EXPECT_EQ(u"You must first select a .luacodef-file!", TakePendingLog());
}

TEST(SelectionDialogModelTest, OnlyTheFirstSixteenModelsChangeTheLabels)
{
    const auto in = Ports(NSTonewell::EDirection::kIn, 2);
    CSelectionDialogModel model(Models(18), in, {});
    EXPECT_EQ(18u, model.GetSurfaceRows().size());
    EXPECT_EQ(u"Maker Box C", model.GetSurfaceRows()[2]);
    EXPECT_EQ((std::vector<TText16>{u"-", in[0].GetDisplayName(), in[1].GetDisplayName()}),
              model.GetInPortRows());
    EXPECT_EQ((std::vector<TText16>{u"-"}), model.GetOutPortRows());
    EXPECT_EQ(0u, model.GetShownInCount());
    EXPECT_EQ(1u, model.GetShownOutCount());

    model.SelectSurface(14);
    EXPECT_EQ(2u, model.GetShownInCount());
    EXPECT_EQ(u"In O", model.GetInLabels()[1]);
    EXPECT_EQ(u"", model.GetInLabels()[2]);
    EXPECT_EQ(0u, model.GetShownOutCount());
    model.SelectSurface(16);
    EXPECT_EQ(u"In O", model.GetInLabels()[1]);
}

TEST(SelectionDialogModelTest, ChooseTakesThePortsOfTheRowsAsTheyAreNow)
{
    const TCodecSurfaceList models = Models(18);
    const auto in = Ports(NSTonewell::EDirection::kIn, 3);
    const auto out = Ports(NSTonewell::EDirection::kOut, 1);
    // Model 17 is beyond the labels but chosen all the same, with its 2 input ports.
    const TSurfaceChoice choice = CSelectionDialogModel::Choose(models, 17, {3, 0, 2}, {1}, in, out);
    EXPECT_EQ(u"Box R", GetRecordText(choice.fInfo.fModel));
    ASSERT_EQ(2u, choice.fInPorts.size());
    EXPECT_EQ(in[2], choice.fInPorts[0]);
    EXPECT_TRUE(choice.fInPorts[1].IsEmpty());
    EXPECT_TRUE(choice.fOutPorts.empty());

    // A row left over from a longer list.
    NSTesting::CExpectAssertions assertions;
    EXPECT_THROW(CSelectionDialogModel::Choose(models, 17, {4}, {}, in, out), XProgrammingError);
    EXPECT_EQ(1u, assertions.Count());
}
