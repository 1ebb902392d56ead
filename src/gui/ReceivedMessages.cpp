#include "gui/ReceivedMessages.h"

#include "foundation/FileHandling.h"
#include "midi/MIDIBytes.h"

#include <algorithm>
#include <cstdio>

namespace
{
constexpr u8 kClock = 0xF8;

bool IsClockLike(const NSMIDIHub::TBinary& bytes)
{
    return !bytes.empty() && (bytes[0] == kClock || bytes[0] == NSTonewell::kActiveSensing);
}

bool IsSysex(const NSMIDIHub::TBinary& bytes)
{
    return !bytes.empty() && bytes[0] == NSTonewell::kSysexBegin;
}

void WriteFile(const std::filesystem::path& file, const void* bytes, std::size_t size)
{
    NSHarbryUtils::COpenFile out(file, NSHarbryUtils::COpenFile::EMode::kCreate);
    out.WriteAt(0, static_cast<u32>(size), bytes);
}
} // namespace

bool CReceivedMessages::Add(const std::vector<NSKinvarCodec::TMIDIEvent>& events, u64 openedAt)
{
    bool added = false;
    for (const NSKinvarCodec::TMIDIEvent& event : events)
    {
        NSMIDIHub::TBinary bytes(event.fData, event.fData + event.fSize);
        if (fHideClock && IsClockLike(bytes))
            continue;
        const u64 since = event.fTime > openedAt ? event.fTime - openedAt : 0;
        fMessages.push_back({since / 1000, std::move(bytes)});
        added = true;
    }
    while (fMessages.size() > kKeptMessages)
        fMessages.pop_front();
    return added;
}

std::string CReceivedMessages::FormatLine(const TMessage& message) const
{
    std::string line;
    char piece[32];
    if (fShowTimeStamps)
    {
        std::snprintf(piece, sizeof piece, "%8llu ms  ",
                      static_cast<unsigned long long>(message.fMilliseconds));
        line += piece;
    }
    line += "Msg: ";
    for (const u8 byte : message.fBytes)
    {
        std::snprintf(piece, sizeof piece, "%02x ", byte);
        line += piece;
    }
    return line + '\n';
}

std::string CReceivedMessages::FormatLines(std::size_t first) const
{
    std::string text;
    for (std::size_t i = first; i < fMessages.size(); ++i)
        text += FormatLine(fMessages[i]);
    return text;
}

std::string CReceivedMessages::GetShownLines() const
{
    return FormatLines(fMessages.size() - std::min(fMessages.size(), kShownLines));
}

std::string CReceivedMessages::GetShownText() const
{
    std::string text = GetShownLines();
    if (text.size() > kShownTextLimit)
        text.resize(kShownTextLimit);
    return text;
}

void CReceivedMessages::SaveText(const std::filesystem::path& file) const
{
    const std::string text = FormatLines(0);
    WriteFile(file, text.data(), text.size());
}

void CReceivedMessages::SaveSysex(const std::filesystem::path& file) const
{
    NSMIDIHub::TBinary bytes;
    for (const TMessage& message : fMessages)
        if (IsSysex(message.fBytes))
            bytes.insert(bytes.end(), message.fBytes.begin(), message.fBytes.end());
    WriteFile(file, bytes.data(), bytes.size());
}
