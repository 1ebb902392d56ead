#include "SessionFile.h"

#include "SurfaceText.h"
#include "TextHints.h"

#include "foundation/TextPackage.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fstream>

namespace NSCheckTool
{
namespace
{
constexpr i64 kMostFrames = 100000; // an hour of frames

// Where a command may stand.
enum class EPhase
{
    kSetUp,   // before start
    kRunning, // from start to end
    kAny,
};

struct TVerbRule
{
    const char* fWord;
    ESessionVerb fVerb;
    EPhase fPhase;
    // Reads what follows the word; the fault, or empty.
    std::string (*fRead)(const std::string& rest, TSessionCommand& command);
};

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::vector<std::string> Words(const std::string& text)
{
    std::vector<std::string> words;
    std::size_t position = 0;
    while ((position = text.find_first_not_of(" \t", position)) != std::string::npos)
    {
        const std::size_t end = std::min(text.find_first_of(" \t", position), text.size());
        words.push_back(text.substr(position, end - position));
        position = end;
    }
    return words;
}

std::optional<i64> Number(const std::string& text)
{
    i64 value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::string ReadNothing(const std::string& rest, TSessionCommand&)
{
    return rest.empty() ? std::string() : "this command takes nothing behind it";
}

std::string ReadModel(const std::string& rest, TSessionCommand& command)
{
    command.fName = rest;
    return rest.empty() ? "model needs the name of a model" : std::string();
}

// Port numbers count from 1, as the workbench lists the ports.
std::string ReadPorts(const std::string& rest, TSessionCommand& command)
{
    std::vector<u32>* ports = nullptr;
    for (const std::string& word : Words(rest))
    {
        if (word == "in" || word == "out")
        {
            ports = word == "in" ? &command.fInPorts : &command.fOutPorts;
            continue;
        }
        const auto number = Number(word);
        if (ports == nullptr || !number || *number < 1 || *number > NSKinvarCodec::kMaxPortCount)
            return "ports reads \"in\" and \"out\", each followed by port numbers from 1 to 16, not \"" + word + "\"";
        ports->push_back(u32(*number - 1));
    }
    return {};
}

std::string ReadInput(const std::string& rest, TSessionCommand& command)
{
    std::string hex = rest;
    if (const std::size_t colon = rest.find(':'); colon != std::string::npos)
    {
        const auto port = Number(Trimmed(rest.substr(0, colon)));
        if (!port || *port < 1 || *port > NSKinvarCodec::kMaxPortCount)
            return "the input port before \":\" is a number from 1 to 16";
        command.fPort = u32(*port - 1);
        hex = rest.substr(colon + 1);
    }
    const auto message = ParseHexMessage(hex);
    if (!message || message->empty())
        return std::string("\"").append(Trimmed(hex)).append("\" is no MIDI message of hex bytes (at most 1024)");
    command.fMessage = *message;
    return {};
}

// "ITEM = REST"; an item name may hold blanks.
std::string ReadAssignment(const std::string& rest, TSessionCommand& command, const char* what)
{
    const std::size_t equals = rest.find('=');
    if (equals == std::string::npos)
        return std::string("write ITEM = ") + what;
    command.fName = Trimmed(rest.substr(0, equals));
    command.fArgument = Trimmed(rest.substr(equals + 1));
    if (command.fName.empty())
        return "the item's name is missing before \"=\"";
    return {};
}

std::string ReadValue(const std::string& rest, TSessionCommand& command)
{
    std::string fault = ReadAssignment(rest, command, "NUMBER");
    if (!fault.empty())
        return fault;
    const auto value = Number(command.fArgument);
    if (!value)
        return "\"" + command.fArgument + "\" is no whole number";
    command.fNumber = *value;
    return {};
}

// A text in double quotes keeps the blanks at its ends.
std::string ReadText(const std::string& rest, TSessionCommand& command)
{
    std::string fault = ReadAssignment(rest, command, "TEXT");
    std::string& text = command.fArgument;
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    return fault;
}

std::string ReadState(const std::string& rest, TSessionCommand& command)
{
    std::string fault = ReadAssignment(rest, command, "STATE NAME");
    return fault.empty() && command.fArgument.empty() ? "the state's name is missing behind \"=\"" : fault;
}

std::string ReadItem(const std::string& rest, TSessionCommand& command)
{
    command.fName = rest;
    return rest.empty() ? "name an item, or \"all\"" : std::string();
}

std::string ReadFrameCount(const std::string& rest, TSessionCommand& command)
{
    const auto count = Number(rest);
    if (!count || *count < 1 || *count > kMostFrames)
        return "frames needs a count from 1 to " + std::to_string(kMostFrames);
    command.fNumber = *count;
    return {};
}

const TVerbRule kVerbs[] = {
    {"model", ESessionVerb::kModel, EPhase::kSetUp, &ReadModel},
    {"ports", ESessionVerb::kPorts, EPhase::kSetUp, &ReadPorts},
    {"start", ESessionVerb::kStart, EPhase::kSetUp, &ReadNothing},
    {"in", ESessionVerb::kIn, EPhase::kRunning, &ReadInput},
    {"value", ESessionVerb::kValue, EPhase::kRunning, &ReadValue},
    {"text", ESessionVerb::kText, EPhase::kRunning, &ReadText},
    {"state", ESessionVerb::kState, EPhase::kRunning, &ReadState},
    {"disable", ESessionVerb::kDisable, EPhase::kRunning, &ReadItem},
    {"enable", ESessionVerb::kEnable, EPhase::kRunning, &ReadItem},
    {"frame", ESessionVerb::kFrame, EPhase::kRunning, &ReadNothing},
    {"frames", ESessionVerb::kFrame, EPhase::kRunning, &ReadFrameCount},
    {"end", ESessionVerb::kEnd, EPhase::kRunning, &ReadNothing},
};

class CSessionReader
{
public:
    CSessionReader(TCommandContext& context, const std::string& file) : fContext(context), fSession{file, {}, 1} {}

    std::optional<TSession> Read()
    {
        std::ifstream in(fSession.fFile);
        if (!in)
        {
            UsageError(fContext, fSession.fFile + ": cannot be read");
            return std::nullopt;
        }
        std::string line;
        for (i32 number = 1; std::getline(in, line); ++number)
        {
            fSession.fLastLine = number;
            ReadLine(number, Trimmed(line));
        }
        return fFaulty ? std::nullopt : std::optional(std::move(fSession));
    }

private:
    void ReadLine(i32 number, const std::string& line)
    {
        if (line.empty() || line.front() == '#')
            return;
        const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
        const std::string word = line.substr(0, end);
        const std::string rest = Trimmed(line.substr(end));
        if (word == "expect")
            return ReadExpectation(number, rest);
        const auto found = std::find_if(std::begin(kVerbs), std::end(kVerbs),
                                        [&](const TVerbRule& verb) { return word == verb.fWord; });
        if (found == std::end(kVerbs))
            return Fault(number, "unknown command \"" + word + "\"", GuessCommand(word));
        TSessionCommand command;
        command.fLine = number;
        command.fText = line;
        command.fVerb = found->fVerb;
        if (const std::string fault = found->fRead(rest, command); !fault.empty())
            return Fault(number, fault, {});
        if (TakePhase(number, *found))
            fSession.fCommands.push_back(std::move(command));
    }

    // start once, the set-up before it, the rest between it and end.
    bool TakePhase(i32 number, const TVerbRule& verb)
    {
        const bool started = fStartLine != 0;
        if (verb.fPhase == EPhase::kSetUp && started)
        {
            Fault(number, std::string(verb.fWord) + " stands after start",
                  "line " + std::to_string(fStartLine) + " starts the surface");
            return false;
        }
        if (verb.fPhase == EPhase::kRunning && (!started || fEndLine != 0))
        {
            Fault(number, std::string(verb.fWord) + " needs a running surface",
                  started ? "line " + std::to_string(fEndLine) + " ends it" : "start it first");
            return false;
        }
        if (verb.fVerb == ESessionVerb::kStart)
            fStartLine = number;
        if (verb.fVerb == ESessionVerb::kEnd)
            fEndLine = number;
        return true;
    }

    void ReadExpectation(i32 number, const std::string& rest)
    {
        if (fSession.fCommands.empty())
            return Fault(number, "expect stands before any command", "it states what the command before it prints");
        auto& expectations = fSession.fCommands.back().fExpectations;
        const bool nothing = rest == "nothing";
        if (rest.empty())
            return Fault(number, "expect needs a line, or \"nothing\"", {});
        if (!expectations.empty() && (nothing || expectations.back().fText.empty()))
            return Fault(number, "\"expect nothing\" stands alone", {});
        expectations.push_back({number, nothing ? std::string() : rest});
    }

    std::string GuessCommand(const std::string& word) const
    {
        std::vector<TText16> words{u"expect"};
        for (const TVerbRule& verb : kVerbs)
            words.push_back(NSTextPackage::Text16FromUTF8(verb.fWord));
        const auto nearest = NearestName(NSTextPackage::Text16FromUTF8(word), words);
        return nearest ? "did you mean \"" + UTF8(*nearest) + "\"?" : std::string();
    }

    void Fault(i32 number, const std::string& message, const std::string& note)
    {
        Report(fContext, {ESeverity::kError, fSession.fFile, number, message, note, {}});
        fFaulty = true;
    }

    TCommandContext& fContext;
    TSession fSession;
    i32 fStartLine = 0;
    i32 fEndLine = 0;
    bool fFaulty = false;
};
} // namespace

std::optional<TSession> ReadSession(TCommandContext& context, const std::string& file)
{
    return CSessionReader(context, file).Read();
}

std::string NormalizedLine(const std::string& line)
{
    std::string normal;
    for (const std::string& word : Words(line))
    {
        if (!normal.empty())
            normal += ' ';
        for (const char c : word)
            normal += char(std::tolower(static_cast<unsigned char>(c)));
    }
    return normal;
}
} // namespace NSCheckTool
