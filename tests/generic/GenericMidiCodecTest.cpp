#include "generic/GenericMidiCodec.h"

#include "GenericTestSupport.h"
#include "TempFolder.h"

#include "AssertionRecorder.h"
#include "codec/CodecSupport.h"
#include "foundation/TextPackage.h"

#include <gtest/gtest.h>

#include <png.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>

using namespace NSGenericMidiCodec;
using namespace NSGenericTesting;
using namespace NSKinvarCodec;

namespace
{
using NSKinvarCodec::kCodecOK;

const std::vector<std::string> kOneItem = {"Fader\tvalue\t0\t127"};
const std::vector<std::string> kOneRule = {"B0 07 xx\tFader\tx\t\t\t"};

std::string Definition(std::string_view manufacturer, std::string_view model,
                       const std::vector<std::string>& middle = {})
{
    return DefinitionText(manufacturer, model, middle, kOneItem, kOneRule);
}

// A fresh folder below the temporary folder, removed with everything in it.
// A PNG of width by height whose pixel (x, y) is R = x, G = y, B = 7, A = 255.
std::string MakePNG(u32 width, u32 height)
{
    std::vector<u8> pixels;
    for (u32 y = 0; y < height; ++y)
        for (u32 x = 0; x < width; ++x)
            pixels.insert(pixels.end(), {u8(x), u8(y), 7, 255});
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGBA;
    std::string bytes(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
    png_alloc_size_t size = bytes.size();
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr))
        throw std::runtime_error("no PNG");
    return bytes.substr(0, size);
}

class GenericCodec : public testing::Test
{
protected:
    void SetUp() override { fCodec.reset(CreateGenericMidiCodec(TScanPlaces{{fFolder.Path()}, {}}), codec_deleter()); }

    void List()
    {
        fMessages.Clear();
        fInfos = GetControlSurfacesForCodec(fCodec, [&](const TText16& text) { fMessages.ITextGetter_Take(text.c_str()); });
    }

    std::string Messages() const { return NSTextPackage::UTF8FromText16(fMessages.GetText()); }
    TText16 Model(std::size_t index) const { return GetRecordText(fInfos.at(index).fModel); }

    TControlSurfacePtr Create(std::size_t index)
    {
        u32 status = 0;
        TControlSurfacePtr surface(fCodec->ICodec2_CreateControlSurface(fInfos.at(index), &status),
                                   codecsurface_deleter());
        EXPECT_EQ(status, kCodecOK);
        return surface;
    }

    NSTesting::CTempFolder fFolder;
    TCodecPtr fCodec;
    CCodecTextGetter fMessages;
    std::vector<TControlSurfaceInfo> fInfos;
};

TEST_F(GenericCodec, ListsModelsInNameOrderAndTheFirstFileWinsAtEveryScan)
{
    const auto first = fFolder.Write("a.midicodec", Definition("Acme", "Fader 1"));
    fFolder.Write("b.midicodec", Definition("ACME", "FADER 1", {"MIDI Input Ports\t2"}));
    fFolder.Write("sub/c.MidiCodec", Definition("Acme", "Pads"));
    fFolder.Write("sub/.midicodec", Definition("Acme", "Hidden by its name"));
    fFolder.Write("d.midicodec.txt", Definition("Acme", "Not a definition"));
    List();
    ASSERT_EQ(fInfos.size(), 2u);
    EXPECT_EQ(Model(0), u"Fader 1");
    EXPECT_EQ(fInfos[0].fInPortCount, 1u) << "the model of the file met first";
    EXPECT_EQ(Model(1), u"Pads");
    // Every listing scans afresh.
    std::filesystem::remove(first);
    List();
    EXPECT_EQ(fInfos[0].fInPortCount, 2u);
}

TEST_F(GenericCodec, ABrokenFileCostsOnlyItsOwnModel)
{
    fFolder.Write("a-broken.midicodec", Definition("Acme", "Broken", {"MIDI Input Ports\t0"}));
    fFolder.Write("b-good.midicodec", Definition("Acme", "Good"));
    fFolder.Write("c-header.midicodec", "Universal MIDI Codec Control Surface Definition File\nFile Format Version\t2.0.0\n");
    List();
    ASSERT_EQ(fInfos.size(), 1u);
    EXPECT_EQ(Model(0), u"Good");
    EXPECT_EQ(Messages(), "Failed to read .midicodec file: a-broken.midicodec\n"
                          "Error:Too few MIDI Input Ports a-broken.midicodec(6)\n"
                          "Failed to read .midicodec file: c-header.midicodec\n"
                          "Line  2: Missing: File Format Version.\n");
}

TEST_F(GenericCodec, CreatesSurfacesByUniqueNameWithoutRegardToCase)
{
    fFolder.Write("a.midicodec", Definition("Acme", "Fader 1"));
    List();
    u32 status = 0;
    TControlSurfacePtr surface(fCodec->ICodec2_CreateControlSurfaceByName("genericmidicodec/ACME/fader 1", &status),
                               codecsurface_deleter());
    EXPECT_EQ(status, kCodecOK);
    EXPECT_NE(surface, nullptr);

    NSTesting::CExpectAssertions expect;
    EXPECT_EQ(fCodec->ICodec2_CreateControlSurfaceByName("GenericMIDICodec/Acme/Fader 2", &status), nullptr);
    EXPECT_EQ(status, kCodecUnsupportedInterface);
    EXPECT_EQ(expect.Count(), 0u);

    TControlSurfaceInfo unknown{};
    SetRecordText(unknown.fManufacturer, u"Nobody");
    EXPECT_EQ(fCodec->ICodec2_CreateControlSurface(unknown, &status), nullptr);
    EXPECT_EQ(status, kCodecInvalidArgument);
}

