#pragma once
// Names the exact class of a caught exception, so that tables of expected
// failures read as text and a derived class is never mistaken for its base.

#include "foundation/Exceptions.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace NSTesting
{
inline std::string ExceptionKind(const std::exception& e)
{
    const std::type_info& t = typeid(e);
    if (t == typeid(std::exception))
        return "plain";
    if (t == typeid(std::bad_alloc))
        return "bad_alloc";
    if (t == typeid(std::invalid_argument))
        return std::string("invalid_argument") + (*e.what() ? ":text" : "");
    if (t == typeid(std::logic_error))
        return std::string("logic_error") + (*e.what() ? ":text" : "");
    if (t == typeid(XInvariantCorrupt))
        return "InvariantCorrupt";
    if (t == typeid(XIllegalCallSequence))
        return "IllegalCallSequence";
    if (t == typeid(XProgrammingError))
        return "ProgrammingError";
    if (t == typeid(XBadFormat))
        return "BadFormat";
    if (t == typeid(XUnsupportedFormat))
        return "UnsupportedFormat";
    if (t == typeid(XUnsupportedInterface))
        return "UnsupportedInterface";
    if (t == typeid(XUnsupportedOSVersion))
        return "UnsupportedOSVersion";
    if (t == typeid(XApplicationError))
        return "App" + std::to_string(static_cast<const XApplicationError&>(e).GetCode());
    if (t == typeid(NSException::XFileNotFound))
        return "FileNotFound";
    if (t == typeid(NSException::XOpenFailed))
        return "OpenFailed";
    if (t == typeid(NSException::XFileLocked))
        return "FileLocked";
    if (t == typeid(NSException::XWrite))
        return "Write";
    if (t == typeid(NSException::XRead))
        return "Read";
    if (t == typeid(NSException::XOtherError))
        return "OtherError";
    if (t == typeid(NSException::XDiskFull))
        return "DiskFull";
    if (t == typeid(NSException::XCreateFailed))
        return "CreateFailed";
    if (t == typeid(NSException::XBadInputProgrammingError))
        return "BadInputProgrammingError";
    return std::string("other:") + t.name();
}

// Runs f and names what it threw, or "none".
template <class F> std::string KindThrownBy(F&& f)
{
    try
    {
        f();
    }
    catch (const std::exception& e)
    {
        return ExceptionKind(e);
    }
    catch (...)
    {
        return "non-std";
    }
    return "none";
}
} // namespace NSTesting
