#include "foundation/Failures.h"

#include "foundation/AlertPresenter.h"
#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <cerrno>
#include <cstdio>
#include <locale.h>
#include <new>
#include <span>
#include <stdexcept>
#include <string.h>
#include <string>

namespace
{
// What a status word becomes on the far side of an edge.
enum class EFailure : u8
{
    kUnmapped,
    kPlain,
    kBadAlloc,
    kInvalidArgument,
    kLogicError,
    kInvariantCorrupt,
    kIllegalCallSequence,
    kProgrammingError,
    kBadFormat,
    kUnsupportedFormat,
    kUnsupportedInterface,
    kUnsupportedOSVersion,
};

using enum EFailure;

// Index 0 stands for OK + 1, and so on; a word beyond the end is unmapped.
// clang-format off
constexpr EFailure kVistalTable[] = {
    /* +1  */ kBadAlloc, kInvalidArgument, kIllegalCallSequence, kProgrammingError,
    /* +5  */ kBadFormat, kUnsupportedFormat, kPlain, kInvariantCorrupt,
    /* +9  */ kUnsupportedInterface, kUnsupportedOSVersion,
};

constexpr EFailure kTonewellTable[] = {
    /* +1  */ kBadAlloc, kInvalidArgument, kInvariantCorrupt, kIllegalCallSequence,
    /* +5  */ kLogicError, kPlain, kPlain, kPlain,
    /* +9  */ kPlain, kPlain, kPlain, kPlain,
    /* +13 */ kPlain, kBadFormat, kPlain, kPlain,
};

constexpr EFailure kCodecTable[] = {
    /* +1  */ kBadAlloc, kInvalidArgument, kInvariantCorrupt, kIllegalCallSequence,
    /* +5  */ kProgrammingError, kUnsupportedInterface, kUnmapped, kUnmapped,
    /* +9  */ kUnmapped, kUnmapped, kUnmapped, kUnmapped,
    /* +13 */ kUnmapped, kBadFormat, kUnsupportedFormat, kUnmapped,
    /* +17 */ kUnmapped, kUnmapped, kUnmapped, kUnmapped,
    /* +21 */ kPlain,
};
// clang-format on

[[noreturn]] void ThrowFailure(EFailure failure, u32 result)
{
    switch (failure)
    {
    case kPlain:
        throw std::exception();
    case kBadAlloc:
        throw std::bad_alloc();
    case kInvalidArgument:
        throw std::invalid_argument("");
    case kLogicError:
        throw std::logic_error("");
    case kInvariantCorrupt:
        throw XInvariantCorrupt();
    case kIllegalCallSequence:
        throw XIllegalCallSequence();
    case kProgrammingError:
        throw XProgrammingError();
    case kBadFormat:
        throw XBadFormat();
    case kUnsupportedFormat:
        throw XUnsupportedFormat();
    case kUnsupportedInterface:
        throw XUnsupportedInterface();
    case kUnsupportedOSVersion:
        throw XUnsupportedOSVersion();
    case kUnmapped:
        break;
    }
    if (result >= kFirstApplicationResult)
        throw XApplicationError(result);
    throw std::logic_error("");
}

void ThrowEdgeResult(u32 result, u32 ok, std::span<const EFailure> table)
{
    if (result == ok)
        return;
    const u32 offset = result - ok; // wraps for results below OK: out of the table
    const bool inTable = result > ok && offset <= table.size();
    ThrowFailure(inTable ? table[offset - 1] : kUnmapped, result);
}

// One step of the ordered type tests of an edge: the first match wins.
struct TTypeTest
{
    bool (*fMatches)(const std::exception&);
    u32 fResult;
};

template <class T> bool Is(const std::exception& e)
{
    return dynamic_cast<const T*>(&e) != nullptr;
}

// XApplicationError carries its own word; it gets a marker in the tables.
constexpr u32 kOwnCode = 0;

u32 ResultFromException(const std::exception* e, std::span<const TTypeTest> tests, u32 unknown)
{
    if (e == nullptr)
        return unknown;
    for (const TTypeTest& test : tests)
    {
        if (!test.fMatches(*e))
            continue;
        if (test.fResult == kOwnCode)
            return static_cast<const XApplicationError*>(e)->GetCode();
        return test.fResult;
    }
    return unknown;
}

constexpr TTypeTest kVistalTests[] = {
    {&Is<XIllegalCallSequence>, 12003},  {&Is<XProgrammingError>, 12004},
    {&Is<XInvariantCorrupt>, 12008},     {&Is<XBadFormat>, 12005},
    {&Is<XUnsupportedFormat>, 12006},    {&Is<XUnsupportedInterface>, 12009},
    {&Is<XUnsupportedOSVersion>, 12010}, {&Is<XApplicationError>, kOwnCode},
    {&Is<std::bad_alloc>, 12001},        {&Is<std::logic_error>, 12004},
};

constexpr TTypeTest kTonewellTests[] = {
    {&Is<std::bad_alloc>, 992},    {&Is<std::invalid_argument>, 993},
    {&Is<XInvariantCorrupt>, 994}, {&Is<XIllegalCallSequence>, 995},
    {&Is<std::logic_error>, 996},  {&Is<XBadFormat>, 1005},
};

constexpr TTypeTest kCodecTests[] = {
    {&Is<std::bad_alloc>, 23001},       {&Is<std::invalid_argument>, 23002},
    {&Is<XIllegalCallSequence>, 23004}, {&Is<XProgrammingError>, 23005},
    {&Is<XInvariantCorrupt>, 23003},    {&Is<XBadFormat>, 23014},
    {&Is<XUnsupportedFormat>, 23015},   {&Is<XUnsupportedInterface>, 23006},
    {&Is<XApplicationError>, kOwnCode},
};

// The system's text for an error number, in the user's language; empty when
// the number has none.
std::string SystemErrorText(int error)
{
    if (strerrordesc_np(error) == nullptr)
        return {};
    std::string text;
    if (locale_t user = newlocale(LC_MESSAGES_MASK, "", locale_t{}))
    {
        text = strerror_l(error, user);
        freelocale(user);
    }
    else
    {
        text = strerrordesc_np(error);
    }
    return text;
}
} // namespace

