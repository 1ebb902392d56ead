// Auto-detection: the run over the models, the prober's ports and the port maps.

#include "midi/AutoDetect.h"

#include "AssertionRecorder.h"
#include "FakeTonewell.h"
#include "MIDITestSupport.h"
#include "codec/CodecSupport.h"
#include "foundation/Exceptions.h"
#include "foundation/LogText.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace NSKinvarCodec;
using namespace NSKinvarSetupUtils;
using namespace NSMIDITesting;
using NSMIDIHub::CMIDIHub;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
constexpr u32 kOK = NSKinvarCodec::kCodecOK;
using TProbe =
    std::function<u32(IMIDIProber&, const TControlSurfaceInfo&, IProbeResultGetter&, ITextGetter&)>;

// A codec whose probe the test writes; auto-detection calls nothing else.
class CScriptedCodec final : public ICodec2
{
public:
    explicit CScriptedCodec(TProbe probe) : fProbe(std::move(probe)) {}
    virtual ~CScriptedCodec() = default;

    u32 ICodec2_CheckInvariant() override { return 1; }
    u32 ICodec2_SetDebugger(IDebugger*) override { return kOK; }
    u32 ICodec2_GetMayStayLoaded(u32*) override { return kCodecUnsupportedInterface; }
    u32 ICodec2_GetControlSurfaces(IControlSurfaceInfoGetter&, ITextGetter&) override
    {
        return kCodecUnsupportedInterface;
    }
    IControlSurface* ICodec2_CreateControlSurface(const TControlSurfaceInfo&, u32*) override
    {
        return nullptr;
    }
    IControlSurface* ICodec2_CreateControlSurfaceByName(const char*, u32*) override
    {
        return nullptr;
    }
    u32 ICodec2_GetControlSurfacePicture(const TControlSurfaceInfo&, u32*, u32*) override
    {
        return kCodecUnsupportedInterface;
    }
    u32 ICodec2_ProbeForControlSurface(IMIDIProber& prober, const TControlSurfaceInfo& info,
                                       IProbeResultGetter& results, ITextGetter& messages) override
    {
        return fProbe(prober, info, results, messages);
    }
    u32 ICodec2_Destroy() override
    {
        delete this;
        return kOK;
    }

private:
    TProbe fProbe;
};

TCodecPtr MakeCodec(TProbe probe)
{
    return TCodecPtr(new CScriptedCodec(std::move(probe)), codec_deleter());
}

TControlSurfaceInfo MakeInfo(const char16* model, std::vector<u32> inOptional,
                             std::vector<u32> outOptional)
{
    TControlSurfaceInfo info{};
    SetRecordText(info.fManufacturer, u"Acme");
    SetRecordText(info.fModel, model);
    info.fInPortCount = static_cast<u32>(inOptional.size());
    std::copy(inOptional.begin(), inOptional.end(), info.fInPortOptional);
    info.fOutPortCount = static_cast<u32>(outOptional.size());
    std::copy(outOptional.begin(), outOptional.end(), info.fOutPortOptional);
    return info;
}

// Reports one find with the given port words: out ports first, then in ports.
TProbe Reporting(std::vector<u32> outWords, std::vector<u32> inWords)
{
    return [=](IMIDIProber&, const TControlSurfaceInfo&, IProbeResultGetter& results, ITextGetter&)
    {
        u32 map[kPortMapSize];
        std::fill(std::begin(map), std::end(map), kUnusedPort);
        std::copy(outWords.begin(), outWords.end(), map);
        std::copy(inWords.begin(), inWords.end(), map + kPortMapFirstInPort);
        return results.IProbeResultGetter_Take("acme-unique", map);
    };
}

const TProbe kFindsNothing = [](auto&&...) { return kOK; };

class CProgressLog final : public IAutoDetectProgress
{
public:
    void IAutoDetectProgress_OnBegin() override { fLines.push_back("begin"); }
    void IAutoDetectProgress_OnModelCount(u32 count) override { Add("count ", count); }
    void IAutoDetectProgress_OnModelBegin(u32 index, const TControlSurfaceInfo&) override
    {
        Add("model ", index);
    }
    void IAutoDetectProgress_OnSurfaceFound(u32 index,
                                            const VDetectedKinvarControlSurface& surface) override
    {
        Add("found ", index, " " + surface.fUniqueName);
    }
    void IAutoDetectProgress_OnModelEnd(u32 index, const TControlSurfaceInfo&) override
    {
        Add("model end ", index);
    }
    void IAutoDetectProgress_OnEnd() override { fLines.push_back("end"); }

    std::vector<std::string> fLines;

private:
    void Add(const char* what, u32 number, const std::string& more = {})
    {
        fLines.push_back(what + std::to_string(number) + more);
    }
};

class AutoDetectTest : public testing::Test
{
protected:
    CFakeTonewell fLibrary;
    CMIDIHub fHub{fLibrary};
};

