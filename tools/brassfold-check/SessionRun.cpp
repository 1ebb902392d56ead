#include "SessionRun.h"

#include "Diagnostics.h"
#include "SessionPorts.h"
#include "SurfaceText.h"
#include "TextHints.h"

#include "codec/ItemStates.h"
#include "foundation/LogText.h"
#include "foundation/TextCompare.h"
#include "foundation/TextPackage.h"
#include "host/KinvarHUB.h"
#include "host/OutputFrameClock.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace NSCheckTool
{
namespace
{
using namespace NSKinvarCodec;
using NSTextPackage::EqualTexts;
using NSTextPackage::Text16FromUTF8;

constexpr u64 kFrameMicroseconds = u64(kOutputFramePeriodMs) * 1000;

// A module may hand over a surrogate without its partner: it shows as U+FFFD.
std::string PrintableUTF8(std::u16string_view text)
{
    if (NSTextPackage::IsValidText(text))
        return UTF8(text);
    TText16 sound(text);
    for (std::size_t i = 0; i < sound.size(); ++i)
    {
        const bool high = sound[i] >= 0xD800 && sound[i] < 0xDC00;
        if (high && i + 1 < sound.size() && sound[i + 1] >= 0xDC00 && sound[i + 1] < 0xE000)
            ++i;
        else if (sound[i] >= 0xD800 && sound[i] < 0xE000)
            sound[i] = u'\uFFFD';
    }
    return UTF8(sound);
}

std::vector<std::string> LogLines(const TText16& text)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i)
    {
        if (i < text.size() && text[i] != u'\n' && text[i] != u'\r' && text[i] != u'\u2029')
            continue;
        if (i > start)
            lines.push_back("log: " + PrintableUTF8(std::u16string_view(text).substr(start, i - start)));
        start = i + 1;
    }
    return lines;
}

// A printed line in a message: TABs as blanks, in quotes.
std::string Shown(std::string line)
{
    std::replace(line.begin(), line.end(), '\t', ' ');
    return "\"" + line + "\"";
}

// The panel's class of an item, as far as it decides how a state is made.
bool IsTextItem(const TItemInfo& item)
{
    return item.fInputKind == kInputNone && item.fOutputKind == kOutputText;
}

bool IsCheckBoxItem(const TItemInfo& item)
{
    return item.fInputKind == kInputButton ||
           (item.fInputKind == kInputNone && item.fOutputKind == kOutputValue && item.fMin == 0 && item.fMax == 1);
}

class CSessionRunner final : public IInputListener
{
public:
    CSessionRunner(TCommandContext& context, const TLoadedCodec& codec, const TSession& session)
        : fContext(context), fCodec(codec), fSession(session), fModel(codec.fModels.front())
    {
    }

    int Run()
    {
        TakePendingLog(); // what came before is no part of this session
        for (const TSessionCommand& command : fSession.fCommands)
        {
            if (fStopped)
                break;
            Perform(command);
        }
        if (fRunning)
        {
            TSessionCommand end;
            end.fLine = fSession.fLastLine;
            end.fText = "end";
            end.fVerb = ESessionVerb::kEnd;
            Perform(end);
        }
        return fExitCode;
    }

    void IInputListener_OnInput(const TItemInput* input) override
    {
        Print("input: " + ItemInputLine(*input, fItems));
        if (input->fItemIndex >= fItems.size())
            return Error("the input names item #" + std::to_string(input->fItemIndex) + ", and the surface has " +
                             CountOf(fItems.size(), "item", "items"),
                         "the host drops such an input");
        const TItemInfo& item = fItems[input->fItemIndex];
        std::size_t column = 0;
        if (const auto objection = HostObjection(*input, item, column))
            Error(Quoted(GetRecordText(item.fName)) + " gets " + *objection + ", which the host refuses",
                  "the host drops such an input");
    }

    // The hub drops such an input before the listeners; the session says it all the same.
    void IInputListener_OnDroppedInput(const TItemInput* input) override { IInputListener_OnInput(input); }

private:
    void Perform(const TSessionCommand& command)
    {
        fCommand = &command;
        fPrinted.clear();
        fFindings.clear();
        try
        {
            Do(command);
        }
        catch (const std::exception& e)
        {
            Fail(command, e);
        }
        TakeLog();
        if (fContext.fFormat == EOutputFormat::kPlain)
        {
            fContext.fOut << "> " << command.fText << "\n";
            for (const std::string& line : fPrinted)
                fContext.fOut << line << "\n";
        }
        for (const TDiagnostic& finding : fFindings)
            Report(fContext, finding);
        if (fContext.fFormat == EOutputFormat::kGcc)
            for (const std::string& line : fPrinted)
                if (line.starts_with("log: "))
                    Report(fContext, {ESeverity::kNote, fSession.fFile, command.fLine, line, {}, {}});
        Compare(command);
    }

