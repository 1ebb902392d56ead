#pragma once
// What the MIDI test window received, without the window: the last 30
// messages as lines of "Msg: " and each byte as two hex digits and a blank,
// the text shown from them, and what "Copy" and "Save..." take.
//
// Beyond the plain lines, each message keeps its time stamp (milliseconds
// since its port opened), shown in front of its line when asked for; MIDI
// clock and active sensing (F8, FE) are let through only when asked for,
// since a running clock would push every other line out at once. For saving,
// the last kKeptMessages messages stay, and the system exclusive ones among
// them can go to a ".syx" file as they came.
//
// The user interface thread.

#include "codec/KinvarCodec.h"
#include "midi/MIDIHub.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

class CReceivedMessages
{
public:
    static constexpr std::size_t kShownLines = 30;
    static constexpr std::size_t kShownTextLimit = 1023;
    static constexpr std::size_t kKeptMessages = 10000;

    // Adds what a port delivered; openedAt is the moment (microseconds of the
    // monotonic clock) at which that port opened. True when a line was added.
    bool Add(const std::vector<NSKinvarCodec::TMIDIEvent>& events, u64 openedAt);
    void Clear() { fMessages.clear(); }

    void SetShowTimeStamps(bool show) { fShowTimeStamps = show; }
    bool GetShowTimeStamps() const { return fShowTimeStamps; }
    void SetHideClock(bool hide) { fHideClock = hide; }
    bool GetHideClock() const { return fHideClock; }

    // The last kShownLines lines, each ended by a line feed, cut to
    // kShownTextLimit characters.
    std::string GetShownText() const;
    // The same lines uncut, for "Copy".
    std::string GetShownLines() const;

    // Every message kept, one line each, into a new or emptied file; throws
    // the file's failure (foundation/Exceptions.h).
    void SaveText(const std::filesystem::path& file) const;
    // The system exclusive messages kept, back to back, F0 to F7 each.
    void SaveSysex(const std::filesystem::path& file) const;

private:
    struct TMessage
    {
        u64 fMilliseconds;
        NSMIDIHub::TBinary fBytes;
    };

    std::string FormatLine(const TMessage& message) const;
    // Lines of the messages from first on.
    std::string FormatLines(std::size_t first) const;

    std::deque<TMessage> fMessages;
    bool fShowTimeStamps = false;
    bool fHideClock = true;
};
