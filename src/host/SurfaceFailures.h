#pragma once
// What a running surface's failures put in the log: each new kind once. A
// codec that fails the same way in every output frame, 30 times a second, or
// at every message of a flood, writes one line and not thousands. A kind is
// the line's text with its detail; after kMaxFailureKinds kinds one last line
// says that no more are reported.

#include "foundation/Types.h"

#include <exception>
#include <mutex>
#include <set>
#include <utility>

inline constexpr std::size_t kMaxFailureKinds = 16;

class CSurfaceFailures
{
public:
    // surface names the surface at the start of each line.
    explicit CSurfaceFailures(TText16 surface);
    CSurfaceFailures(const CSurfaceFailures&) = delete;
    CSurfaceFailures& operator=(const CSurfaceFailures&) = delete;

    // Writes the line of the program's text textId, "^0: ...^1", with the
    // surface and detail, unless it was written already. Any thread.
    void Report(u32 textId, const TText16& detail);
    // Report, with the exception in flight and what the codec said during
    // the call that failed as the detail.
    void ReportCurrentException(u32 textId, const TText16& codecText);

private:
    std::mutex fLock;
    const TText16 fSurface;
    std::set<std::pair<u32, TText16>> fReported;
};

// The exception in flight as a text, after what the codec said if anything:
// "Unknown message (bad format)". An exception without a text adds nothing.
TText16 DescribeCurrentException(const TText16& codecText);