    void Do(const TSessionCommand& command)
    {
        switch (command.fVerb)
        {
        case ESessionVerb::kModel:
            return ChooseModel(command);
        case ESessionVerb::kPorts:
            fPortsCommand = &command;
            return;
        case ESessionVerb::kStart:
            return Start();
        case ESessionVerb::kIn:
            return Feed(command);
        case ESessionVerb::kValue:
            return SetValue(command);
        case ESessionVerb::kText:
            return SetText(command);
        case ESessionVerb::kState:
            return SetState(command);
        case ESessionVerb::kDisable:
        case ESessionVerb::kEnable:
            return SetEnabled(command, command.fVerb == ESessionVerb::kEnable);
        case ESessionVerb::kFrame:
            return RunFrames(command.fNumber);
        case ESessionVerb::kEnd:
            return End();
        }
    }

    void ChooseModel(const TSessionCommand& command)
    {
        const TText16 name = Text16FromUTF8(command.fName);
        const auto& models = fCodec.fModels;
        const auto found = std::find_if(models.begin(), models.end(), [&](const TControlSurfaceInfo& model) {
            return EqualTexts(GetRecordText(model.fModel), name);
        });
        if (found != models.end())
        {
            fModel = *found;
            return;
        }
        std::string offered;
        for (const TControlSurfaceInfo& model : models)
            offered.append(offered.empty() ? "" : ", ").append(Quoted(GetRecordText(model.fModel)));
        Error("the codec offers no model " + Quoted(name), "it offers " + offered);
        fStopped = true;
    }

    // All ports of the model, or those that "ports" names.
    bool AssignPorts(std::vector<bool>& in, std::vector<bool>& out)
    {
        in.assign(fModel.fInPortCount, fPortsCommand == nullptr);
        out.assign(fModel.fOutPortCount, fPortsCommand == nullptr);
        if (fPortsCommand == nullptr)
            return true;
        const auto take = [&](const std::vector<u32>& ports, std::vector<bool>& assigned, const char* kind) {
            for (const u32 port : ports)
            {
                if (port < assigned.size())
                {
                    assigned[port] = true;
                    continue;
                }
                Error(fPortsCommand->fLine,
                      "the model has no " + std::string(kind) + " port " + std::to_string(port + 1),
                      "it has " + std::to_string(assigned.size()));
                return false;
            }
            return true;
        };
        return take(fPortsCommand->fInPorts, in, "input") && take(fPortsCommand->fOutPorts, out, "output");
    }

    void Start()
    {
        std::vector<bool> in;
        std::vector<bool> out;
        fStopped = true; // until the surface stands
        if (!AssignPorts(in, out))
            return;
        const auto sent = [this](u32 port, const NSMIDIHub::TBinary& message) { Sent(port, message); };
        fPorts = std::make_unique<CSessionPorts>(fModel.fInPortCount, fModel.fOutPortCount, sent);
        fHub = std::make_unique<CKinvarHUB>(*fPorts);
        fSurface = fHub->CreateActiveControlSurface(fCodec.fCodec, fModel, u"Name", fPorts->InAddresses(in),
                                                    fPorts->OutAddresses(out));
        fRunning = true;
        for (u32 item = 0, count = fHub->GetItemCount(fSurface); item < count; ++item)
        {
            fItems.push_back(fHub->GetItemInfo(fSurface, item));
            std::vector<TText16>& names = fStateNames.emplace_back();
            for (u32 state = 0; state < fItems.back().fStateCount; ++state)
                names.push_back(fHub->GetItemStateName(fSurface, item, state));
        }
        fHub->AddInputListener(fSurface, this);
        FillPanelValues();
        fStopped = false;
    }

    // The panel's values before the user touches anything: check boxes 0,
    // sliders and rotaries the middle of their range, texts empty.
    void FillPanelValues()
    {
        for (const TItemInfo& item : fItems)
            fValues.push_back(IsCheckBoxItem(item) ? 0 : item.fMin + (item.fMax - item.fMin) / 2);
        fTexts.assign(fItems.size(), {});
        fStateIndices.assign(fItems.size(), 0);
        fEnabled.assign(fItems.size(), true);
    }

