// The MIDI test window on the loopback cables: what goes out on a cable's out
// port comes in on its in port.

#include "gui/MIDITestWindow.h"

#include "GuiTestSupport.h"
#include "gui/QtVistal.h"
#include "gui/QtWorkbenchWindows.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

using namespace NSGuiTesting;

namespace
{
// Chooses the row of that text in the popup of side ("In", "Out") as the
// user does, and gives the side's status.
QString Choose(QWidget& window, const QString& side, const QString& row)
{
    auto* popup = Find<QComboBox>(window, side + "-port");
    popup->setCurrentIndex(popup->findText(row));
    emit popup->activated(popup->currentIndex());
    return window.findChild<QLabel*>("CMIDITestWindowBehavior::fMIDI" + side + "StatusText")->text();
}
} // namespace

TEST(MIDITestWindowTest, SendsOnLoopbackAAndShowsWhatComesInUntilItCloses)
{
    GetApplication();
    CQtVistal vistal;
    CQtWorkbenchWindows windows(vistal);
    windows.IWorkbenchWindows_OpenMIDITestWindow();
    CMIDITestWindow& window = *windows.GetMIDITestWindow();
    EXPECT_EQ(QSize(250, 250), window.size());
    EXPECT_EQ("OK", Choose(window, "In", "Loopback A"));
    EXPECT_EQ("OK", Choose(window, "Out", "Loopback A"));
    const auto sendAndWaitFor = [&](const QString& text, const QString& shown)
    {
        Find<QLineEdit>(window, "MIDI message")->setText(text);
        Find<QPushButton>(window, "Send")->click();
        return ProcessEventsUntil(
            [&]
            {
                windows.IWorkbenchWindows_IdleMIDITestWindow();
                return Find<QPlainTextEdit>(window, "Received messages")->toPlainText() == shown;
            });
    };
    EXPECT_TRUE(sendAndWaitFor("90 3c 7f", "Msg: 90 3c 7f \n"));

    // The prompt row keeps the port open; a character that is not 8-bit
    // text is a separator.
    EXPECT_EQ("OK", Choose(window, "In", "Select a port to open it"));
    EXPECT_TRUE(sendAndWaitFor(QString::fromUtf16(u"80\u266a3c 00"),
                               "Msg: 90 3c 7f \nMsg: 80 3c 00 \n"));

    const std::size_t openIn = NSMIDIHub::GetMIDIHub().GetOpenInPortCount();
    window.close();
    EXPECT_EQ(openIn - 1, NSMIDIHub::GetMIDIHub().GetOpenInPortCount());
    EXPECT_TRUE(ProcessEventsUntil([&] { return windows.GetMIDITestWindow() == nullptr; }));
}
