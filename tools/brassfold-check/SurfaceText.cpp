#include "SurfaceText.h"

#include "Assertions.h"
#include "TextHints.h"

#include "generic/MapRule.h"

#include <cstdio>
#include <typeinfo>

namespace NSCheckTool
{
using namespace NSKinvarCodec;

namespace
{
std::string StatusName(u32 status)
{
    static const std::pair<u32, const char*> kNames[] = {
        {kCodecOutOfMemory, "kCodecOutOfMemory"},
        {kCodecInvalidArgument, "kCodecInvalidArgument"},
        {kCodecInvariantCorrupt, "kCodecInvariantCorrupt"},
        {kCodecIllegalCallSequence, "kCodecIllegalCallSequence"},
        {kCodecProgrammingError, "kCodecProgrammingError"},
        {kCodecUnsupportedInterface, "kCodecUnsupportedInterface"},
        {kCodecBadFormat, "kCodecBadFormat"},
        {kCodecUnsupportedFormat, "kCodecUnsupportedFormat"},
    };
    for (const auto& [code, name] : kNames)
        if (code == status)
            return name;
    return status >= kCodecFirstApplicationError ? "an application's own" : "kCodecUnknownError";
}
} // namespace

std::string FailureReason(const std::exception& e)
{
    const u32 status = CodecResultFromException(&e);
    const std::string number = "status " + std::to_string(status) + " (" + StatusName(status) + ")";
    if (status != kCodecUnknownError)
        return number;
    // Every status that the contract does not name comes back as this.
    if (typeid(e) == typeid(std::exception))
        return number + ", or a status that the contract does not name";
    return e.what();
}

std::optional<std::vector<u8>> ParseHexMessage(const std::string& text)
{
    std::vector<u8> bytes;
    int high = -1;
    for (const char c : text)
    {
        if (c == ' ' || c == '\t' || c == '\r')
            continue;
        const int digit = NSGenericMidiCodec::HexDigitValue(char16(static_cast<unsigned char>(c)));
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

std::string HexText(const u8* bytes, std::size_t size)
{
    std::string text;
    text.reserve(size * 3);
    for (std::size_t i = 0; i < size; ++i)
    {
        char pair[4];
        std::snprintf(pair, sizeof pair, i == 0 ? "%02X" : " %02X", bytes[i]);
        text += pair;
    }
    return text;
}

std::string ItemInputLine(const TItemInput& input, const TItemInfoList& items)
{
    std::string line = input.fItemIndex < items.size() ? UTF8(GetRecordText(items[input.fItemIndex].fName))
                                                       : std::string("#").append(std::to_string(input.fItemIndex));
    for (const i64 value : {input.fValue1, input.fValue2, input.fValue3})
        line.append(1, '\t').append(std::to_string(value));
    return line;
}

std::optional<std::string> HostObjection(const TItemInput& input, const TItemInfo& info, std::size_t& column)
{
    {
        const CHeldAssertions silent(CHeldAssertions::EKind::kSilent);
        if (IsItemInputValid(input, info))
            return std::nullopt;
    }
    column = 0;
    const auto outside = [](const char* what, i64 value, i64 low, i64 high)
    {
        return std::string(what) + " " + std::to_string(value) + ", outside " + std::to_string(low) + " to " +
               std::to_string(high);
    };
    switch (info.fInputKind)
    {
    case kInputDelta:
        return "a step of 0";
    case kInputKeyboard:
        if (input.fValue1 < 0 || input.fValue1 > 1)
            return outside("the key state", input.fValue1, 0, 1);
        column = input.fValue2 < 0 || input.fValue2 > 127 ? 1 : 2;
        return column == 1 ? outside("the key", input.fValue2, 0, 127) : outside("the velocity", input.fValue3, 0, 127);
    case kInputButton:
    case kInputValue:
        return outside("the value", input.fValue1, info.fMin, info.fMax);
    default:
        return std::string("an input though the item has no input kind");
    }
}
} // namespace NSCheckTool
