#pragma once
// Tees the trace slot into a text file: while an STraceLogger lives, every
// trace line is also appended to its file (when enabled), indented by four
// blanks per level of the debug channel, before it goes on to the trace hook
// that was there before. The file is opened and closed for each line.
//
// One at a time, made and dropped on the main thread before and after other
// threads trace; a second is an assertion failure and changes nothing. Traces
// and SetEnabled may come from any thread.

#include "foundation/Assert.h"

#include <atomic>
#include <filesystem>

class STraceLogger
{
public:
    explicit STraceLogger(std::filesystem::path file, bool enabled = true);
    // Writes the closing block ("Session Ended" between rows of "=") and gives
    // the trace slot back.
    ~STraceLogger();
    STraceLogger(const STraceLogger&) = delete;
    STraceLogger& operator=(const STraceLogger&) = delete;

    void SetEnabled(bool enabled) { fEnabled = enabled; }
    bool IsEnabled() const { return fEnabled; }

private:
    static void TraceToFile(const char* file, i32 line, const char* text);
    void Append(const char* text) const;

    std::filesystem::path fFile;
    std::atomic<bool> fEnabled; // traces come from any thread
    bool fInstalled;
    TTraceHook fPrevious;
};