    void Feed(const TSessionCommand& command)
    {
        const u32 port = command.fPort;
        if (!fPorts->IsListened(port))
            return Error("input port " + std::to_string(port + 1) + " is not assigned",
                         "the model has " + CountOf(fModel.fInPortCount, "input port", "input ports"));
        // The surface finds the port of a message by walking its ports in
        // order, and stops at an unassigned one.
        for (u32 before = 0; before < port; ++before)
            if (!fPorts->IsListened(before))
                return Error("the workbench fails on input of port " + std::to_string(port + 1) + " while port " +
                                 std::to_string(before + 1) + " is not assigned",
                             {});
        fPorts->Feed(port, command.fMessage);
        fHub->DriveInput();
    }

    // The item that the command names, if it shows something.
    std::optional<u32> FindShowingItem(const TSessionCommand& command)
    {
        const TText16 name = Text16FromUTF8(command.fName);
        std::vector<TText16> names;
        for (u32 item = 0; item < fItems.size(); ++item)
        {
            names.push_back(GetRecordText(fItems[item].fName));
            if (!EqualTexts(names.back(), name))
                continue;
            if (fItems[item].fOutputKind != kOutputNone)
                return item;
            Error(Quoted(names.back()) + " shows nothing", "the panel makes no state for an item without output");
            return std::nullopt;
        }
        const auto nearest = NearestName(name, names);
        Error("the surface has no item " + Quoted(name),
              nearest ? "did you mean " + Quoted(*nearest) + "?" : std::string());
        return std::nullopt;
    }

    void SetValue(const TSessionCommand& command)
    {
        const auto item = FindShowingItem(command);
        if (!item)
            return;
        const TItemInfo& info = fItems[*item];
        fValues[*item] = std::clamp(command.fNumber, std::min(info.fMin, info.fMax), info.fMax);
        if (fValues[*item] != command.fNumber)
            fFindings.push_back({ESeverity::kWarning, fSession.fFile, command.fLine,
                                 Quoted(GetRecordText(info.fName)) + " takes " + std::to_string(info.fMin) + " to " +
                                     std::to_string(info.fMax) + ": the panel sends " + std::to_string(fValues[*item]),
                                 {}, {}});
        SendValue(*item);
    }

    void SetText(const TSessionCommand& command)
    {
        const auto item = FindShowingItem(command);
        if (!item)
            return;
        if (fItems[*item].fOutputKind != kOutputText)
            return Error(Quoted(GetRecordText(fItems[*item].fName)) + " shows no text", "give it a value");
        fTexts[*item] = Text16FromUTF8(command.fArgument);
        SendText(*item);
    }

    // As the panel's popup: the state stays, with another index.
    void SetState(const TSessionCommand& command)
    {
        const auto item = FindShowingItem(command);
        if (!item)
            return;
        const std::vector<TText16>& names = fStateNames[*item];
        const TText16 name = Text16FromUTF8(command.fArgument);
        const auto found =
            std::find_if(names.begin(), names.end(), [&](const TText16& state) { return EqualTexts(state, name); });
        if (found == names.end())
            return Error(Quoted(GetRecordText(fItems[*item].fName)) + " has no state " + Quoted(name),
                         names.empty() ? "it has no named states" : "its states are " + StateList(names));
        fStateIndices[*item] = u32(found - names.begin());
        TItemState state = fHub->GetItemState(fSurface, *item);
        state.fStateIndex = fStateIndices[*item];
        fHub->SetItemState(fSurface, *item, state);
    }

    static std::string StateList(const std::vector<TText16>& names)
    {
        std::string list;
        for (const TText16& name : names)
            list.append(list.empty() ? "" : ", ").append(Quoted(name));
        return list;
    }

    // The panel sends every item anew with the flag; "all" is its "Disable
    // all" box.
    void SetEnabled(const TSessionCommand& command, bool enabled)
    {
        if (command.fName != "all")
        {
            if (const auto item = FindShowingItem(command))
            {
                fEnabled[*item] = enabled;
                Resend(*item);
            }
            return;
        }
        for (u32 item = 0; item < fItems.size(); ++item)
        {
            fEnabled[item] = enabled;
            Resend(item);
        }
    }

    void Resend(u32 item)
    {
        const TItemInfo& info = fItems[item];
        if (info.fOutputKind == kOutputNone || info.fInputKind == kInputKeyboard)
            return;
        IsTextItem(info) ? SendText(item) : SendValue(item);
    }

    void SendValue(u32 item)
    {
        fHub->SetItemState(fSurface, item,
                           MakeValueState(fItems[item], fValues[item], fEnabled[item], fStateIndices[item]));
    }

    void SendText(u32 item)
    {
        fHub->SetItemState(fSurface, item, MakeTextState(fItems[item], fTexts[item], fEnabled[item]));
    }

