// The workbench's main road on the offscreen platform, with the real hub, the
// loopback cables and real codecs: the dialog chooses a model and its ports,
// the panel moves when a message comes in, and a click sends the item's state
// on the chosen cable.

#include "gui/HardwarePanel.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "gui/SelectionDialog.h"

#include "GuiTestSupport.h"
#include "foundation/FileHandling.h"
#include "host/CodecModules.h"
#include "host/AppCommands.h"
#include "host/MyAppBehavior.h"
#include "host/OutputFrameClock.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QTimer>

#include <mutex>

using namespace NSGuiTesting;
using NSHardwarePanel::EPanelView;
using NSMIDIHub::CMIDIPortSpec;
using NSMIDIHub::TBinary;

namespace
{
const std::filesystem::path kExamples = std::filesystem::path(BRASSFOLD_SOURCE_DIR) /
                                        "examples/Thistlemarrow Software/Kinvar/Codecs/MIDI Codecs";

CMIDIPortSpec Port(const std::vector<CMIDIPortSpec>& ports, const char16* name)
{
    for (const CMIDIPortSpec& port : ports)
        if (port.GetDisplayName() == name)
            return port;
    ADD_FAILURE() << "no port";
    return {};
}

class CRecorder final : public NSMIDIHub::IMIDIReceiver
{
public:
    void Receive(const CMIDIPortSpec&, const u64*, const TBinary& data) override
    {
        std::lock_guard lock(fLock);
        fMessages.push_back(data);
    }
    std::vector<TBinary> Messages() const
    {
        std::lock_guard lock(fLock);
        return fMessages;
    }

private:
    mutable std::mutex fLock;
    std::vector<TBinary> fMessages;
};

// Runs the workbench with its real behaviour until script has run and quit.
void RunWorkbenchWith(const std::function<void(CQtVistal&, CQtWorkbenchWindows&)>& script)
{
    GetApplication();
    SetCodecFolderOverride(kExamples.string());
    CQtVistal vistal;
    CVistalInstallation installation(vistal);
    CQtWorkbenchWindows windows(vistal);
    QTimer::singleShot(0, [&] {
        script(vistal, windows);
        vistal.FindMenuAction(u"Quit")->trigger();
    });
    EXPECT_EQ(0, RunWorkbench([&](IVistalRunBehavior* behaviour,
                                  const TStartupParams& params) { return vistal.Run(behaviour, params); },
                              std::make_unique<CMyAppBehavior>(windows)));
    SetCodecFolderOverride("");
}

// "Create ControlSurface", then the model of that title with those ports, by
// their popup rows' texts, and "Choose": the new panel.
CHardwarePanel* Choose(CQtVistal& vistal, CQtWorkbenchWindows& windows, const QString& surface,
                       const QStringList& in, const QStringList& out = {})
{
    const std::size_t panels = windows.GetPanels().size();
    vistal.FindMenuAction(u"Create ControlSurface")->trigger();
    CSelectionDialog* dialog = windows.GetSelectionDialog();
    if (dialog == nullptr)
        return nullptr;
    dialog->GetSurfacePopup()->setCurrentIndex(dialog->GetSurfacePopup()->findText(surface));
    for (int i = 0; i < in.size(); ++i)
        dialog->GetInPortPopup(i)->setCurrentIndex(dialog->GetInPortPopup(i)->findText(in[i]));
    for (int i = 0; i < out.size(); ++i)
        dialog->GetOutPortPopup(i)->setCurrentIndex(dialog->GetOutPortPopup(i)->findText(out[i]));
    Find<QPushButton>(*dialog, "Choose")->click();
    EXPECT_TRUE(ProcessEventsUntil([&] { return windows.GetSelectionDialog() == nullptr; }));
    return windows.GetPanels().size() == panels + 1 ? windows.GetPanels().back() : nullptr;
}

void Send(const char16* cable, const TBinary& message)
{
    NSMIDIHub::CMIDIHub& hub = NSMIDIHub::GetMIDIHub();
    const u64 time = 0;
    hub.GetSender(Port(hub.GetOutPorts(), cable))->Send(&time, message);
}

int SliderOf(const CHardwarePanel& panel, u32 item)
{
    return static_cast<QSlider*>(panel.GetView(EPanelView::kSlider, item))->value();
}
} // namespace

