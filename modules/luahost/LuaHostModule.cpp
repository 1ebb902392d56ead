// The exports of LuaHost.kinvarcodec, with plain C linkage: the factory of
// the codec object, the binding of a script to it, and the scripts folder.
// Whatever fails inside reaches the host as a status word, and a script's
// failure also as a message through the text getter.

#include "LuaCodec.h"

#include "codec/CodecSupport.h"
#include "foundation/Assert.h"

#include <cstdio>
#include <cstring>
#include <new>

using namespace NSKinvarCodec;
using NSLuaHost::CLuaCodec;

namespace
{
// The module's own copy of our libraries has its own diagnostic slots: its
// failed assertions and trace lines go to the host's debugger.
void ReportAssertion(const char* file, i32 line)
{
    if (IDebugger* debugger = NSLuaHost::GetModuleDebugger())
        debugger->IDebugger_Assert(file, u32(line), "ASSERT");
    else
        std::fprintf(stderr, "%s(%d): ASSERT failure in LuaHost.kinvarcodec\n", file, int(line));
}

void Trace(const char*, i32, const char* text)
{
    if (IDebugger* debugger = NSLuaHost::GetModuleDebugger())
        debugger->IDebugger_Trace(text);
}

const bool gHooksInstalled = [] {
    SetAssertionHook(&ReportAssertion);
    SetVerifyHook(&ReportAssertion);
    SetTraceHook(&Trace);
    return true;
}();
} // namespace

extern "C"
{
    ICodec2* KinvarCodec_Create(const char* interfaceName, u32* status)
    {
        ICodec2* codec = nullptr;
        const u32 result = GuardEdge(kCodecEdge, [&] {
            if (interfaceName == nullptr || std::strcmp(interfaceName, kCodecInterfaceName) != 0)
                throw XUnsupportedInterface();
            codec = new CLuaCodec;
        });
        if (status != nullptr)
            *status = result;
        return codec;
    }

    void SetLuaCodec(ICodec2* codec, const char* url, u32* status, ITextGetter* messages)
    {
        NSLuaHost::CCallMessages out;
        const u32 result = GuardEdge(kCodecEdge, [&] {
            if (codec == nullptr || url == nullptr)
                throw std::invalid_argument("NULL codec or URL");
            NSLuaHost::ReportScriptErrors(out, [&](NSLuaHost::CCallMessages&) {
                static_cast<CLuaCodec*>(codec)->BindScript(url);
            });
        });
        out.Deliver(messages);
        if (status != nullptr)
            *status = result;
    }

    void SetLuaCodecsDir(ICodec2* codec, const char* folder, u32* status)
    {
        const u32 result = GuardEdge(kCodecEdge, [&] {
            if (codec == nullptr || folder == nullptr)
                throw std::invalid_argument("NULL codec or folder");
            static_cast<CLuaCodec*>(codec)->SetScriptsFolder(folder);
        });
        if (status != nullptr)
            *status = result;
    }
}