    void RunFrames(i64 count)
    {
        for (i64 frame = 1; frame <= count; ++frame)
        {
            fFrame =
                count > 1 ? " in frame " + std::to_string(frame) + " of " + std::to_string(count) : " in the frame";
            fHub->DriveOutput(kOutputFramesPerSecond);
            fPorts->Advance(kFrameMicroseconds);
        }
    }

    void End()
    {
        fRunning = false;
        fHub->RemoveInputListener(fSurface, this);
        fHub->DeleteActiveControlSurface(fSurface);
    }

    void Fail(const TSessionCommand& command, const std::exception& e)
    {
        switch (command.fVerb)
        {
        case ESessionVerb::kStart:
            fStopped = true;
            return Error("the surface did not start: " + FailureReason(e), {});
        case ESessionVerb::kIn:
            return Error("the surface failed on the message: " + FailureReason(e), {});
        case ESessionVerb::kFrame:
            return Error("the surface failed" + fFrame + ": " + FailureReason(e), {});
        default:
            return Error("the surface failed: " + FailureReason(e), {});
        }
    }

    void Sent(u32 port, const NSMIDIHub::TBinary& message)
    {
        Print("out " + std::to_string(port + 1) + ": " + HexText(message.data(), message.size()));
    }

    // A line of the command's output; what the codec said before it comes first.
    void Print(std::string line)
    {
        TakeLog();
        fPrinted.push_back(std::move(line));
    }

    void TakeLog()
    {
        for (std::string& line : LogLines(TakePendingLog()))
            fPrinted.push_back(std::move(line));
    }

    void Error(const std::string& message, const std::string& note) { Error(fCommand->fLine, message, note); }

    void Error(i32 line, const std::string& message, const std::string& note)
    {
        fFindings.push_back({ESeverity::kError, fSession.fFile, line, message, note, {}});
        fExitCode = kExitRefused;
    }

    // The command's expectations against what it printed, up to the first
    // line that differs.
    void Compare(const TSessionCommand& command)
    {
        const std::vector<TExpectation>& expected = command.fExpectations;
        if (expected.empty())
            return;
        if (expected.front().fText.empty()) // "expect nothing"
            return fPrinted.empty() ? void() : Mismatch(expected.front().fLine, "nothing", Shown(fPrinted.front()));
        for (std::size_t i = 0; i < std::max(expected.size(), fPrinted.size()); ++i)
        {
            if (i >= expected.size())
                return Mismatch(expected.back().fLine, "nothing more", Shown(fPrinted[i]));
            if (i >= fPrinted.size())
                return Mismatch(expected[i].fLine, Shown(expected[i].fText), i == 0 ? "nothing" : "nothing more");
            if (NormalizedLine(expected[i].fText) != NormalizedLine(fPrinted[i]))
                return Mismatch(expected[i].fLine, Shown(expected[i].fText), Shown(fPrinted[i]));
        }
    }

    void Mismatch(i32 line, const std::string& expected, const std::string& came)
    {
        Report(fContext, {ESeverity::kError, fSession.fFile, line, "expected " + expected + ", came " + came, {}, {}});
        fExitCode = kExitRefused;
    }

    TCommandContext& fContext;
    const TLoadedCodec& fCodec;
    const TSession& fSession;
    TControlSurfaceInfo fModel;
    const TSessionCommand* fPortsCommand = nullptr;
    const TSessionCommand* fCommand = nullptr;
    int fExitCode = kExitOK;
    bool fStopped = false;
    bool fRunning = false;
    // What the command printed, and found at fault.
    std::vector<std::string> fPrinted;
    std::vector<TDiagnostic> fFindings;
    // The surface's items, and the panel's values of them.
    TItemInfoList fItems;
    TItemStateNameList fStateNames;
    std::vector<i64> fValues;
    std::vector<TText16> fTexts;
    std::vector<u32> fStateIndices;
    std::vector<bool> fEnabled;
    // Which frame runs, for a failure's words.
    std::string fFrame;
    // The hub goes before the ports that its surface uses.
    std::unique_ptr<CSessionPorts> fPorts;
    std::unique_ptr<CKinvarHUB> fHub;
    u32 fSurface = 0;
};
} // namespace

int RunSession(TCommandContext& context, const TLoadedCodec& codec, const TSession& session)
{
    return CSessionRunner(context, codec, session).Run();
}

void PrintCodecText(TCommandContext& context, const std::string& file, const TText16& text)
{
    for (const std::string& line : LogLines(text))
    {
        if (context.fFormat == EOutputFormat::kGcc)
            Report(context, {ESeverity::kNote, file, 1, line, {}, {}});
        else
            context.fOut << line << "\n";
    }
}
} // namespace NSCheckTool
