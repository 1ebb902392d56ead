#include "foundation/Assert.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{
std::vector<std::string> gTraced;

void RecordTrace(const char*, i32, const char* text)
{
    gTraced.emplace_back(text);
}

// Swaps the process's hooks for the duration of one test.
class CHookScope
{
public:
    CHookScope(TAssertionHook assertion, TTraceHook trace)
        : fAssertion(GetAssertionHook()), fVerify(GetVerifyHook()), fTrace(GetTraceHook())
    {
        SetAssertionHook(assertion);
        SetVerifyHook(assertion);
        SetTraceHook(trace);
        gTraced.clear();
    }
    ~CHookScope()
    {
        SetAssertionHook(fAssertion);
        SetVerifyHook(fVerify);
        SetTraceHook(fTrace);
    }

private:
    TAssertionHook fAssertion;
    TAssertionHook fVerify;
    TTraceHook fTrace;
};
} // namespace

TEST(Assert, WithoutHookThrowsLogicErrorAfterTheThrowSiteTrace)
{
    CHookScope scope(nullptr, &RecordTrace);
    try
    {
        SAssert("here.cpp", 12);
        FAIL() << "SAssert returned without a hook";
    }
    catch (const std::logic_error& e)
    {
        EXPECT_STREQ(e.what(), "ASSERT");
    }
    ASSERT_FALSE(gTraced.empty());
    EXPECT_EQ(gTraced.front(), "here.cpp(12) : Exception thrown");
    EXPECT_THROW(SVerify("here.cpp", 13), std::logic_error);
}

TEST(Assert, TraceWithoutHookDoesNothingAndWithHookIsCutAt1024Bytes)
{
    {
        CHookScope scope(GetAssertionHook(), nullptr);
        BF_TRACE("%s", "nobody listens");
        EXPECT_TRUE(gTraced.empty());
    }
    CHookScope scope(GetAssertionHook(), &RecordTrace);
    const std::string longText(3000, 'x');
    BF_TRACE("%s", longText.c_str());
    ASSERT_EQ(gTraced.size(), 1u);
    EXPECT_EQ(gTraced[0].size(), 1023u);
}
