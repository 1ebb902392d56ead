#pragma once
// The closed family of failures. Every failure of Brassfold is one of these (or
// std::bad_alloc, std::invalid_argument, std::logic_error) while it stays inside
// the program; the edge translators turn them into status words and back.
//
// Two families share names on purpose: the capitalised texts of the global
// classes belong to the code edges, the lower-case texts of NSException to the
// framework.

#include <cstdint>
#include <stdexcept>

#define BF_DEFINE_EXCEPTION(Name, Base, Text)                                                      \
    class Name : public Base                                                                       \
    {                                                                                              \
    public:                                                                                        \
        Name() : Base(Text) {}                                                                     \
    };

#define BF_DEFINE_PLAIN_EXCEPTION(Name)                                                            \
    class Name : public std::exception                                                             \
    {                                                                                              \
    };

// Global family: the vocabulary of the code tables.
BF_DEFINE_EXCEPTION(XInvariantCorrupt, std::logic_error, "Invariant corrupt")
BF_DEFINE_EXCEPTION(XIllegalCallSequence, std::logic_error, "Illegal call sequence")
BF_DEFINE_EXCEPTION(XProgrammingError, std::logic_error, "Programming error")
BF_DEFINE_EXCEPTION(XBadFormat, std::runtime_error, "Bad format")
BF_DEFINE_EXCEPTION(XUnsupportedFormat, std::runtime_error, "Unsupported format")
BF_DEFINE_EXCEPTION(XUnsupportedInterface, std::runtime_error, "Unsupported interface")
BF_DEFINE_EXCEPTION(XUnsupportedOSVersion, std::runtime_error, "Unsupported os version")

// An application's own status word (100000 and up) that passes every edge unchanged.
class XApplicationError : public std::exception
{
public:
    explicit XApplicationError(std::uint32_t code) noexcept : fCode(code) {}
    std::uint32_t GetCode() const noexcept { return fCode; }

private:
    std::uint32_t fCode;
};

namespace NSException
{
BF_DEFINE_PLAIN_EXCEPTION(XOtherError)
// Thrown when the user has already been told of a failure: the program entry
// catches it and ends without another word.
BF_DEFINE_PLAIN_EXCEPTION(XAlertAlreadyShown)
BF_DEFINE_EXCEPTION(XFileNotFound, std::runtime_error, "file not found")
BF_DEFINE_EXCEPTION(XFileLocked, std::runtime_error, "file locked")
BF_DEFINE_EXCEPTION(XOpenFailed, std::runtime_error, "open failed")
BF_DEFINE_EXCEPTION(XCreateFailed, std::runtime_error, "create failed")
BF_DEFINE_EXCEPTION(XRead, std::runtime_error, "read")
BF_DEFINE_EXCEPTION(XWrite, std::runtime_error, "write")
BF_DEFINE_EXCEPTION(XDiskFull, std::overflow_error, "disk full")
BF_DEFINE_EXCEPTION(XBadInputProgrammingError, std::invalid_argument, "bad input programming error")
BF_DEFINE_EXCEPTION(XBadFormat, std::runtime_error, "bad format")
BF_DEFINE_EXCEPTION(XUnsupportedFormat, std::runtime_error, "unsupported format")
BF_DEFINE_EXCEPTION(XIllegalCallSequence, std::logic_error, "illegal call sequence")
BF_DEFINE_EXCEPTION(XNotFound, std::runtime_error, "not found")
BF_DEFINE_EXCEPTION(XCreateControlSurfaceFailed, std::runtime_error, "create control surface failed")
BF_DEFINE_EXCEPTION(XFailedLoadingDLL, std::runtime_error, "failed loading DLL")
BF_DEFINE_EXCEPTION(XFailedLoadingDLLDependants, std::runtime_error, "failed loading DLL dependants")
BF_DEFINE_EXCEPTION(XUnrecoverableCommandError, std::runtime_error, "unrecoverable command error")
BF_DEFINE_EXCEPTION(XShellAccessDenied, std::runtime_error, "shell access denied")
BF_DEFINE_EXCEPTION(XShellDeviceNotReady, std::runtime_error, "shell device not ready")
BF_DEFINE_EXCEPTION(XShellFileSystemObjectNotFound, std::runtime_error,
                    "shell file system object not found")
BF_DEFINE_EXCEPTION(XShellItemNotFound, std::runtime_error, "shell item not found")
BF_DEFINE_EXCEPTION(XShellNetworkPathNotFound, std::runtime_error, "shell network path not found")
BF_DEFINE_EXCEPTION(XShellOtherError, std::runtime_error, "shell error")
BF_DEFINE_EXCEPTION(XShellUnableToOpenContainer, std::runtime_error,
                    "shell unable to open container")
BF_DEFINE_EXCEPTION(XShellUnableToResolveAlias, std::runtime_error,
                    "shell unable to resolve alias")
} // namespace NSException

namespace NSKinvar
{
// Thrown by the map reader, which catches it by type.
BF_DEFINE_EXCEPTION(XBadFormat, std::runtime_error, "Bad format")
BF_DEFINE_EXCEPTION(XUnsupportedInterface, std::runtime_error, "Unsupported interface")
} // namespace NSKinvar

namespace NSTextPackage
{
// A text conversion that cannot be done.
BF_DEFINE_EXCEPTION(XIllegalTextFormat, std::logic_error, "")
} // namespace NSTextPackage

namespace NSThreads
{
BF_DEFINE_PLAIN_EXCEPTION(XThreadCreateError)
} // namespace NSThreads

#undef BF_DEFINE_EXCEPTION
#undef BF_DEFINE_PLAIN_EXCEPTION
