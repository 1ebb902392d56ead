#pragma once
// The prober object that a script's probe function gets, where an identity
// request and response are not enough to recognise a surface:
//   prober.outputs, prober.inputs        the numbers of the ports to try
//   prober:send(out, msg)                sends a message on an output port
//   prober:receive(in)                   the messages that came on an input
//                                        port since the last call, a list
//   prober:wait(ms)                      waits, at most 5 s in one probe
//   prober:found(outputs, inputs)        reports a surface on these ports,
//                                        lists of port numbers in the model's
//                                        port order
// Ports are numbered from 1.

#include "ScriptModel.h"

#include "codec/KinvarCodec.h"

#include <lua.hpp>

#include <chrono>

namespace NSLuaHost
{
struct TProbeRun
{
    NSKinvarCodec::IMIDIProber& fProber;
    NSKinvarCodec::IProbeResultGetter& fResults;
    const TScriptModel& fModel;
    std::chrono::milliseconds fWaited{0};
};

// Pushes the prober object for one run of a probe function. Inside a
// protected call; run outlives the call.
void PushProber(lua_State* L, TProbeRun& run);
} // namespace NSLuaHost
