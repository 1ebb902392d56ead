// Fills the framework's assertion, verify and trace slots with the debug
// channel at static initialisation, in that order, and gives the slots back at
// process exit.
//
// These objects are referenced by nothing, so a linker that takes them from a
// static library would leave them out. Programs therefore link this file's
// object directly: target_link_libraries(<program> PRIVATE brassfold::diagnostic_hooks).

#include "foundation/Debugger.h"

namespace
{
CAssertionHookInstaller gAssertionHook;
CVerifyHookInstaller gVerifyHook;
CTraceHookInstaller gTraceHook;
} // namespace
