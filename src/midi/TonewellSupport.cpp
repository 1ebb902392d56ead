#include "midi/TonewellSupport.h"

#include "foundation/Assert.h"
#include "foundation/Debugger.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <utility>

namespace
{
// Forwards the library's diagnostics to the debug channel.
class CDebugger final : public NSTonewell::IDebugger
{
public:
    void IDebugger_Assert(const char* file, u32 line, const char* text) override
    {
        ReportAssertion(file, static_cast<i32>(line), text);
    }
    void IDebugger_Trace(const char* text) override { WriteLine(text); }
    void IDebugger_Indent() override { Indent(); }
    void IDebugger_Outdent() override { Outdent(); }
};

CDebugger gDebugger;
bool gFailureShown = false;
std::unique_ptr<NSTonewell::ITonewell> gTonewell;
} // namespace

namespace NSTonewellSupport
{
std::unique_ptr<NSTonewell::ITonewell> CreateTonewell(const char* interfaceName)
{
    try
    {
        u32 status = kTonewellOK;
        std::unique_ptr<NSTonewell::ITonewell> library = Tonewell_Create(interfaceName, 0, &status);
        ThrowTonewellResult(status);
        ThrowTonewellResult(library->ITonewell_SetDebugger(&gDebugger));
        return library;
    }
    catch (...)
    {
        if (!std::exchange(gFailureShown, true))
            ShowLastResortBox("Failed to open MIDI support library", "Application can not run");
        WriteLine("GetTonewell: the MIDI library could not be made");
        BF_THROW_SITE();
        throw XProgrammingError();
    }
}
} // namespace NSTonewellSupport

NSTonewell::ITonewell& GetTonewell()
{
    if (!gTonewell)
        gTonewell = NSTonewellSupport::CreateTonewell("ITonewell");
    return *gTonewell;
}
