#pragma once
// The debug channel as a codec sees it: what a codec asserts and traces
// appears among the host's own lines (foundation/Debugger.h). A codec may
// trace from a MIDI thread; the channel keeps only its "[Lua]" lines there.

#include "codec/KinvarCodec.h"

namespace NSKinvar
{
class CCodecDebugger final : public NSKinvarCodec::IDebugger
{
public:
    void IDebugger_Assert(const char* file, NSKinvarCodec::u32 line, const char* text) override;
    void IDebugger_Trace(const char* text) override;
    void IDebugger_Indent() override;
    void IDebugger_Outdent() override;
};

// The one that the caching loader hands to its codecs.
CCodecDebugger& GetCodecDebugger();
// The one that the workbench's loader hands to its codecs.
CCodecDebugger& GetWorkbenchCodecDebugger();
} // namespace NSKinvar
