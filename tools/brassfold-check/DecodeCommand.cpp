// brassfold-check decode FILE [MESSAGE...]
//
// Creates the file's surface through the generic codec, with an input handler,
// and hands it each message in order on input port 0: the MESSAGE arguments
// (hex bytes such as "B0 07 40"), or else one message per line of standard
// input. Each input that the surface passes on prints one line: item name,
// fValue1, fValue2, fValue3, TAB between them, in decimal.

#include "CheckCommand.h"
#include "DefinitionReport.h"

#include "generic/GenericMidiCodec.h"

#include "codec/CodecSupport.h"
#include "foundation/TextPackage.h"

#include <istream>
#include <optional>
#include <ostream>

namespace NSCheckTool
{
namespace
{
using namespace NSKinvarCodec;

// Pairs of hex digits, blanks and TABs anywhere between the digits.
std::optional<std::vector<u8>> ParseHexMessage(const std::string& text)
{
    std::vector<u8> bytes;
    int high = -1;
    for (const char c : text)
    {
        if (c == ' ' || c == '\t' || c == '\r')
            continue;
        int digit = -1;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        if (digit < 0)
            return std::nullopt;
        if (high < 0)
        {
            high = digit;
            continue;
        }
        bytes.push_back(u8(high * 16 + digit));
        high = -1;
    }
    if (high >= 0 || bytes.size() > kMaxMIDIEventSize)
        return std::nullopt;
    return bytes;
}

// Prints each input as it comes.
class CPrintingInputHandler : public IControlSurfaceInputHandler
{
public:
    CPrintingInputHandler(std::ostream& out, const TItemInfoList& items) : fOut(out), fItems(items) {}

    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput* input) override
    {
        const std::string name = input->fItemIndex < fItems.size()
                                     ? NSTextPackage::UTF8FromText16(GetRecordText(fItems[input->fItemIndex].fName))
                                     : std::string("#").append(std::to_string(input->fItemIndex));
        fOut << name << '\t' << input->fValue1 << '\t' << input->fValue2 << '\t' << input->fValue3 << '\n';
        return NSKinvarCodec::kCodecOK;
    }

private:
    std::ostream& fOut;
    const TItemInfoList& fItems;
};

class CDecoder
{
public:
    CDecoder(TCommandContext& context, const std::string& file) : fContext(context), fFile(file) {}

    int Run()
    {
        TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec(NSGenericMidiCodec::TScanPlaces{{}, {fFile}}),
                        codec_deleter());
        const auto infos = GetControlSurfacesForCodec(codec, {});
        if (infos.empty())
            return UsageError(fContext, fFile + ": no surface model");
        u32 status = NSKinvarCodec::kCodecOK;
        TControlSurfacePtr surface(codec->ICodec2_CreateControlSurface(infos[0], &status),
                                   codecsurface_deleter());
        ThrowCodecResult(status);
        const auto items = GetItemInfos(*surface);
        CPrintingInputHandler handler(fContext.fOut, *items);
        ThrowCodecResult(surface->IControlSurface_SetInputHandler(&handler));
        const int result = Feed(*surface);
        ThrowCodecResult(surface->IControlSurface_SetInputHandler(nullptr));
        return result;
    }

private:
    int Feed(IControlSurface& surface)
    {
        const auto& arguments = fContext.fArguments;
        if (arguments.size() > 1)
        {
            for (std::size_t i = 1; i < arguments.size(); ++i)
            {
                if (!Decode(surface, arguments[i]))
                    return kExitUsage;
            }
            return fResult;
        }
        std::string line;
        while (std::getline(fContext.fIn, line))
        {
            if (line.find_first_not_of(" \t\r") == std::string::npos)
                continue;
            if (!Decode(surface, line))
                return kExitUsage;
        }
        return fResult;
    }

    bool Decode(IControlSurface& surface, const std::string& text)
    {
        const auto bytes = ParseHexMessage(text);
        if (!bytes)
        {
            std::string problem = "\"";
            problem.append(text).append("\" is no MIDI message of hex bytes (at most 1024)");
            UsageError(fContext, problem);
            return false;
        }
        TMIDIEvent event{};
        event.fSize = u32(bytes->size());
        std::copy(bytes->begin(), bytes->end(), event.fData);
        CCodecTextGetter messages;
        const u32 status = surface.IControlSurface_HandleMIDIEvent(&event, 0, messages);
        fContext.fOut.flush();
        if (messages.HasText())
            fContext.fError << NSTextPackage::UTF8FromText16(messages.GetText()) << "\n";
        if (status != NSKinvarCodec::kCodecOK)
        {
            fContext.fError << "brassfold-check: the surface failed on \"" << text << "\" with status " << status
                            << "\n";
            fResult = kExitRefused;
        }
        return true;
    }

    TCommandContext& fContext;
    std::string fFile;
    int fResult = kExitOK;
};

int RunDecode(TCommandContext& context)
{
    if (context.fArguments.empty())
        return UsageError(context, "decode needs a FILE");
    const std::string& file = context.fArguments[0];
    if (!IsReadableFile(context, file))
        return kExitUsage;
    const NSGenericMidiCodec::TDefinitionReadResult result = NSGenericMidiCodec::ReadDefinitionFile(file);
    if (!result.fConfig)
    {
        PrintRefusal(context, file, result);
        return kExitRefused;
    }
    return CDecoder(context, file).Run();
}

const CCommandRegistration gRegistration({"decode", "FILE [MESSAGE...]", &RunDecode});
} // namespace
} // namespace NSCheckTool
