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
// Chooses the popup's row of that text, as the user does.
void Choose(QComboBox& popup, const QString& row)
{
    const int index = popup.findText(row);
    ASSERT_GE(index, 0) << row.toStdString();
    popup.setCurrentIndex(index);
    emit popup.activated(index);
}

std::string Status(const QWidget& window, const char* row)
{
    const QString name = QStringLiteral("CMIDITestWindowBehavior::fMIDI%1StatusText").arg(row);
    return window.findChild<QLabel*>(name)->text().toStdString();
}
} // namespace

TEST(MIDITestWindowTest, SendsOnLoopbackAAndShowsWhatComesInUntilItCloses)
{
    GetApplication();
    CQtVistal vistal;
    CQtWorkbenchWindows windows(vistal);
    windows.IWorkbenchWindows_OpenMIDITestWindow();
    CMIDITestWindow* window = windows.GetMIDITestWindow();
    ASSERT_NE(nullptr, window);
    EXPECT_EQ(window, FindWindow("MIDI Test"));
    EXPECT_EQ(QSize(250, 250), window->size());
    auto* inPopup = Find<QComboBox>(*window, "In-port");
    auto* outPopup = Find<QComboBox>(*window, "Out-port");
    auto* received = Find<QPlainTextEdit>(*window, "Received messages");
    auto* edit = Find<QLineEdit>(*window, "MIDI message");
    ASSERT_TRUE(inPopup && outPopup && received && edit);
    EXPECT_EQ("Select a port to open it", inPopup->itemText(0).toStdString());

    Choose(*inPopup, "Loopback A");
    Choose(*outPopup, "Loopback A");
    EXPECT_EQ("OK", Status(*window, "In"));
    EXPECT_EQ("OK", Status(*window, "Out"));
    const auto sendAndWaitFor = [&](const QString& text, const QString& shown)
    {
        edit->setText(text);
        Find<QPushButton>(*window, "Send")->click();
        return ProcessEventsUntil(
            [&]
            {
                windows.IWorkbenchWindows_IdleMIDITestWindow();
                return received->toPlainText() == shown;
            });
    };
    EXPECT_TRUE(sendAndWaitFor("90 3c 7f", "Msg: 90 3c 7f \n"));

    // The prompt row keeps the port open; a character that is not 8-bit
    // text is a separator.
    Choose(*inPopup, "Select a port to open it");
    EXPECT_EQ("OK", Status(*window, "In"));
    EXPECT_TRUE(sendAndWaitFor(QString::fromUtf16(u"80\u266a3c 00"),
                               "Msg: 90 3c 7f \nMsg: 80 3c 00 \n"));

    const std::size_t openIn = NSMIDIHub::GetMIDIHub().GetOpenInPortCount();
    window->close();
    EXPECT_EQ(openIn - 1, NSMIDIHub::GetMIDIHub().GetOpenInPortCount());
    EXPECT_TRUE(ProcessEventsUntil([&] { return windows.GetMIDITestWindow() == nullptr; }));
}