TEST_F(GenericCodec, LoadsThePictureBesideTheFile)
{
    fFolder.Write("box.midicodec", Definition("Acme", "Box"));
    fFolder.Write("box.png", MakePNG(96, 96));
    fFolder.Write("plain.midicodec", Definition("Acme", "Plain"));
    fFolder.Write("small.midicodec", Definition("Acme", "Small"));
    fFolder.Write("small.png", MakePNG(48, 48));
    fFolder.Write("broken.midicodec", Definition("Acme", "Broken"));
    fFolder.Write("broken.png", "not a picture");
    List();
    ASSERT_EQ(fInfos.size(), 4u);
    std::map<TText16, TControlSurfaceInfo> byModel;
    for (const auto& info : fInfos)
        byModel[GetRecordText(info.fModel)] = info;

    std::vector<u32> pixels(kPictureWidth * kPictureHeight, 0xDEADBEEF);
    u32 hasPicture = 7;
    ASSERT_EQ(fCodec->ICodec2_GetControlSurfacePicture(byModel[u"Box"], &hasPicture, pixels.data()), kCodecOK);
    EXPECT_EQ(hasPicture, 1u);
    const u8* pixel = reinterpret_cast<const u8*>(&pixels[95 * kPictureWidth + 10]);
    EXPECT_EQ((std::array<u8, 4>{pixel[0], pixel[1], pixel[2], pixel[3]}), (std::array<u8, 4>{10, 95, 7, 255}));

    ASSERT_EQ(fCodec->ICodec2_GetControlSurfacePicture(byModel[u"Plain"], &hasPicture, pixels.data()), kCodecOK);
    EXPECT_EQ(hasPicture, 0u);
    EXPECT_EQ(fCodec->ICodec2_GetControlSurfacePicture(byModel[u"Small"], &hasPicture, pixels.data()),
              kCodecUnknownError) << "bad picture size";
    EXPECT_EQ(fCodec->ICodec2_GetControlSurfacePicture(byModel[u"Broken"], &hasPicture, pixels.data()),
              kCodecBadFormat);
    EXPECT_EQ(fCodec->ICodec2_GetControlSurfacePicture(byModel[u"Box"], &hasPicture, nullptr), kCodecInvalidArgument);
    TControlSurfaceInfo unknown{};
    EXPECT_EQ(fCodec->ICodec2_GetControlSurfacePicture(unknown, &hasPicture, pixels.data()), kCodecInvalidArgument);
}

TEST(IdentityMask, ComparesWithTheStartOfTheMessage)
{
    const TBytes reply = {0xF0, 0x7E, 0x10, 0x06, 0x02, 0x41, 0xF7};
    EXPECT_TRUE(MatchesIdentityMask("F0 7E ?? 06 02", reply.data(), u32(reply.size())));
    EXPECT_TRUE(MatchesIdentityMask("f07e1?0602 ", reply.data(), u32(reply.size())));
    const TBytes other = {0xF0, 0x7E, 0x10, 0x06, 0x01};
    EXPECT_FALSE(MatchesIdentityMask("F0 7E ?? 06 02", other.data(), u32(other.size())));
    const TBytes shorter = {0xF0, 0x7E, 0x10, 0x06};
    EXPECT_FALSE(MatchesIdentityMask("F0 7E ?? 06 02", shorter.data(), u32(shorter.size())))
        << "a mask longer than the message never matches";
    EXPECT_TRUE(MatchesIdentityMask("", shorter.data(), u32(shorter.size())));
}

// One port each way; once asked, it answers with an identity reply that no
// model of these tests expects.
class CAnsweringProber : public IMIDIProber
{
public:
    u32 IMIDIProber_GetOutPortCount(u32* count) override { *count = 1; return kCodecOK; }
    u32 IMIDIProber_SendEvents(u32, u32, const TMIDIEvent*) override { fAsked = true; return kCodecOK; }
    u32 IMIDIProber_GetInPortCount(u32* count) override { *count = 1; return kCodecOK; }
    u32 IMIDIProber_GetEvents(u32, IMIDIEventGetter& getter) override
    {
        const TMIDIEvent reply = MakeEvent({0xF0, 0x7E, 0x10, 0x06, 0x02, 0x7D, 0x01, 0xF7});
        return getter.IMIDIEventGetter_Take(&reply, fAsked ? 1 : 0);
    }
    bool fAsked = false;
};

class CCountingProbeResults : public IProbeResultGetter
{
public:
    u32 IProbeResultGetter_Take(const char*, const u32*) override { ++fFound; return kCodecOK; }
    int fFound = 0;
};

TEST_F(GenericCodec, AProbeOfAModelWithoutIdentityFindsNothing)
{
    fFolder.Write("plain.midicodec", Definition("Acme", "Plain"));
    fFolder.Write("silent.midicodec", Definition("Acme", "Silent", {"Identity Request\tF0 7E 7F 06 01 F7",
                                                                    "Identity Response\tF0 7E ?? 06 02 11"}));
    List();
    for (const auto& info : fInfos)
    {
        CAnsweringProber prober;
        CCountingProbeResults results;
        EXPECT_EQ(fCodec->ICodec2_ProbeForControlSurface(prober, info, results, fMessages), kCodecOK);
        EXPECT_EQ(results.fFound, 0);
    }
    CAnsweringProber prober;
    CCountingProbeResults results;
    EXPECT_EQ(fCodec->ICodec2_ProbeForControlSurface(prober, TControlSurfaceInfo{}, results, fMessages),
              kCodecInvalidArgument);
}
} // namespace
