#include "HostTestSupport.h"

#include "foundation/Debugger.h"
#include "foundation/LogText.h"
#include "host/CodecInstance.h"
#include "host/CodecModules.h"
#include "midi/PortAddress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace NSHostTesting
{
fs::path TestCodec(const char* kind) { return fs::path(BRASSFOLD_HOST_TEST_CODECS) / (std::string(kind) + ".kinvarcodec"); }

fs::path NotALibrary() { return fs::path(BRASSFOLD_TEST_DATA_DIR) / "host" / "NotALibrary.kinvarcodec"; }

const TCodecPtr& StatesCodec()
{
    // Outside the caching loader's cache, which the tests of the cache empty.
    static const auto instance = std::make_shared<NSKinvar::CCodecInstance>(TestCodec("STATES"));
    return instance->GetCodec();
}

TControlSurfaceInfo StateBox(std::vector<bool> inOptional, std::vector<bool> outOptional)
{
    TControlSurfaceInfo info = GetControlSurfacesForCodec(StatesCodec()).at(0);
    info.fInPortCount = static_cast<u32>(inOptional.size());
    info.fOutPortCount = static_cast<u32>(outOptional.size());
    for (std::size_t i = 0; i < kMaxPortCount; ++i)
    {
        info.fInPortOptional[i] = i < inOptional.size() && inOptional[i];
        info.fOutPortOptional[i] = i < outOptional.size() && outOptional[i];
    }
    return info;
}

namespace
{
std::vector<std::string> gDebugLines;
void CaptureDebugLine(const char* text) { gDebugLines.emplace_back(text); }
} // namespace

CDebugCapture::CDebugCapture() : fPreviousOutput(GetDebugOutput())
{
    gDebugLines.clear();
    SetDebugOutput(&CaptureDebugLine);
}

CDebugCapture::~CDebugCapture() { SetDebugOutput(fPreviousOutput); }

std::size_t CDebugCapture::Count(const std::string& text) const
{
    return std::count_if(gDebugLines.begin(), gDebugLines.end(),
                         [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

std::size_t CDebugCapture::LineCount() const { return gDebugLines.size(); }

CLogCapture::CLogCapture() { TakePendingLog(); }
TText16 CLogCapture::Text() { return TakePendingLog(); }

CMIDIPortSpec InPort(const char16_t* cable) { return NSMIDITesting::FindPortNamed(NSMIDIHub::GetMIDIHub().GetInPorts(), cable); }
CMIDIPortSpec OutPort(const char16_t* cable) { return NSMIDITesting::FindPortNamed(NSMIDIHub::GetMIDIHub().GetOutPorts(), cable); }

CMIDIPortSpec MissingPort(bool input)
{
    using namespace NSTonewell;
    return CMIDIPortSpec(CPortAddress(EBackend::kLoopback, input ? EDirection::kIn : EDirection::kOut, "Nowhere", 0));
}

u32 CFakeVistal::IVistal_PostCustomEvent(u32 event, u32 data)
{
    EXPECT_EQ(kInputEvent, event);
    EXPECT_EQ(0u, data);
    ++fPostCount;
    return kVistalOK;
}

u32 CFakeVistal::IVistal_ShowOpenDialog(const TOpenDialogRequest& request, IOpenDialogListener& listener)
{
    fOpenRequests.push_back(request);
    return listener.IOpenDialogListener_Chosen(fFilesToChoose);
}

namespace
{
// Auto-detection's whole road is the widget tests'.
class CFakeProgressDialog final : public IAutoDetectProgressDialog, public NSKinvarSetupUtils::IAutoDetectProgress
{
public:
    NSKinvarSetupUtils::IAutoDetectProgress& GetProgress() override { return *this; }
    void Close() override {}
    void IAutoDetectProgress_OnBegin() override {}
    void IAutoDetectProgress_OnModelCount(u32) override {}
    void IAutoDetectProgress_OnModelBegin(u32, const TControlSurfaceInfo&) override {}
    void IAutoDetectProgress_OnSurfaceFound(u32, const NSKinvarSetupUtils::VDetectedKinvarControlSurface&) override {}
    void IAutoDetectProgress_OnModelEnd(u32, const TControlSurfaceInfo&) override {}
    void IAutoDetectProgress_OnEnd() override {}
};
} // namespace

void CFakeWindows::Call(const std::string& name)
{
    fCalls.push_back(name);
    if (name == fThrowIn)
        throw std::runtime_error(name);
}

std::unique_ptr<IAutoDetectProgressDialog> CFakeWindows::IWorkbenchWindows_OpenAutoDetectProgress()
{
    Call("OpenProgress");
    return std::make_unique<CFakeProgressDialog>();
}
} // namespace NSHostTesting