// A model without finds adds no entry and no OnSurfaceFound; every port is
// open during the run and closed after it.
TEST_F(AutoDetectTest, OnlyModelsFoundMakeEntries)
{
    TControlSurfaceInfo found = MakeInfo(u"Found", {0}, {0});
    SetRecordText(found.fSetupUserActionText, u"Hold SELECT");
    const std::vector<TCodecModel> models = {
        {MakeCodec(kFindsNothing), MakeInfo(u"Absent", {0}, {0})},
        {MakeCodec(Reporting({0}, {1})), found},
    };
    CProgressLog log;
    for (IAutoDetectProgress* progress :
         {static_cast<IAutoDetectProgress*>(&log), static_cast<IAutoDetectProgress*>(nullptr)})
    {
        const auto result = AutodetectControlSurfaces(models, progress, fHub);
        ASSERT_EQ(1u, result.size());
        ASSERT_EQ(1u, result[0].size());
        const VDetectedKinvarControlSurface& find = result[0][0];
        EXPECT_EQ(u"Acme", find.fManufacturer);
        EXPECT_EQ(u"Found", find.fModel);
        EXPECT_EQ("acme-unique", find.fUniqueName);
        EXPECT_TRUE(find.fNeedsManualSetup);
        EXPECT_EQ(u"Hold SELECT", find.fSetupUserActionText);
        EXPECT_EQ(models[1].first, find.fCodec);
        ASSERT_EQ(1u, find.fInPorts.size());
        EXPECT_EQ(u"JACK: x:B", find.fInPorts[0].GetDisplayName());
        ASSERT_EQ(1u, find.fOutPorts.size());
        EXPECT_EQ(u"JACK: x:A", find.fOutPorts[0].GetDisplayName());
    }
    const std::vector<std::string> expected = {"begin",       "count 2", "model 0",
                                               "model end 0", "model 1", "found 1 acme-unique",
                                               "model end 1", "end"};
    EXPECT_EQ(expected, log.fLines);
    EXPECT_EQ(4, fLibrary.fInOpens);
    EXPECT_EQ(4, fLibrary.fInCloses);
    EXPECT_EQ(4, fLibrary.fOutOpens);
    EXPECT_EQ(4, fLibrary.fOutCloses);
    EXPECT_EQ(0u, fHub.GetOpenInPortCount() + fHub.GetOpenOutPortCount());
}

// Ports that the codec left unmapped close up: the found ports move forward
// and empty addresses stand at the end. A required port left out is a fault of
// the codec.
TEST_F(AutoDetectTest, PortMapsCloseUp)
{
    const TControlSurfaceInfo optionalFirst = MakeInfo(u"Two", {1, 0}, {1, 1});
    auto result = AutodetectControlSurfaces(
        {{MakeCodec(Reporting({kUnusedPort, 1}, {kUnusedPort, 0})), optionalFirst}}, nullptr, fHub);
    ASSERT_EQ(1u, result.size());
    const auto& find = result[0][0];
    ASSERT_EQ(2u, find.fInPorts.size());
    EXPECT_EQ(u"JACK: x:A", find.fInPorts[0].GetDisplayName());
    EXPECT_TRUE(find.fInPorts[1].IsEmpty());
    ASSERT_EQ(2u, find.fOutPorts.size());
    EXPECT_EQ(u"JACK: x:B", find.fOutPorts[0].GetDisplayName());
    EXPECT_TRUE(find.fOutPorts[1].IsEmpty());

    NSTesting::CExpectAssertions expect;
    const TControlSurfaceInfo required = MakeInfo(u"Required", {0, 0}, {0});
    result = AutodetectControlSurfaces({{MakeCodec(Reporting({0}, {1, kUnusedPort})), required}},
                                       nullptr, fHub);
    EXPECT_EQ(1u, expect.Count());
    result = AutodetectControlSurfaces(
        {{MakeCodec(Reporting({7}, {0})), MakeInfo(u"Bad", {0}, {0})}}, nullptr, fHub);
    EXPECT_EQ(3u, expect.Count()); // the bad index, and then the missing required port
    ASSERT_EQ(1u, result[0][0].fOutPorts.size());
    EXPECT_TRUE(result[0][0].fOutPorts[0].IsEmpty());
}

// A failing probe ends the run: its text reaches the log first, the later
// models aren't tried and OnEnd isn't called.
TEST_F(AutoDetectTest, AFailingProbeEndsTheRun)
{
    TakePendingLog();
    const TProbe failing =
        [](IMIDIProber&, const TControlSurfaceInfo&, IProbeResultGetter&, ITextGetter& messages)
    {
        messages.ITextGetter_Take(u"the box did not answer");
        return kCodecProgrammingError;
    };
    const std::vector<TCodecModel> models = {{MakeCodec(failing), MakeInfo(u"A", {0}, {0})},
                                             {MakeCodec(kFindsNothing), MakeInfo(u"B", {0}, {0})}};
    CProgressLog progress;
    EXPECT_THROW(AutodetectControlSurfaces(models, &progress, fHub), XProgrammingError);
    EXPECT_EQ((std::vector<std::string>{"begin", "count 2", "model 0"}), progress.fLines);
    EXPECT_NE(TText16::npos, TakePendingLog().find(u"the box did not answer"));
    EXPECT_EQ(0u, fHub.GetOpenInPortCount() + fHub.GetOpenOutPortCount());
}
} // namespace
