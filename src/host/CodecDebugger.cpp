#include "host/CodecDebugger.h"

#include "foundation/Debugger.h"
#include "foundation/Types.h"

namespace NSKinvar
{
void CCodecDebugger::IDebugger_Assert(const char* file, NSKinvarCodec::u32 line, const char* text)
{
    ReportAssertion(file != nullptr ? file : "", static_cast<i32>(line),
                    text != nullptr ? text : "");
}

void CCodecDebugger::IDebugger_Trace(const char* text)
{
    if (text != nullptr)
        WriteLine(text);
}

void CCodecDebugger::IDebugger_Indent() { Indent(); }

void CCodecDebugger::IDebugger_Outdent() { Outdent(); }

CCodecDebugger& GetCodecDebugger()
{
    static CCodecDebugger debugger;
    return debugger;
}

CCodecDebugger& GetWorkbenchCodecDebugger()
{
    static CCodecDebugger debugger;
    return debugger;
}
} // namespace NSKinvar
