#include "foundation/Failures.h"

#include "AssertionRecorder.h"
#include "ExceptionKind.h"
#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

using NSTesting::KindThrownBy;

namespace
{
// What each family member becomes when it crosses an edge and comes back: the
// codec edge's word is the contract's (modules are built apart), the other two
// edges only have to bring the family back. A row per member that a body may
// throw; framework classes are not the edges' vocabulary, only their bases count.
struct TCrossing
{
    const char* fName;
    void (*fThrow)();
    u32 fCodecWord;
    const char* fCodecBack;
    const char* fVistalBack;
    const char* fTonewellBack;
};

// clang-format off
const TCrossing kCrossings[] = {
    {"IllegalCallSequence", [] { throw XIllegalCallSequence(); }, 23004, "XIllegalCallSequence", "XIllegalCallSequence", "XIllegalCallSequence"},
    {"ProgrammingError", [] { throw XProgrammingError(); }, 23005, "XProgrammingError", "XProgrammingError", "std::logic_error"},
    {"InvariantCorrupt", [] { throw XInvariantCorrupt(); }, 23003, "XInvariantCorrupt", "XInvariantCorrupt", "XInvariantCorrupt"},
    {"BadFormat", [] { throw XBadFormat(); }, 23014, "XBadFormat", "XBadFormat", "XBadFormat"},
    {"UnsupportedFormat", [] { throw XUnsupportedFormat(); }, 23015, "XUnsupportedFormat", "XUnsupportedFormat", "std::exception"},
    {"UnsupportedInterface", [] { throw XUnsupportedInterface(); }, 23006, "XUnsupportedInterface", "XUnsupportedInterface", "std::exception"},
    {"UnsupportedOSVersion", [] { throw XUnsupportedOSVersion(); }, 23021, "std::exception", "XUnsupportedOSVersion", "std::exception"},
    // The MIDI edge has no word for the application's own: it is lost there.
    {"App123456", [] { throw XApplicationError(123456); }, 123456, "XApplicationError:123456", "XApplicationError:123456", "std::exception"},
    {"bad_alloc", [] { throw std::bad_alloc(); }, 23001, "std::bad_alloc", "std::bad_alloc", "std::bad_alloc"},
    {"invalid_argument", [] { throw std::invalid_argument("x"); }, 23002, "std::invalid_argument", "XProgrammingError", "std::invalid_argument"},
    {"logic_error", [] { throw std::logic_error("x"); }, 23021, "std::exception", "XProgrammingError", "std::logic_error"},
    {"runtime_error", [] { throw std::runtime_error("x"); }, 23021, "std::exception", "std::exception", "std::exception"},
    {"plain", [] { throw std::exception(); }, 23021, "std::exception", "std::exception", "std::exception"},
    {"non-std", [] { throw 42; }, 23021, "std::exception", "std::exception", "std::exception"},
    {"NSException::XBadFormat", [] { throw NSException::XBadFormat(); }, 23021, "std::exception", "std::exception", "std::exception"},
    {"NSException::XBadInputProgrammingError", [] { throw NSException::XBadInputProgrammingError(); }, 23002, "std::invalid_argument", "XProgrammingError", "std::invalid_argument"},
};
// clang-format on

// A guarded body on one side, the throw translator on the other.
std::string Crossed(const TEdgeResults& edge, void (*toException)(u32), void (*body)())
{
    return KindThrownBy([&] { toException(GuardEdge(edge, body)); });
}
} // namespace

TEST(EdgeTranslation, EachFamilyMemberCrossesEveryEdge)
{
    for (const TCrossing& c : kCrossings)
    {
        EXPECT_EQ(GuardEdge(kCodecEdge, c.fThrow), c.fCodecWord) << c.fName;
        EXPECT_EQ(Crossed(kCodecEdge, &ThrowCodecResult, c.fThrow), c.fCodecBack) << c.fName;
        EXPECT_EQ(Crossed(kVistalEdge, &ThrowVistalResult, c.fThrow), c.fVistalBack) << c.fName;
        EXPECT_EQ(Crossed(kTonewellEdge, &ThrowTonewellResult, c.fThrow), c.fTonewellBack)
            << c.fName;
    }
    for (const TEdgeResults* edge : {&kCodecEdge, &kVistalEdge, &kTonewellEdge})
    {
        EXPECT_EQ(GuardEdge(*edge, [] {}), edge->fOK);
        EXPECT_EQ(edge->fFromException(nullptr), edge->fUnknown);
    }
}

