#include "gui/MIDITestModel.h"

#include "foundation/TextPackage.h"
#include "midi/MIDIBytes.h"

#include <cstdio>

using NSMIDIHub::CMIDIPortSpec;

NSMIDIHub::TBinary ReadHexMessage(std::string_view text)
{
    NSMIDIHub::TBinary bytes;
    std::size_t position = text.find_first_not_of(' ');
    // sscanf's own reading of two characters is the rule, with its quirks
    // (a leading blank, sign or "0x" is taken as it takes them).
    for (; position != std::string_view::npos && position + 1 < text.size(); position += 3)
    {
        const char pair[3] = {text[position], text[position + 1], 0};
        unsigned int value = 0;
        if (std::sscanf(pair, "%02x", &value) != 1)
            value = 0;
        if (bytes.size() < CMIDITestModel::kMaxSendBytes)
            bytes.push_back(static_cast<u8>(value));
    }
    return bytes;
}

CMIDITestModel::CMIDITestModel() : CMIDITestModel(NSMIDIHub::GetMIDIHub()) {}

CMIDITestModel::CMIDITestModel(NSMIDIHub::CMIDIHub& hub) : fHub(hub) {}

std::vector<TText16> CMIDITestModel::Rows(const std::vector<CMIDIPortSpec>& ports) const
{
    std::vector<TText16> rows{kPromptRow};
    for (const CMIDIPortSpec& port : ports)
        rows.push_back(port.GetDisplayName());
    return rows;
}

std::vector<TText16> CMIDITestModel::GetInRows() const
{
    return Rows(fHub.GetInPorts());
}

std::vector<TText16> CMIDITestModel::GetOutRows() const
{
    return Rows(fHub.GetOutPorts());
}

template <class Open>
TText16 CMIDITestModel::ChooseRow(std::size_t row, const std::vector<CMIDIPortSpec>& list,
                                  Open&& open)
{
    try
    {
        if (row >= 1 && row <= list.size())
            open(list[row - 1]);
        return kStatusOK;
    }
    catch (...)
    {
        // A port that another program holds, or that went away: the row
        // says so, and the port in use stays as it was.
        return kStatusError;
    }
}

void CMIDITestModel::ChooseInRow(std::size_t row)
{
    fInStatus = ChooseRow(row, fHub.GetInPorts(),
                          [this](const CMIDIPortSpec& port)
                          {
                              const u64 openedAt = NSTonewell::MonotonicMicroseconds();
                              fMIDIInPort = std::make_unique<NSKinvarSetupUtils::CBufferingMIDIInPort>(
                                  fHub, port);
                              fInOpenedAt = openedAt;
                          });
}

void CMIDITestModel::ChooseOutRow(std::size_t row)
{
    fOutStatus = ChooseRow(row, fHub.GetOutPorts(),
                           [this](const CMIDIPortSpec& port)
                           {
                               fMIDIOutPort = fHub.GetSender(port);
                               fOutSpec = port;
                           });
}

TText16 CMIDITestModel::GetInPortName() const
{
    return fMIDIInPort ? fMIDIInPort->GetSpec().GetDisplayName() : TText16();
}

TText16 CMIDITestModel::GetOutPortName() const
{
    return fMIDIOutPort ? fOutSpec.GetDisplayName() : TText16();
}

void CMIDITestModel::SetSendText(std::u16string_view text)
{
    fSendText = NSTextPackage::ASCIIFromText16(text, ' ');
}

void CMIDITestModel::Send()
{
    if (!fMIDIOutPort)
        return;
    const NSMIDIHub::TBinary message = ReadHexMessage(fSendText);
    // The hub sends system exclusive only whole; a typed one that lacks its
    // end goes nowhere, as other bad text goes out unchecked.
    if (!message.empty() && message.front() == NSTonewell::kSysexBegin &&
        message.back() != NSTonewell::kSysexEnd)
        return;
    const u64 now = 0;
    fMIDIOutPort->Send(&now, message);
}

bool CMIDITestModel::Idle()
{
    return fMIDIInPort && fReceived.Add(fMIDIInPort->TakeEvents(), fInOpenedAt);
}

void CMIDITestModel::ClosePorts()
{
    fMIDIInPort.reset();
    fMIDIOutPort.reset();
    fOutSpec = CMIDIPortSpec();
}
