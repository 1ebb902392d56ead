#pragma once
// The MIDI test window without its widgets: one in port and one out port,
// chosen by the rows of two popups, a message typed in hex and sent, and
// what came in (gui/ReceivedMessages.h).
//
// Row 0 of a popup is its prompt and changes nothing, so the port in use
// stays open; row n opens port n - 1 of the hub's list as it is now, in place
// of the one in use. The row's status becomes "OK" when that worked (also for
// row 0) and "Error!" when opening threw; the exception goes no further, and
// the port in use stays open then. A row past the list counts as row 0.
//
// The text to send is read crudely, on purpose: from the first character
// that is not a blank, two characters a byte, read as "%02x" reads them (what
// does not read gives 0), then one separator of any kind skipped; at most
// kMaxSendBytes bytes are kept. A single digit or two blanks shift the
// reading, and no text is refused.
//
// The user interface thread; the in port queues what arrives on a MIDI
// thread until the idle step takes it.

#include "gui/ReceivedMessages.h"
#include "midi/BufferingMIDIInPort.h"
#include "midi/MIDIHub.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CMIDITestModel
{
public:
    static constexpr std::size_t kMaxSendBytes = 1024;
    static constexpr char16 kPromptRow[] = u"Select a port to open it";
    static constexpr char16 kStatusOK[] = u"OK";
    static constexpr char16 kStatusError[] = u"Error!";

    // On the hub of GetMIDIHub.
    CMIDITestModel();
    explicit CMIDITestModel(NSMIDIHub::CMIDIHub& hub);

    // The popups' rows: the prompt, then the ports that the hub lists now.
    std::vector<TText16> GetInRows() const;
    std::vector<TText16> GetOutRows() const;
    void ChooseInRow(std::size_t row);
    void ChooseOutRow(std::size_t row);
    const TText16& GetInStatus() const { return fInStatus; }
    const TText16& GetOutStatus() const { return fOutStatus; }
    // The open ports' names; empty while none is open.
    TText16 GetInPortName() const;
    TText16 GetOutPortName() const;

    // The send field changed: kept as 8-bit text, a character that does not
    // fit becoming a blank.
    void SetSendText(std::u16string_view text);
    const std::string& GetSendText() const { return fSendText; }
    // Sends the message of the send text, if an out port is open; a system
    // exclusive message without its F7 is not sent.
    void Send();

    // Takes what the in port queued, if one is open; true when a line was
    // added, and the shown text is then to be rebuilt.
    bool Idle();
    CReceivedMessages& GetReceived() { return fReceived; }
    const CReceivedMessages& GetReceived() const { return fReceived; }

    // Releases both ports.
    void ClosePorts();

private:
    std::vector<TText16> Rows(const std::vector<NSMIDIHub::CMIDIPortSpec>& ports) const;
    // Runs open for the port of row (from list), unless the row is the
    // prompt, and gives the row's status.
    template <class Open>
    TText16 ChooseRow(std::size_t row, const std::vector<NSMIDIHub::CMIDIPortSpec>& list,
                      Open&& open);

    NSMIDIHub::CMIDIHub& fHub;
    std::unique_ptr<NSKinvarSetupUtils::CBufferingMIDIInPort> fMIDIInPort;
    std::shared_ptr<NSMIDIHub::IMIDISender> fMIDIOutPort;
    NSMIDIHub::CMIDIPortSpec fOutSpec;
    u64 fInOpenedAt = 0;
    std::string fSendText;
    CReceivedMessages fReceived;
    TText16 fInStatus;
    TText16 fOutStatus;
};

// The message of a send text, read as above.
NSMIDIHub::TBinary ReadHexMessage(std::string_view text);