// Two panels of one model hear the same cable; closing one ends its surface
// alone.
TEST(HardwarePanelTest, InputOnTheChosenCableMovesTheSlidersOfEveryPanelOpen)
{
    RunWorkbenchWith([](CQtVistal& vistal, CQtWorkbenchWindows& windows) {
        vistal.FindMenuAction(u"Load MIDI Codecs")->trigger();
        CHardwarePanel* first = Choose(vistal, windows, "Quillfeather Instruments QF-8 Fader Box", {"Loopback A"});
        CHardwarePanel* second = Choose(vistal, windows, "Quillfeather Instruments QF-8 Fader Box", {"Loopback A"});
        ASSERT_TRUE(first != nullptr && second != nullptr);
        EXPECT_EQ("Quillfeather Instruments, QF-8 Fader Box", first->windowTitle().toStdString());
        QWidget* fader = first->GetView(EPanelView::kSlider, 0);
        EXPECT_EQ("Fader 1", fader->accessibleName().toStdString());
        EXPECT_TRUE(fader->toolTip().contains("Range: 0 to 16383"));
        EXPECT_EQ(63, SliderOf(*first, 0));

        Send(u"Loopback A", {0xE0, 0x7F, 0x7F});
        EXPECT_TRUE(ProcessEventsUntil([&] { return SliderOf(*first, 0) == 127 && SliderOf(*second, 0) == 127; }));
        EXPECT_TRUE(first->IsHighlighted(0));
        EXPECT_FALSE(first->IsHighlighted(1));

        // Coming to the front brings the menus up to date.
        int updates = 0;
        QObject::connect(&vistal, &CQtVistal::CommandsUpdated, [&] { ++updates; });
        first->activateWindow();
        second->activateWindow();
        EXPECT_TRUE(ProcessEventsUntil([&] { return updates > 0; }));

        const u32 kept = second->GetSurfaceId();
        first->close();
        EXPECT_TRUE(ProcessEventsUntil([&] { return windows.GetPanels().size() == 1; }));
        EXPECT_EQ(1u, GetKinvarHUB().GetSurfaceCount());
        EXPECT_TRUE(GetKinvarHUB().HasActiveControlSurface(kept));
        Send(u"Loopback A", {0xE1, 0x00, 0x00});
        EXPECT_TRUE(ProcessEventsUntil([&] { return SliderOf(*second, 1) == 0; }));
        EXPECT_TRUE(second->IsHighlighted(1));
    });
    EXPECT_EQ(0u, GetKinvarHUB().GetSurfaceCount());
}

// A click on the lamp's box leaves the chosen out cable within two frames, and
// the statistics line reads the frames and bytes of the last second.
TEST(HardwarePanelTest, AClickSendsTheItemsStateWithinTwoFrames)
{
    RunWorkbenchWith([](CQtVistal& vistal, CQtWorkbenchWindows& windows) {
        AppendCodecSurfaces(LoadCodec(BRASSFOLD_STATES_CODEC, ""));
        CHardwarePanel* panel =
            Choose(vistal, windows, "Brassfold Tests State Box", {"Loopback B"}, {"Loopback A", "-"});
        ASSERT_NE(nullptr, panel);
        const auto* mode = static_cast<QComboBox*>(panel->GetView(EPanelView::kStatePopup, 3));
        EXPECT_EQ(QStringList({"Off", "Slow", "Fast"}),
                  QStringList({mode->itemText(0), mode->itemText(1), mode->itemText(2)}));
        // A second of frames, for the rate.
        ProcessEventsUntil([] { return false; }, 1200ms);

        CRecorder recorder;
        NSMIDIHub::CMIDIInPort listening(Port(NSMIDIHub::GetMIDIHub().GetInPorts(), u"Loopback A"), &recorder);
        const COutputFrameClock& frames = GetOutputFrameClock();
        std::optional<i64> lastFrame = frames.GetLastOutputTime();
        int framesSeen = 0;
        static_cast<QCheckBox*>(panel->GetView(EPanelView::kCheckBox, 1))->click();
        EXPECT_TRUE(ProcessEventsUntil([&] {
            if (frames.GetLastOutputTime() != lastFrame)
            {
                lastFrame = frames.GetLastOutputTime();
                ++framesSeen;
            }
            return !recorder.Messages().empty();
        }));
        EXPECT_LE(framesSeen, 2);
        EXPECT_EQ(std::vector<TBinary>({{0xB0, 0x01, 0x01}}), recorder.Messages());

        const auto* bytes = panel->GetView(EPanelView::kTrafficText);
        const auto* rate = static_cast<const QLabel*>(panel->GetView(EPanelView::kFramesText));
        EXPECT_TRUE(ProcessEventsUntil([&] { return static_cast<const QLabel*>(bytes)->text() == "3"; }, 800ms));
        // Not more frames than the clock gives; its pace on a loaded machine is bench_gui_loop's figure.
        const int framesPerSecond = rate->text().toInt();
        EXPECT_TRUE(framesPerSecond > 0 && framesPerSecond <= 31) << rate->text().toStdString();
        EXPECT_EQ("MIDI bytes/s", bytes->accessibleName().toStdString());
    });
}
