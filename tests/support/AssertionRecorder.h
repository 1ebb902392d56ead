#pragma once
// Unit tests run with a recording assertion hook: an assertion that no
// CExpectAssertions scope is waiting for fails the running test. Trace lines
// can be kept the same way, for the tests that read them.

#include "foundation/Alert.h"

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

// While one of these lives, trace lines (their text) are kept instead of
// written; the hook that was there before comes back at the end.
class CRecordTraces
{
public:
    CRecordTraces();
    ~CRecordTraces();
    CRecordTraces(const CRecordTraces&) = delete;
    CRecordTraces& operator=(const CRecordTraces&) = delete;

    std::vector<std::string> Lines() const;
    void Clear();

private:
    void (*fPrevious)(const char*, int, const char*);
};

// The texts of the alerts, and the parameters of the last, while it is
// installed (with CAlertInterception).
class CAlertRecorder final : public IAlertHandler
{
public:
    void IAlertHandler_Alert(const TText16& text, const std::vector<TText16>& parameters) override
    {
        fTexts.push_back(text);
        fParameters = parameters;
    }
    std::vector<TText16> fTexts;
    std::vector<TText16> fParameters;
};
} // namespace NSTesting
