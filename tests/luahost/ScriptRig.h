#pragma once
// What the tests of the scripted codec host share: scripts written to a folder
// of their own and loaded through LuaHost.kinvarcodec as "Choose Codec File"
// loads them, and a running surface with recording sinks.

#include "TempFolder.h"
#include "codec/CodecSupport.h"

#include <filesystem>
#include <string>
#include <vector>

namespace NSLuaHostTesting
{
// A script of one model, "Tests" "Box", with an input port and two output
// ports, of the items (Lua table constructors, separated by commas) and the
// further fields of the script's table.
std::string Script(const std::string& items, const std::string& fields = "");

// Messages as hex text, "B0 07 40".
std::string Hex(const NSKinvarCodec::TMIDIEvent& event);

class CScriptRig
{
public:
    CScriptRig();

    std::filesystem::path Write(const std::string& text, const std::string& name = "Test.luacodec") const;
    // The codec, or empty when the host refused the script: the log says why.
    TCodecPtr Load(const std::string& text, const std::string& name = "Test.luacodec") const;
    // What reached the log window since the last call, "[Lua]" lines included.
    static std::string TakeLog();

private:
    NSTesting::CTempFolder fFolder;
};

// The first model of a codec, made into a surface that records its input and
// output. Item states are set by index from 0; ports count from 0.
class CSurfaceRig : public NSKinvarCodec::IControlSurfaceInputHandler, public NSKinvarCodec::IMIDIEventGetter
{
public:
    explicit CSurfaceRig(const TCodecPtr& codec);
    ~CSurfaceRig();

    NSKinvarCodec::u32 Receive(const std::string& hex, NSKinvarCodec::u32 inPort = 0);
    void SetValue(NSKinvarCodec::u32 item, NSKinvarCodec::i64 value, const std::u16string& text = u"");
    // One output frame on the port: the states, then the output call.
    NSKinvarCodec::u32 Frame(NSKinvarCodec::u32 outPort = 0);
    NSKinvarCodec::u32 Start(NSKinvarCodec::u32 outPort = 0);
    NSKinvarCodec::u32 Stop(NSKinvarCodec::u32 outPort = 0);

    NSKinvarCodec::u32 IControlSurfaceInputHandler_HandleInput(NSKinvarCodec::IControlSurface*,
                                                               const NSKinvarCodec::TItemInput* input) override;
    NSKinvarCodec::u32 IMIDIEventGetter_Take(const NSKinvarCodec::TMIDIEvent* events,
                                             NSKinvarCodec::u32 count) override;

    // The codec outlives its surface.
    TCodecPtr fCodec;
    TControlSurfacePtr fSurface;
    std::vector<NSKinvarCodec::TItemState> fStates;
    std::vector<NSKinvarCodec::TItemInput> fInputs;
    // What the calls sent, as hex, and what the last call said.
    std::vector<std::string> fSent;
    std::string fMessages;
};
} // namespace NSLuaHostTesting
