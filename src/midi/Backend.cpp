#include "midi/Backend.h"

#include <unistd.h>

namespace NSTonewell
{
void CLibraryDebug::Note(const std::string& text) const noexcept
{
    if (IDebugger* debugger = fDebugger.load())
        debugger->IDebugger_Trace(text.c_str());
}

std::string OwnPortPrefix()
{
    return "bf" + std::to_string(getpid()) + ".";
}

bool IsOwnPort(const std::string& listedName)
{
    // The port part follows the first ':' of "client:port" (ALSA adds the
    // numbers behind a blank, which the prefix search doesn't mind).
    const std::size_t colon = listedName.find(':');
    const std::size_t start = colon == std::string::npos ? 0 : colon + 1;
    return listedName.compare(start, OwnPortPrefix().size(), OwnPortPrefix()) == 0;
}
} // namespace NSTonewell
