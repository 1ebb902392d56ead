#include "foundation/Failures.h"

#include "AssertionRecorder.h"
#include "ExceptionKind.h"
#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

using NSTesting::KindThrownBy;

namespace
{
// The family members that an edge's body may throw, by name.
const std::vector<std::pair<std::string, std::function<void()>>>& FamilyThrowers()
{
    static const std::vector<std::pair<std::string, std::function<void()>>> throwers = {
        {"IllegalCallSequence", [] { throw XIllegalCallSequence(); }},
        {"ProgrammingError", [] { throw XProgrammingError(); }},
        {"InvariantCorrupt", [] { throw XInvariantCorrupt(); }},
        {"BadFormat", [] { throw XBadFormat(); }},
        {"UnsupportedFormat", [] { throw XUnsupportedFormat(); }},
        {"UnsupportedInterface", [] { throw XUnsupportedInterface(); }},
        {"UnsupportedOSVersion", [] { throw XUnsupportedOSVersion(); }},
        {"App123456", [] { throw XApplicationError(123456); }},
        {"bad_alloc", [] { throw std::bad_alloc(); }},
        {"invalid_argument", [] { throw std::invalid_argument("x"); }},
        {"logic_error", [] { throw std::logic_error("x"); }},
        {"runtime_error", [] { throw std::runtime_error("x"); }},
        {"plain", [] { throw std::exception(); }},
        // Framework classes are not the edges' vocabulary: only their bases count.
        {"NSException::XBadFormat", [] { throw NSException::XBadFormat(); }},
        {"NSException::XIllegalCallSequence", [] { throw NSException::XIllegalCallSequence(); }},
        {"NSException::XBadInputProgrammingError",
         [] { throw NSException::XBadInputProgrammingError(); }},
    };
    return throwers;
}

struct TEdgeCase
{
    const char* fName;
    u32 fOK;
    void (*fThrow)(u32);
    u32 (*fFromException)(const std::exception*) noexcept; // null: throw direction only
    // What OK + 1, OK + 2, ... become; "-" for an unmapped word.
    std::vector<std::string> fThrown;
    // The word for each of FamilyThrowers(), in that order, and for null.
    std::vector<u32> fResults;
};

void PrintTo(const TEdgeCase& edge, std::ostream* os)
{
    *os << edge.fName;
}

std::string ExpectedKind(const std::string& entry, u32 result)
{
    if (entry != "-")
        return entry;
    return result >= kFirstApplicationResult ? "XApplicationError:" + std::to_string(result)
                                             : "std::logic_error";
}

const std::vector<TEdgeCase>& EdgeCases()
{
    // The GUI's two edges share one table.
    const std::vector<std::string> gui = {
        "std::bad_alloc", "std::invalid_argument", "XIllegalCallSequence", "XProgrammingError",
        "XBadFormat", "XUnsupportedFormat", "std::exception", "XInvariantCorrupt",
        "XUnsupportedInterface", "XUnsupportedOSVersion"};
    const std::vector<u32> guiResults = {12003, 12004, 12008, 12005, 12006, 12009,
                                         12010, 123456, 12001, 12004, 12004, 12007,
                                         12007, 12007, 12004, 12004, 12007};
    const std::string e = "std::exception";
    // clang-format off
    static const std::vector<TEdgeCase> cases = {
        {"Harbry", 5000, &ThrowHarbryResult, &HarbryResultFromException,
         {"std::bad_alloc", "std::invalid_argument", "XInvariantCorrupt", "XIllegalCallSequence",
          "XProgrammingError", e, e, "-", "-", e, e, "-", e, e, "XBadFormat", "XUnsupportedFormat",
          e, e, e, e, "-", e},
         {5004, 5005, 5003, 5015, 5016, 5022, 5022, 123456, 5001, 5005, 5005, 5022, 5022, 5022,
          5005, 5005, 5022}},
        {"Vistal", 12000, &ThrowVistalResult, &VistalResultFromException, gui, guiResults},
        {"Dunmark", 12000, &ThrowDunmarkResult, &DunmarkResultFromException, gui, guiResults},
        {"Tonewell", 991, &ThrowTonewellResult, &TonewellResultFromException,
         {"std::bad_alloc", "std::invalid_argument", "XInvariantCorrupt", "XIllegalCallSequence",
          "std::logic_error", e, e, e, e, e, e, e, e, "XBadFormat", e, e},
         // This edge has no test for XApplicationError: an application word is lost here.
         {995, 996, 994, 1005, 1007, 1007, 1007, 1007, 992, 993, 996, 1007, 1007, 1007, 996, 993,
          1007}},
        {"Grainel", 991, &ThrowGrainelResult, nullptr,
         {"std::bad_alloc", "std::invalid_argument", "XInvariantCorrupt", "XIllegalCallSequence",
          "XProgrammingError", "XUnsupportedFormat", "-", "-", "-", "-", e},
         {}},
        {"Scanvel", 730, &ThrowScanvelResult, &ScanvelResultFromException,
         {"std::bad_alloc", "XBadFormat", "XUnsupportedFormat", e, e, "std::invalid_argument",
          "XInvariantCorrupt", "XIllegalCallSequence", "XProgrammingError", e},
         {738, 739, 737, 732, 733, 740, 740, 123456, 731, 739, 739, 740, 740, 740, 739, 739, 740}},
        {"Codec", 23000, &ThrowCodecResult, &CodecResultFromException,
         {"std::bad_alloc", "std::invalid_argument", "XInvariantCorrupt", "XIllegalCallSequence",
          "XProgrammingError", "XUnsupportedInterface", "-", "-", "-", "-", "-", "-", "-",
          "XBadFormat", "XUnsupportedFormat", "-", "-", "-", "-", "-", e},
         {23004, 23005, 23003, 23014, 23015, 23006, 23021, 123456, 23001, 23002, 23021, 23021,
          23021, 23021, 23021, 23002, 23021}},
    };
    // clang-format on
    return cases;
}

class EdgeTranslation : public testing::TestWithParam<TEdgeCase>
{
};
// The edges that also translate from exception to status word.
class TwoWayEdge : public testing::TestWithParam<TEdgeCase>
{
};

std::vector<TEdgeCase> TwoWayEdgeCases()
{
    std::vector<TEdgeCase> cases;
    for (const TEdgeCase& c : EdgeCases())
    {
        if (c.fFromException != nullptr)
            cases.push_back(c);
    }
    return cases;
}

std::string EdgeName(const testing::TestParamInfo<TEdgeCase>& info)
{
    return info.param.fName;
}
} // namespace

