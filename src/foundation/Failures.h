#pragma once
// Status words at the edges of the program, and the translators that turn them
// into the exception family of "foundation/Exceptions.h" and back.
//
// Inside the program a failure is an exception. At each edge to another library
// or to a codec module it becomes a 32-bit status word, and on the far side the
// word becomes an exception again. Each edge has its own range and tables:
//
//   Vistal (GUI)             OK 12000
//   Tonewell (MIDI)          OK 991
//   Codec                    OK 23000
//
// The file, widget, pixel and PNG libraries are reached through std::filesystem,
// Qt and libpng, which throw or return their own errors: no status edge of ours
// stands in front of them.
//
// Words from 100000 up are the application's own and pass every edge unchanged
// as XApplicationError. Only the family is rebuilt on the far side: several
// words deliberately come back as a plain std::exception, and the order of the
// type tests makes std::invalid_argument leave the Vistal edge as its
// programming-error word.
//
// All translators are stateless, never fail in themselves, and may be called
// on any thread, MIDI threads included.

#include "foundation/Types.h"

#include <exception>
#include <string>

inline constexpr u32 kVistalOK = 12000;
inline constexpr u32 kVistalUnknown = 12007;
inline constexpr u32 kTonewellOK = 991;
inline constexpr u32 kTonewellUnknown = 1007;
inline constexpr u32 kCodecOK = 23000;
inline constexpr u32 kCodecUnknown = 23021;
// The first status word that belongs to the application.
inline constexpr u32 kFirstApplicationResult = 100000;

// Each Throw...Result returns on the edge's OK word and throws otherwise.
// Each ...ResultFromException takes the caught exception (null is taken as an
// unknown failure) and returns the edge's word for it.
void ThrowVistalResult(u32 result);
u32 VistalResultFromException(const std::exception* e) noexcept;
void ThrowTonewellResult(u32 result);
u32 TonewellResultFromException(const std::exception* e) noexcept;
void ThrowCodecResult(u32 result);
u32 CodecResultFromException(const std::exception* e) noexcept;

// One edge in the direction from exception to status word.
struct TEdgeResults
{
    u32 fOK;
    u32 fUnknown;
    u32 (*fFromException)(const std::exception*) noexcept;
};

inline constexpr TEdgeResults kVistalEdge{kVistalOK, kVistalUnknown, &VistalResultFromException};
inline constexpr TEdgeResults kTonewellEdge{kTonewellOK, kTonewellUnknown,
                                            &TonewellResultFromException};
inline constexpr TEdgeResults kCodecEdge{kCodecOK, kCodecUnknown, &CodecResultFromException};

// The body of a method that another library or the host calls: no exception
// leaves it, a std::exception becomes the edge's word for it, anything else the
// edge's unknown word, and a body that returns normally gives the OK word.
template <class Body> u32 GuardEdge(const TEdgeResults& edge, Body&& body) noexcept
{
    try
    {
        body();
        return edge.fOK;
    }
    catch (const std::exception& e)
    {
        return edge.fFromException(&e);
    }
    catch (...)
    {
        return edge.fUnknown;
    }
}

// Throws the exception that stands for an operating-system error number
// (errno). Every branch writes the throw-site trace of the caller first; the
// caller's file and line are taken by default.
//
// Which errno stands for which failure. The numbers in brackets are the
// system-error numbers of the platform this family was first written for,
// whose table each errno takes the place of:
//
//   0                                  [0]     assertion failure, then plain std::exception
//   ENOENT                             [2]     NSException::XFileNotFound
//   ENOTDIR, ELOOP, ENAMETOOLONG       [3]     NSException::XFileNotFound
//   ENXIO                              [15]    NSException::XFileNotFound
//   ENODEV, ENOMEDIUM                  [21]    NSException::XFileNotFound
//   ECANCELED                          [1235]  NSException::XFileNotFound
//   ESTALE                             [1237]  NSException::XFileNotFound
//   EMFILE, ENFILE                     [4]     NSException::XOpenFailed
//   EACCES, EPERM                      [5]     NSException::XFileLocked
//   EROFS                              [19]    NSException::XFileLocked
//   ETXTBSY, EBUSY                     [32]    NSException::XFileLocked
//   EAGAIN (EWOULDBLOCK), EDEADLK      [33]    NSException::XFileLocked
//   ENOMEM                             [8]     std::bad_alloc
//   EPIPE, EFBIG                       [29]    NSException::XWrite
//   EIO                                [30]    NSException::XRead
//   EREMOTEIO                          [31]    NSException::XOtherError
//   ENOSPC, EDQUOT                     [39, 112] NSException::XDiskFull
//   EEXIST, EISDIR                     [82]    NSException::XCreateFailed
//   EINVAL                             [87]    assertion failure, then
//                                              NSException::XBadInputProgrammingError
//   any other                                  assertion failure, the trace line
//                                              "<file>(<line>): <system text> (<errno>)",
//                                              then plain std::exception
[[noreturn]] void ThrowErrnoError(int error, const char* file = __builtin_FILE(),
                                  i32 line = __builtin_LINE());

// The trace line for an error number outside the table above: "%s(%d): %s (%d)"
// with the system's text in the user's language, or "Unknown (0x%0x)" when the
// system has none; CR and LF in the text become blanks.
void TraceErrnoError(const char* file, i32 line, int error);

// ShowExceptionAlert and the frame of GUI callbacks are in foundation/Alert.h.

// The native blocking error box of last resort, with a stop icon and the
// caption "Application": first, and second behind a CR LF when not empty.
// Never throws.
void ShowLastResortBox(const std::string& first, const std::string& second) noexcept;

// The handler of a failed library opening: the box "Failed to open <library>
// support library" / "Application can not run", the throw-site trace of the
// caller, then NSException::XAlertAlreadyShown. library is "GUI", "File",
// "Pixel", "Widget" or "MIDI".
[[noreturn]] void ThrowLibraryOpenFailure(const char* library, const char* file = __builtin_FILE(),
                                          i32 line = __builtin_LINE());

// The program entry's outermost frame: body's result, or -1 without another
// word when anything escapes (the user has been told already, or the failure
// is beyond telling).
template <class Body> int GuardProgramEntry(Body&& body) noexcept
{
    try
    {
        return body();
    }
    catch (...)
    {
        return -1;
    }
}
