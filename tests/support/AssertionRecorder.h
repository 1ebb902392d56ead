#pragma once
// Unit tests run with a recording assertion hook: an assertion that no
// CExpectAssertions scope is waiting for fails the running test.

#include <cstddef>
#include <string>
#include <vector>

namespace NSTesting
{
struct TAssertionRecord
{
    std::string fFile;
    int fLine = 0;
    bool fVerify = false;
};

// Installs the recording hooks; the test main calls it once.
void InstallAssertionRecorder();

// While one of these lives, assertions on any thread are collected instead of
// failing the test.
class CExpectAssertions
{
public:
    CExpectAssertions();
    ~CExpectAssertions();
    CExpectAssertions(const CExpectAssertions&) = delete;
    CExpectAssertions& operator=(const CExpectAssertions&) = delete;

    std::size_t Count() const;
    std::vector<TAssertionRecord> Records() const;
};
} // namespace NSTesting