TEST_P(EdgeTranslation, EveryWordOfTheTableAndAroundIt)
{
    const TEdgeCase& edge = GetParam();
    EXPECT_EQ(KindThrownBy([&] { edge.fThrow(edge.fOK); }), "none");
    for (u32 offset = 1; offset <= edge.fThrown.size(); ++offset)
    {
        const u32 result = edge.fOK + offset;
        EXPECT_EQ(KindThrownBy([&] { edge.fThrow(result); }),
                  ExpectedKind(edge.fThrown[offset - 1], result))
            << edge.fName << " " << result;
    }
    // Out of the table on both sides, and the application's own range.
    for (u32 result : {edge.fOK - 1, edge.fOK + u32(edge.fThrown.size()) + 1, u32(50), u32(5008),
                       u32(23007), u32(99999), u32(0)})
    {
        if (result > edge.fOK && result <= edge.fOK + edge.fThrown.size())
            continue;
        EXPECT_EQ(KindThrownBy([&] { edge.fThrow(result); }), "std::logic_error") << result;
    }
    for (u32 result : {u32(100000), u32(123456), u32(0xFFFFFFFF)})
        EXPECT_EQ(KindThrownBy([&] { edge.fThrow(result); }),
                  "XApplicationError:" + std::to_string(result));
}

TEST_P(TwoWayEdge, EachFamilyMemberBecomesItsWord)
{
    const TEdgeCase& edge = GetParam();
    const auto& throwers = FamilyThrowers();
    ASSERT_EQ(edge.fResults.size(), throwers.size() + 1);
    for (std::size_t i = 0; i < throwers.size(); ++i)
    {
        try
        {
            throwers[i].second();
        }
        catch (const std::exception& e)
        {
            EXPECT_EQ(edge.fFromException(&e), edge.fResults[i])
                << edge.fName << " " << throwers[i].first;
        }
    }
    EXPECT_EQ(edge.fFromException(nullptr), edge.fResults.back());
}

TEST_P(TwoWayEdge, GuardedBodyNeverLetsAnExceptionOut)
{
    const TEdgeCase& edge = GetParam();
    const TEdgeResults results{edge.fOK, edge.fResults.back(), edge.fFromException};
    EXPECT_EQ(GuardEdge(results, [] {}), edge.fOK);
    EXPECT_EQ(GuardEdge(results, [] { throw 42; }), edge.fResults.back());
    EXPECT_EQ(GuardEdge(results, [] { throw XInvariantCorrupt(); }), edge.fResults[2]);
}

