// "AutoDetect" with its progress dialog on screen: a surface simulated on the
// loopback cables is found, and its panel is asked for while the bar stands
// at its end.

#include "gui/AutoDetectProgressDialog.h"

#include "GuiTestSupport.h"
#include "foundation/FileHandling.h"
#include "gui/GuiText.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/AppCommands.h"
#include "host/CodecModules.h"

using namespace NSGuiTesting;
using NSMIDIHub::CMIDIPortSpec;
using NSMIDIHub::TBinary;

namespace
{
// Listens on "Loopback A" and answers the identity request on "Loopback B"
// (the loopback ports are listed A, B).
class CResponder final : public NSMIDIHub::IMIDIReceiver
{
public:
    void Receive(const CMIDIPortSpec&, const u64*, const TBinary& data) override
    {
        if (data == TBinary{0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7})
            fAnswer->Send(nullptr, {0xF0, 0x7E, 0x10, 0x06, 0x02, 0x7D, 0x42, 0x46, 0x01, 0xF7});
    }

private:
    NSMIDIHub::CMIDIHub& fHub = NSMIDIHub::GetMIDIHub();
    std::shared_ptr<NSMIDIHub::IMIDISender> fAnswer = fHub.GetSender(fHub.GetOutPorts().at(1));
    NSMIDIHub::CMIDIInPort fPort{fHub.GetInPorts().at(0), this};
};

// The workbench's progress dialog; a panel is only noted (model, in port, out
// port), with the bar and the text that the dialog showed at that moment.
class CPanelRecorder final : public IWorkbenchWindows
{
public:
    void IWorkbenchWindows_FlushLog() override {}
    void IWorkbenchWindows_IdlePanels() override {}
    void IWorkbenchWindows_IdleMIDITestWindow() override {}
    void IWorkbenchWindows_OpenSelectionDialog(IControlSurfaceSelectionListener&) override {}
    void IWorkbenchWindows_OpenMIDITestWindow() override {}
    void IWorkbenchWindows_OpenLogWindow() override {}
    void IWorkbenchWindows_OpenHardwarePanel(const TCodecPtr&,
                                             const NSKinvarCodec::TControlSurfaceInfo& info,
                                             const std::vector<CMIDIPortSpec>& inPorts,
                                             const std::vector<CMIDIPortSpec>& outPorts) override
    {
        fPanels << QStringList{ToQString(GetRecordText(info.fModel)),
                               ToQString(inPorts.at(0).GetDisplayName()),
                               ToQString(outPorts.at(0).GetDisplayName()),
                               QString::number(fDialog->GetBarValue()), fDialog->GetSurfaceText()}
                       .join(", ");
    }
    std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() override
    {
        auto dialog = fWindows.IWorkbenchWindows_OpenAutoDetectProgress();
        fDialog = dynamic_cast<CAutoDetectProgressDialog*>(dialog.get());
        fShownCount += FindWindow("Auto-detect") == fDialog ? 1 : 0;
        return dialog;
    }

    CQtVistal fVistal;
    CQtWorkbenchWindows fWindows{fVistal};
    CAutoDetectProgressDialog* fDialog = nullptr;
    int fShownCount = 0;
    QStringList fPanels;
};
} // namespace

TEST(AutoDetectProgressTest, FindsTheSimulatedSurfaceWithTheBarAtItsEnd)
{
    GetApplication();
    CPanelRecorder windows;
    AutoDetect(windows); // nothing loaded: the dialog alone
    EXPECT_EQ(1, windows.fShownCount);
    EXPECT_TRUE(windows.fPanels.isEmpty());

    CResponder responder;
    SetCodecFolderOverride(BRASSFOLD_TEST_DATA_DIR "/midi");
    LoadMIDICodecs();
    SetCodecFolderOverride("");
    AutoDetect(windows);
    gCodecSurfaces.clear();
    EXPECT_EQ(2, windows.fShownCount);
    EXPECT_EQ(QStringList{"Probe Box, Loopback B, Loopback A, 1000, Finishing."}, windows.fPanels);
    EXPECT_EQ(nullptr, FindWindow("Auto-detect"));
}