TEST(EdgeTranslation, WordsNoBodyOfOursGivesThrowWhatTheyStandFor)
{
    struct TWordCase
    {
        void (*fThrow)(u32);
        u32 fWord;
        const char* fKind;
    };
    const TWordCase cases[] = {
        {&ThrowCodecResult, 23000, "none"},
        {&ThrowCodecResult, 23007, "std::logic_error"}, // a hole in the table
        {&ThrowCodecResult, 22999, "std::logic_error"},
        {&ThrowCodecResult, 100000, "XApplicationError:100000"},
        {&ThrowCodecResult, 0xFFFFFFFF, "XApplicationError:4294967295"},
        {&ThrowVistalResult, 12002, "std::invalid_argument"},
        {&ThrowVistalResult, 12011, "std::logic_error"},
        {&ThrowTonewellResult, 991, "none"},
        {&ThrowTonewellResult, 1006, "std::exception"},
        {&ThrowTonewellResult, 1008, "std::logic_error"},
    };
    for (const TWordCase& c : cases)
        EXPECT_EQ(KindThrownBy([&] { c.fThrow(c.fWord); }), c.fKind) << c.fWord;
}

namespace
{
// Keeps the trace lines the translation writes.
class ErrnoTranslation : public testing::Test
{
protected:
    NSTesting::CRecordTraces fTraces;
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
    // The classes that files meet most, and the three numbers that assert.
    const TErrnoCase cases[] = {
        {ENOENT, "NSException::XFileNotFound", false},
        {EACCES, "NSException::XFileLocked", false},
        {EIO, "NSException::XRead", false},
        {ENOSPC, "NSException::XDiskFull", false},
        {EEXIST, "NSException::XCreateFailed", false},
        {EINVAL, "NSException::XBadInputProgrammingError", true},
        {0, "std::exception", true},
        {ECHILD, "std::exception", true},
    };
    for (const TErrnoCase& c : cases)
    {
        fTraces.Clear();
        NSTesting::CExpectAssertions expect;
        EXPECT_EQ(KindThrownBy([&] { ThrowErrnoError(c.fError, "media.cpp", 7); }), c.fKind)
            << c.fError;
        EXPECT_EQ(expect.Count(), c.fAsserts ? 1u : 0u) << c.fError;
        ASSERT_FALSE(fTraces.Lines().empty());
        EXPECT_EQ(fTraces.Lines().front(), "media.cpp(7) : Exception thrown");
    }
}

TEST_F(ErrnoTranslation, UnlistedNumberTracesTheSystemTextOnOneLine)
{
    TraceErrnoError("media.cpp", 7, 5000);
    TraceErrnoError("media.cpp", 8, ECHILD);
    const std::vector<std::string> lines = fTraces.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "media.cpp(7): Unknown (0x1388) (5000)");
    EXPECT_TRUE(lines[1].starts_with("media.cpp(8): ")) << lines[1];
    EXPECT_TRUE(lines[1].ends_with(" (10)")) << lines[1];
    EXPECT_EQ(lines[1].find_first_of("\r\n"), std::string::npos);
}

TEST_F(ErrnoTranslation, DefaultLocationIsTheCaller)
{
    const int line = __LINE__ + 1;
    EXPECT_THROW(ThrowErrnoError(ENOENT), NSException::XFileNotFound);
    ASSERT_FALSE(fTraces.Lines().empty());
    EXPECT_NE(fTraces.Lines().front().find("FailuresTest.cpp(" + std::to_string(line) + ")"),
              std::string::npos)
        << fTraces.Lines().front();
}
