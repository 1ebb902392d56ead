#pragma once
// Names the exact class of a caught exception, so that tables of expected
// failures read as text and a derived class is never mistaken for its base.
// The standard classes built by the translators are marked when their text is
// not empty; XApplicationError shows its code.

#include "foundation/Exceptions.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace NSTesting
{
inline std::string ExceptionKind(const std::exception& e)
{
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status), &std::free);
    std::string kind = name ? name.get() : typeid(e).name();
    if (const auto* app = dynamic_cast<const XApplicationError*>(&e))
        kind.append(":").append(std::to_string(app->GetCode())); // += of a sum trips GCC 12
    else if (kind.starts_with("std::") && kind != "std::exception" && *e.what() != 0 &&
             kind != "std::bad_alloc")
        kind += ":text";
    return kind;
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
