#pragma once
// What the script host says during one call of the contract. A text getter
// keeps only the last text that it was given, so the lines are collected and
// handed over once, at the end of the call, also when the call fails.

#include "LuaState.h"

#include "codec/KinvarCodec.h"
#include "foundation/Exceptions.h"

#include <string>
#include <string_view>

namespace NSLuaHost
{
class CCallMessages
{
public:
    void Add(std::string_view line);
    const std::string& GetText() const { return fText; }
    // Hands the lines, if any, to messages, which may be null.
    void Deliver(NSKinvarCodec::ITextGetter* messages) const noexcept;

private:
    std::string fText;
};

// Runs body(out); a script's failure adds its text to out and leaves as
// XBadFormat, the status word of a script that does not work.
template <class Body> void ReportScriptErrors(CCallMessages& out, Body&& body)
{
    try
    {
        body(out);
    }
    catch (const XScriptError& e)
    {
        out.Add(e.what());
        throw XBadFormat();
    }
}
} // namespace NSLuaHost