INSTANTIATE_TEST_SUITE_P(AllEdges, EdgeTranslation, testing::ValuesIn(EdgeCases()), EdgeName);
INSTANTIATE_TEST_SUITE_P(AllEdges, TwoWayEdge, testing::ValuesIn(TwoWayEdgeCases()), EdgeName);

TEST(EdgeTranslation, ApplicationErrorCrossesAnEdgeWithBothTranslators)
{
    // Through a guarded body on one side and the throw translator on the other.
    const auto cross = [](const TEdgeResults& edge, void (*toException)(u32))
    {
        return KindThrownBy(
            [&] { toException(GuardEdge(edge, [] { throw XApplicationError(123456); })); });
    };
    EXPECT_EQ(cross(kHarbryEdge, &ThrowHarbryResult), "XApplicationError:123456");
    EXPECT_EQ(cross(kVistalEdge, &ThrowVistalResult), "XApplicationError:123456");
    EXPECT_EQ(cross(kDunmarkEdge, &ThrowDunmarkResult), "XApplicationError:123456");
    EXPECT_EQ(cross(kScanvelEdge, &ThrowScanvelResult), "XApplicationError:123456");
    EXPECT_EQ(cross(kCodecEdge, &ThrowCodecResult), "XApplicationError:123456");
    EXPECT_EQ(cross(kTonewellEdge, &ThrowTonewellResult), "std::exception");
}

namespace
{
std::vector<std::string> gTraceLines;
void KeepTrace(const char*, i32, const char* text)
{
    gTraceLines.emplace_back(text);
}

// Keeps the trace lines the translation writes.
class ErrnoTranslation : public testing::Test
{
protected:
    void SetUp() override
    {
        gTraceLines.clear();
        SetTraceHook(&KeepTrace);
    }
    void TearDown() override { SetTraceHook(fSaved); }
    const TTraceHook fSaved = GetTraceHook();
};
} // namespace

TEST_F(ErrnoTranslation, EachErrorNumberThrowsItsClassAfterTheThrowSiteTrace)
{
    struct TErrnoCase
    {
        int fError;
        const char* fKind;
        bool fAsserts;
    };
    // One number for each class of the table, and the three that assert.
    const TErrnoCase cases[] = {
        {ENOENT, "NSException::XFileNotFound", false},
        {ENOTDIR, "NSException::XFileNotFound", false},
        {EMFILE, "NSException::XOpenFailed", false},
        {EACCES, "NSException::XFileLocked", false},
        {ENOMEM, "std::bad_alloc", false},
        {EPIPE, "NSException::XWrite", false},
        {EIO, "NSException::XRead", false},
        {EREMOTEIO, "NSException::XOtherError", false},
        {ENOSPC, "NSException::XDiskFull", false},
        {EEXIST, "NSException::XCreateFailed", false},
        {EINVAL, "NSException::XBadInputProgrammingError", true},
        {0, "std::exception", true},
        {ECHILD, "std::exception", true},
    };
    for (const TErrnoCase& c : cases)
    {
        gTraceLines.clear();
        NSTesting::CExpectAssertions expect;
        EXPECT_EQ(KindThrownBy([&] { ThrowErrnoError(c.fError, "media.cpp", 7); }), c.fKind)
            << c.fError;
        EXPECT_EQ(expect.Count(), c.fAsserts ? 1u : 0u) << c.fError;
        ASSERT_FALSE(gTraceLines.empty());
        EXPECT_EQ(gTraceLines.front(), "media.cpp(7) : Exception thrown");
    }
}

TEST_F(ErrnoTranslation, UnlistedNumberTracesTheSystemTextOnOneLine)
{
    TraceErrnoError("media.cpp", 7, 5000);
    TraceErrnoError("media.cpp", 8, ECHILD);
    ASSERT_EQ(gTraceLines.size(), 2u);
    EXPECT_EQ(gTraceLines[0], "media.cpp(7): Unknown (0x1388) (5000)");
    EXPECT_TRUE(gTraceLines[1].starts_with("media.cpp(8): ")) << gTraceLines[1];
    EXPECT_TRUE(gTraceLines[1].ends_with(" (10)")) << gTraceLines[1];
    EXPECT_EQ(gTraceLines[1].find_first_of("\r\n"), std::string::npos);
}

TEST_F(ErrnoTranslation, DefaultLocationIsTheCaller)
{
    const int line = __LINE__ + 1;
    EXPECT_THROW(ThrowErrnoError(ENOENT), NSException::XFileNotFound);
    ASSERT_FALSE(gTraceLines.empty());
    EXPECT_NE(gTraceLines.front().find("FailuresTest.cpp(" + std::to_string(line) + ")"),
              std::string::npos)
        << gTraceLines.front();
}
