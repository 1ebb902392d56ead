#pragma once
// What the output frames of one port sent, for the rates that a panel shows:
// one entry for every frame, also when nothing was sent, so that the count
// of entries is the count of frames. Entries older than a minute go.
//
// Not locked: the user interface thread alone uses it.

#include "foundation/Types.h"

#include <deque>
#include <utility>

// One frame on one port.
struct TOutputStat
{
    u64 fTime;  // microseconds of the clock at the end of the frame
    u32 fBytes; // handed to the sender in that frame
};

inline constexpr u64 kOutputTrafficKeptMicroseconds = 60000000;

class COutputTraffic
{
public:
    // Adds the frame and drops what is more than a minute older than now.
    void Append(u64 now, u32 bytes);
    // Frames per second and bytes per second over the last `milliseconds`
    // (above 0) before now, integer division. An entry exactly that old still
    // counts. A window longer than a minute underreports.
    std::pair<u32, u32> GetRates(u64 now, i64 milliseconds) const;

    std::size_t GetCount() const { return fStats.size(); }

private:
    std::deque<TOutputStat> fStats;
};
