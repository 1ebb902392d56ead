// brassfold-check decode FILE [MESSAGE...] [--identity]
//
// Creates the file's surface through the generic codec, or a script's first
// model through the scripted codec host, with an input handler, and hands it
// each message in order on input port 0: the MESSAGE arguments
// (hex bytes such as "B0 07 40"), or else one message per line of standard
// input. Each input that the surface passes on prints one line: item name,
// fValue1, fValue2, fValue3, TAB between them, in decimal; an input that the
// host would refuse is warned about. With --identity each message first gets
// a line that tells whether it matches the file's "Identity Response".

#include "Assertions.h"
#include "CheckCommand.h"
#include "CodecFile.h"
#include "DefinitionReport.h"
#include "Diagnostics.h"
#include "ScriptCodec.h"
#include "SurfaceText.h"
#include "TextHints.h"

#include "generic/GenericMidiCodec.h"

#include "codec/CodecSupport.h"

#include <deque>
#include <istream>
#include <optional>
#include <ostream>

namespace NSCheckTool
{
namespace
{
using namespace NSKinvarCodec;
using NSGenericMidiCodec::CGenericMidiCodecConfig;

constexpr const char* kIdentityOption = "--identity";
// A rule may span this many messages of one port.
constexpr std::size_t kMessagesPerRule = 3;

// Keeps the inputs of one message, for the decoder to print and judge.
class CInputCollector : public IControlSurfaceInputHandler
{
public:
    std::vector<TItemInput> fInputs;

    u32 IControlSurfaceInputHandler_HandleInput(IControlSurface*, const TItemInput* input) override
    {
        fInputs.push_back(*input);
        return NSKinvarCodec::kCodecOK;
    }
};

class CDecoder
{
public:
    CDecoder(TCommandContext& context, const std::string& file, const TDefinitionCheck& check)
        : fContext(context), fFile(file), fConfig(&*check.fConfig), fLayout(LayoutOf(*fConfig, check.fRows))
    {
    }

    // A script's: the host's objections to an input are its own errors.
    CDecoder(TCommandContext& context, const std::string& file) : fContext(context), fFile(file) {}

    int Run()
    {
        const auto codec = MakeDefinitionCodec(fFile);
        if (!codec)
            return UsageError(fContext, fFile + ": no surface model");
        return Run({codec->fCodec, codec->fModels[0]});
    }

    int Run(const TCodecSurface& model)
    {
        u32 status = NSKinvarCodec::kCodecOK;
        TControlSurfacePtr surface(model.first->ICodec2_CreateControlSurface(model.second, &status),
                                   codecsurface_deleter());
        ThrowCodecResult(status);
        fItems = GetItemInfos(*surface);
        ThrowCodecResult(surface->IControlSurface_SetInputHandler(&fInputs));
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
        if (fContext.HasOption(kIdentityOption))
            fContext.fOut << "Identity Response\t"
                          << (NSGenericMidiCodec::MatchesIdentityMask(fConfig->fIdentityResponse, bytes->data(),
                                                                      u32(bytes->size()))
                                  ? "match\n"
                                  : "no match\n");
        RememberMessage(*bytes);
        TMIDIEvent event{};
        event.fSize = u32(bytes->size());
        std::copy(bytes->begin(), bytes->end(), event.fData);
        CCodecTextGetter messages;
        fInputs.fInputs.clear();
        const u32 status = surface.IControlSurface_HandleMIDIEvent(&event, 0, messages);
        for (const TItemInput& input : fInputs.fInputs)
            Print(input);
        fContext.fOut.flush();
        FlushScriptPrints(fContext);
        if (messages.HasText())
            fContext.fError << UTF8(messages.GetText()) << "\n";
        if (status != NSKinvarCodec::kCodecOK)
        {
            fContext.fError << "brassfold-check: the surface failed on \"" << text << "\" with status " << status
                            << "\n";
            fResult = kExitRefused;
        }
        return true;
    }