void ThrowVistalResult(u32 result)
{
    ThrowEdgeResult(result, kVistalOK, kVistalTable);
}
u32 VistalResultFromException(const std::exception* e) noexcept
{
    return ResultFromException(e, kVistalTests, kVistalUnknown);
}

void ThrowTonewellResult(u32 result)
{
    ThrowEdgeResult(result, kTonewellOK, kTonewellTable);
}
u32 TonewellResultFromException(const std::exception* e) noexcept
{
    return ResultFromException(e, kTonewellTests, kTonewellUnknown);
}

void ThrowCodecResult(u32 result)
{
    ThrowEdgeResult(result, kCodecOK, kCodecTable);
}
u32 CodecResultFromException(const std::exception* e) noexcept
{
    return ResultFromException(e, kCodecTests, kCodecUnknown);
}

void TraceErrnoError(const char* file, i32 line, int error)
{
    std::string text = SystemErrorText(error);
    if (text.empty())
    {
        char unknown[32];
        std::snprintf(unknown, sizeof unknown, "Unknown (0x%0x)", static_cast<unsigned>(error));
        text = unknown;
    }
    for (char& c : text)
    {
        if (c == '\r' || c == '\n')
            c = ' ';
    }
    DebugTrace(file, line, "%s(%d): %s (%d)", file, line, text.c_str(), error);
}

void ThrowErrnoError(int error, const char* file, i32 line)
{
    TraceThrowSite(file, line);
    switch (error)
    {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:
    case ENODEV:
    case ENOMEDIUM:
    case ECANCELED:
    case ESTALE:
        throw NSException::XFileNotFound();
    case EMFILE:
    case ENFILE:
        throw NSException::XOpenFailed();
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
    case EBUSY:
    case EAGAIN:
    case EDEADLK:
        throw NSException::XFileLocked();
    case ENOMEM:
        throw std::bad_alloc();
    case EPIPE:
    case EFBIG:
        throw NSException::XWrite();
    case EIO:
        throw NSException::XRead();
    case EREMOTEIO:
        throw NSException::XOtherError();
    case ENOSPC:
    case EDQUOT:
        throw NSException::XDiskFull();
    case EEXIST:
    case EISDIR:
        throw NSException::XCreateFailed();
    case EINVAL:
        SAssert(file, line);
        throw NSException::XBadInputProgrammingError();
    case 0:
        SAssert(file, line);
        throw std::exception();
    default:
        SAssert(file, line);
        TraceErrnoError(file, line, error);
        throw std::exception();
    }
}

void ShowLastResortBox(const std::string& first, const std::string& second) noexcept
{
    try
    {
        const std::string text = second.empty() ? first : first + "\r\n" + second;
        GetAlertPresenter().IAlertPresenter_ShowBox("Application", text.c_str(),
                                                    EBoxButtons::kStopOK);
    }
    catch (...)
    {
        // Out of memory while composing: there is no other way to tell.
    }
}

void ThrowLibraryOpenFailure(const char* library, const char* file, i32 line)
{
    ShowLastResortBox(std::string("Failed to open ") + library + " support library",
                      "Application can not run");
    TraceThrowSite(file, line);
    throw NSException::XAlertAlreadyShown();
}
