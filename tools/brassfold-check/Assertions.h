#pragma once
// Failed assertions while the tool reads definition files. The definition
// reader asserts when it meets a bad hex value or a bad number, and the tool
// explains those two faults itself, with line and text: their assertion report
// would only repeat them in the reader's terms, so it is left out unless
// BRASSFOLD_TRACE asks for everything. A codec's scan reads again the files
// that the tool has read, and the reports that the tool's own read gave are
// not shown twice. Every other assertion is shown as it comes.
//
// Main thread.

#include "foundation/Types.h"

#include <cstddef>

namespace NSCheckTool
{
// Routes the framework's assertion slot through the tool for the whole run.
class CAssertionFilter
{
public:
    CAssertionFilter();
    ~CAssertionFilter();
    CAssertionFilter(const CAssertionFilter&) = delete;
    CAssertionFilter& operator=(const CAssertionFilter&) = delete;
};

// Holds back the assertions of one stretch of work and shows them at its end.
class CHeldAssertions
{
public:
    enum class EKind
    {
        kOwnRead,    // the tool reads a file: what it holds is remembered
        kRepeatRead, // a codec reads again: what the tool's read gave is not shown again
        kSilent,     // a check whose verdict the tool words itself: nothing is shown
    };

    explicit CHeldAssertions(EKind kind);
    ~CHeldAssertions();
    CHeldAssertions(const CHeldAssertions&) = delete;
    CHeldAssertions& operator=(const CHeldAssertions&) = delete;

    // The last assertion held is the reader's report of a fault that the tool
    // explains: it is not shown.
    void DropLast();

private:
    EKind fKind;
    CHeldAssertions* fOuter;
    std::size_t fFirst; // of the held sites, the first that is this hold's
};
} // namespace NSCheckTool
