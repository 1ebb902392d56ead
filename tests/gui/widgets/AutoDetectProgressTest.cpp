// "AutoDetect" with its progress dialog on screen: a surface simulated on the
// loopback cables is found, and its panel is asked for while the bar stands
// at its end.

#include "gui/AutoDetectProgressDialog.h"

#include "GuiTestSupport.h"
#include "host/CodecModules.h"
#include "foundation/FileHandling.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"
#include "host/AppCommands.h"

#include <QApplication>

using namespace NSGuiTesting;
using NSMIDIHub::CMIDIPortSpec;
using NSMIDIHub::TBinary;

namespace
{
CMIDIPortSpec Port(const std::vector<CMIDIPortSpec>& ports, const char16* name)
{
    for (const CMIDIPortSpec& port : ports)
        if (port.GetDisplayName() == name)
            return port;
    return {};
}

// Listens on "Loopback A" and answers the identity request on "Loopback B".
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
    std::shared_ptr<NSMIDIHub::IMIDISender> fAnswer =
        fHub.GetSender(Port(fHub.GetOutPorts(), u"Loopback B"));
    NSMIDIHub::CMIDIInPort fPort{Port(fHub.GetInPorts(), u"Loopback A"), this};
};

// The workbench's windows, but a panel is only noted, with what the progress
// dialog showed at that moment.
class CPanelRecorder final : public IWorkbenchWindows
{
public:
    explicit CPanelRecorder(CQtWorkbenchWindows& windows) : fWindows(windows) {}

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
        QString panel = QString::fromStdU16String(GetRecordText(info.fModel));
        for (const auto* ports : {&inPorts, &outPorts})
            for (const CMIDIPortSpec& port : *ports)
                panel += QStringLiteral(", ") + QString::fromStdU16String(port.GetDisplayName());
        fPanels << panel;
        fBarAtPanel = fDialog->GetBarValue();
        fTextAtPanel = fDialog->GetSurfaceText();
    }
    std::unique_ptr<IAutoDetectProgressDialog> IWorkbenchWindows_OpenAutoDetectProgress() override
    {
        auto dialog = fWindows.IWorkbenchWindows_OpenAutoDetectProgress();
        fDialog = dynamic_cast<CAutoDetectProgressDialog*>(dialog.get());
        fShown = FindWindow("Auto-detect") == fDialog;
        return dialog;
    }

    CQtWorkbenchWindows& fWindows;
    CAutoDetectProgressDialog* fDialog = nullptr;
    bool fShown = false;
    QStringList fPanels;
    int fBarAtPanel = 0;
    QString fTextAtPanel;
};
} // namespace

TEST(AutoDetectProgressTest, FindsTheSimulatedSurfaceWithTheBarAtItsEnd)
{
    GetApplication();
    CQtVistal vistal;
    CQtWorkbenchWindows windows(vistal);
    CPanelRecorder recorder(windows);

    AutoDetect(recorder); // nothing loaded: the dialog alone
    EXPECT_TRUE(recorder.fShown);
    EXPECT_EQ(nullptr, FindWindow("Auto-detect"));
    EXPECT_TRUE(recorder.fPanels.isEmpty());

    CResponder responder;
    SetCodecFolderOverride(BRASSFOLD_TEST_DATA_DIR "/midi");
    LoadMIDICodecs();
    SetCodecFolderOverride("");
    AutoDetect(recorder);
    gCodecSurfaces.clear();
    EXPECT_EQ(QStringList{"Probe Box, Loopback B, Loopback A"}, recorder.fPanels);
    EXPECT_EQ(CAutoDetectProgressDialog::kBarEnd, recorder.fBarAtPanel);
    EXPECT_EQ("Finishing.", recorder.fTextAtPanel.toStdString());
    EXPECT_EQ(nullptr, FindWindow("Auto-detect"));
}