    void RememberMessage(const std::vector<u8>& bytes)
    {
        fRecent.push_back(bytes);
        if (fRecent.size() > kMessagesPerRule)
            fRecent.pop_front();
    }

    void Print(const TItemInput& input)
    {
        fContext.fOut << ItemInputLine(input, *fItems) << '\n';
        const bool known = input.fItemIndex < fItems->size();
        std::size_t column = 0;
        const auto objection =
            known && fConfig != nullptr ? HostObjection(input, (*fItems)[input.fItemIndex], column) : std::nullopt;
        if (!objection)
            return;
        const TRow* rule = FindRuleRow(input);
        const TRow* row = rule != nullptr ? rule : fLayout.fItemRows.at(input.fItemIndex);
        std::string note = "the host drops such an input";
        if (rule != nullptr && rule->fFields.size() > 3 + column)
            note = "Value" + std::to_string(column + 1) + " " + Quoted(rule->fFields[3 + column]) +
                   " of the rule on this line gives it; " + note;
        Report(fContext, {ESeverity::kWarning, fFile, row->fPhysical,
                          Quoted(GetRecordText((*fItems)[input.fItemIndex].fName)) + " gets " + *objection +
                              ", which the host refuses",
                          note, {}});
    }

    // The rule of the input's item that makes its values from the last
    // messages, as the surface joins them; null when none does.
    const TRow* FindRuleRow(const TItemInput& input) const
    {
        const auto& rules = fConfig->fItems.at(input.fItemIndex).fRules;
        for (std::size_t rule = 0; rule < rules.size() && rule < fLayout.fRuleRows[input.fItemIndex].size(); ++rule)
        {
            for (std::size_t count = 1; count <= fRecent.size(); ++count)
            {
                std::vector<u8> joined;
                for (auto message = fRecent.end() - std::ptrdiff_t(count); message != fRecent.end(); ++message)
                    joined.insert(joined.end(), message->begin(), message->end());
                i64 values[3] = {};
                if (rules[rule].Match(joined.data(), u32(joined.size()), values[0], values[1], values[2]) &&
                    values[0] == input.fValue1 && values[1] == input.fValue2 && values[2] == input.fValue3)
                    return fLayout.fRuleRows[input.fItemIndex][rule];
            }
        }
        return nullptr;
    }

    TCommandContext& fContext;
    std::string fFile;
    // Null for a script.
    const CGenericMidiCodecConfig* fConfig = nullptr;
    TDefinitionLayout fLayout;
    std::shared_ptr<TItemInfoList> fItems;
    CInputCollector fInputs;
    std::deque<std::vector<u8>> fRecent;
    int fResult = kExitOK;
};

int RunDecode(TCommandContext& context)
{
    if (context.fArguments.empty())
        return UsageError(context, "decode needs a FILE");
    const std::string& file = context.fArguments[0];
    if (!IsReadableFile(context, file))
        return kExitUsage;
    if (IsScriptFile(file))
    {
        if (context.HasOption(kIdentityOption))
            return UsageError(context, "--identity takes a definition file; a script's identity shows in auto-detection");
        int exitCode = kExitOK;
        const auto surfaces = LoadScriptCodec(context, file, context.fOut, exitCode);
        return surfaces ? CDecoder(context, file).Run(surfaces->front()) : exitCode;
    }
    const TDefinitionCheck check = CheckDefinition(context, file, ERefusalStream::kOutput);
    ReportDefinitionWarnings(context, file, check.fRows, check.fConfig ? &*check.fConfig : nullptr);
    if (!check.fConfig)
        return kExitRefused;
    if (context.HasOption(kIdentityOption) && check.fConfig->fIdentityResponse.empty())
        return UsageError(context, file + " has no \"Identity Response\" row to match");
    return CDecoder(context, file, check).Run();
}

const CCommandRegistration gRegistration({"decode", "FILE [MESSAGE...] [--identity]", &RunDecode, {{kIdentityOption, nullptr}}});
} // namespace
} // namespace NSCheckTool
