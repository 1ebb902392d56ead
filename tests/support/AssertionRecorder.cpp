#include "AssertionRecorder.h"

#include "foundation/Assert.h"

#include <gtest/gtest.h>

#include <mutex>

namespace NSTesting
{
namespace
{
std::mutex gMutex;
int gExpectDepth = 0;
std::vector<TAssertionRecord> gRecords;

void Record(const char* file, int line, bool verify)
{
    std::lock_guard lock(gMutex);
    if (gExpectDepth == 0)
    {
        ADD_FAILURE_AT(file, line) << (verify ? "unexpected verify failure"
                                              : "unexpected assertion failure");
        return;
    }
    gRecords.push_back({file, line, verify});
}

void OnAssertion(const char* file, i32 line) { Record(file, line, false); }
void OnVerify(const char* file, i32 line) { Record(file, line, true); }

std::vector<std::string> gTraceLines;
void OnTrace(const char*, i32, const char* text)
{
    std::lock_guard lock(gMutex);
    gTraceLines.emplace_back(text);
}
} // namespace

void InstallAssertionRecorder()
{
    SetAssertionHook(&OnAssertion);
    SetVerifyHook(&OnVerify);
}

CExpectAssertions::CExpectAssertions()
{
    std::lock_guard lock(gMutex);
    if (gExpectDepth++ == 0)
        gRecords.clear();
}

CExpectAssertions::~CExpectAssertions()
{
    std::lock_guard lock(gMutex);
    --gExpectDepth;
}

std::size_t CExpectAssertions::Count() const
{
    std::lock_guard lock(gMutex);
    return gRecords.size();
}

std::vector<TAssertionRecord> CExpectAssertions::Records() const
{
    std::lock_guard lock(gMutex);
    return gRecords;
}

CRecordTraces::CRecordTraces() : fPrevious(GetTraceHook())
{
    Clear();
    SetTraceHook(&OnTrace);
}

CRecordTraces::~CRecordTraces()
{
    SetTraceHook(fPrevious);
}

std::vector<std::string> CRecordTraces::Lines() const
{
    std::lock_guard lock(gMutex);
    return gTraceLines;
}

void CRecordTraces::Clear()
{
    std::lock_guard lock(gMutex);
    gTraceLines.clear();
}
} // namespace NSTesting
