#include "generic/GenericMidiCodecConfigReader.h"

#include "generic/GenericTexts.h"

#include "codec/KinvarCodec.h"
#include "codec/TableReader.h"
#include "foundation/Assert.h"
#include "foundation/TextCompare.h"
#include "foundation/TextPackage.h"

#include <map>
#include <stdexcept>
#include <string>

namespace NSGenericMidiCodec
{
namespace
{
constexpr std::u16string_view kKeyFileType = u"Universal MIDI Codec Control Surface Definition File";
constexpr std::u16string_view kKeyFormatVersion = u"File Format Version";
constexpr std::u16string_view kKeyManufacturer = u"Control Surface Manufacturer";
constexpr std::u16string_view kKeyModel = u"Control Surface Model";
constexpr std::u16string_view kKeyCodecVersion = u"Codec Version";
constexpr std::u16string_view kKeyInPorts = u"MIDI Input Ports";
constexpr std::u16string_view kKeyIdentityRequest = u"Identity Request";
constexpr std::u16string_view kKeyIdentityResponse = u"Identity Response";
constexpr std::u16string_view kKeySetupInfoText = u"Setup Info Text";
constexpr std::u16string_view kKeySetupWarningText = u"Setup Warning Text";
constexpr std::u16string_view kKeySetupUserActionText = u"Setup User Action Text";
constexpr std::u16string_view kKeySetup = u"Setup";
constexpr std::u16string_view kKeyItem = u"Item";
constexpr std::u16string_view kKeyMap = u"Map";

constexpr std::u16string_view kItemTitles[] = {u"Item Header", u"Name", u"Type", u"Min", u"Max"};
constexpr std::u16string_view kMapTitles[] = {u"Map Header", u"Pattern", u"Name",
                                              u"Value1", u"Value2", u"Value3"};

constexpr std::array<i64, 3> kSupportedFormatVersion{1, 0, 0};
constexpr i64 kMaxInPorts = NSKinvarCodec::kMaxPortCount;
constexpr std::size_t kMaxSetupMessageSize = NSKinvarCodec::kMaxMIDIEventSize;
constexpr u8 kSysexStart = 0xF0;
constexpr u8 kSysexEnd = 0xF7;

struct TItemType
{
    std::u16string_view fName;
    u32 fInputKind;
};

constexpr TItemType kItemTypes[] = {
    {u"button", NSKinvarCodec::kInputButton},
    {u"value", NSKinvarCodec::kInputValue},
    {u"delta", NSKinvarCodec::kInputDelta},
    {u"keyboard", NSKinvarCodec::kInputKeyboard},
};

bool SameWord(std::u16string_view a, std::u16string_view b) { return NSTextPackage::EqualTexts(a, b); }

TText16 Decimal(i64 value)
{
    const std::string digits = std::to_string(value);
    return TText16(digits.begin(), digits.end());
}

// One file's reading: the filtered rows and the row in hand.
class CDefinitionParser
{
public:
    CDefinitionParser(TMapLines lines, std::u16string_view fileName, TDefinitionFault& fault)
        : fLines(std::move(lines)), fFileName(fileName), fFault(fault)
    {
    }

    CGenericMidiCodecConfig Parse()
    {
        if (fLines.empty())
            Fail(u"Empty Config File");
        ReadHeader();
        ReadOptionalRows();
        ReadItemTable();
        ReadMapTable();
        return std::move(fConfig);
    }

private:
    // ---- Faults ----

    i32 LineAt(std::size_t row) const
    {
        if (fLines.empty())
            return 1;
        if (row < fLines.size())
            return i32(fLines[row].first) + 1;
        return i32(fLines.back().first) + 1 + 2;
    }

    [[noreturn]] void Throw(i32 line, TText16 message, TText16 detail)
    {
        fFault.fLine = line;
        fFault.fMessage = std::move(message);
        fFault.fDetail = std::move(detail);
        throw std::runtime_error("syntax error");
    }

    // Detail form B, the form of everything after the header.
    [[noreturn]] void FailAt(std::size_t row, std::u16string_view message)
    {
        const i32 line = LineAt(row);
        TText16 detail = u"Error:";
        detail.append(message).append(u" ").append(fFileName);
        detail.append(u"(").append(Decimal(line)).append(u")");
        Throw(line, TText16(message), std::move(detail));
    }

    [[noreturn]] void Fail(std::u16string_view message) { FailAt(fRow, message); }

    // Detail form A: every fault of the header, whatever went wrong.
    [[noreturn]] void FailHeader(std::u16string_view key)
    {
        using NSTextPackage::SubstituteParameters;
        const i32 line = LineAt(fRow);
        TText16 missing = SubstituteParameters(GetGenericCodecText(kTextMissing), 0, {TText16(key)});
        TText16 detail = SubstituteParameters(GetGenericCodecText(kTextLineMessage), 0, {Decimal(line), missing});
        detail.push_back(u'\n');
        Throw(line, std::move(missing), std::move(detail));
    }

    // A bad hex value or a bad Min or Max: a failed assertion, and no detail.
    [[noreturn]] void FailPlain()
    {
        BF_ASSERT(false);
        Throw(LineAt(fRow), u"syntax error", {});
    }

    // ---- Rows ----

    bool HaveRow() const { return fRow < fLines.size(); }
    const std::vector<TText16>& Fields() const { return fLines[fRow].second; }
    bool RowHasKey(std::u16string_view key) const { return HaveRow() && SameWord(Fields().front(), key); }

    // The fields from the second on, joined with TAB; a TAB only goes in once
    // the value has characters, so leading empty cells vanish.
    TText16 RowValue() const
    {
        TText16 value;
        const auto& fields = Fields();
        for (std::size_t i = 1; i < fields.size(); ++i)
        {
            if (!value.empty())
                value.push_back(u'\t');
            value.append(fields[i]);
        }
        return value;
    }

    // The run of adjacent rows with this key: for each, its row and value.
    std::vector<std::pair<std::size_t, TText16>> TakeRows(std::u16string_view key)
    {
        std::vector<std::pair<std::size_t, TText16>> rows;
        for (; RowHasKey(key); ++fRow)
            rows.emplace_back(fRow, RowValue());
        return rows;
    }

    // ---- Header ----

    TText16 HeaderValue(std::u16string_view key)
    {
        if (!RowHasKey(key))
            FailHeader(key);
        const auto& fields = Fields();
        if (fields.size() < 2 || fields[1].empty())
            FailHeader(key);
        return fields[1];
    }

    std::array<i64, 3> HeaderVersion(std::u16string_view key)
    {
        const auto version = ReadVersionNumbers(HeaderValue(key));
        if (!version)
            FailHeader(key);
        return *version;
    }

    void ReadHeader()
    {
        if (!RowHasKey(kKeyFileType))
            FailHeader(kKeyFileType);
        ++fRow;
        if (HeaderVersion(kKeyFormatVersion) != kSupportedFormatVersion)
            FailHeader(kKeyFormatVersion);
        ++fRow;
        fConfig.fManufacturer = HeaderValue(kKeyManufacturer);
        ++fRow;
        fConfig.fModel = HeaderValue(kKeyModel);
        ++fRow;
        const auto codecVersion = HeaderVersion(kKeyCodecVersion);
        for (std::size_t i = 0; i < 3; ++i)
            fConfig.fCodecVersion[i] = u32(codecVersion[i]);
        ++fRow;
    }

    // ---- Optional rows ----

    void ReadOptionalRows()
    {
        ReadInPortCount();
        const auto requests = TakeRows(kKeyIdentityRequest);
        if (requests.size() > 1)
            FailAt(requests[1].first, u"Too many Identity Request messages");
        const auto responses = TakeRows(kKeyIdentityResponse);
        if (responses.size() > 1)
            FailAt(responses[1].first, u"Too many Identity Response messages");
        if (!requests.empty() && responses.empty())
            Fail(u"Missing Identity Response message");
        if (!requests.empty())
            fConfig.fIdentityRequest = HexBytesAt(requests[0].first, requests[0].second);
        if (!responses.empty())
            fConfig.fIdentityResponse = NSTextPackage::ASCIIFromText16(responses[0].second, '_');
        fConfig.fSetupInfoText = JoinedText(kKeySetupInfoText);
        fConfig.fSetupWarningText = JoinedText(kKeySetupWarningText);
        fConfig.fSetupUserActionText = JoinedText(kKeySetupUserActionText);
        for (const auto& [row, value] : TakeRows(kKeySetup))
            fConfig.fSetupMessages.push_back(SetupMessage(row, value));
    }

    void ReadInPortCount()
    {
        const auto rows = TakeRows(kKeyInPorts);
        if (rows.empty())
            return;
        if (rows.size() > 1)
            FailAt(rows[1].first, u"Too many \"MIDI Input Ports\" definitions");
        const auto count = ReadLooseInteger(rows[0].second);
        if (!count)
            FailAt(rows[0].first, u"Bad MIDI Input Ports Number");
        // The same words for a count that is too high.
        if (*count <= 0 || *count > kMaxInPorts)
            FailAt(rows[0].first, u"Too few MIDI Input Ports");
        fConfig.fInPortCount = u32(*count);
    }

    // Rows of a text are joined with CR.
    TText16 JoinedText(std::u16string_view key)
    {
        TText16 text;
        bool first = true;
        for (const auto& row : TakeRows(key))
        {
            if (!first)
                text.push_back(u'\r');
            first = false;
            text.append(row.second);
        }
        return text;
    }

    TMIDIBytes HexBytesAt(std::size_t row, std::u16string_view value)
    {
        const std::size_t saved = fRow;
        fRow = row;
        TMIDIBytes bytes;
        int high = -1;
        for (const char16 c : value)
        {
            if (c == u' ')
                continue;
            const int digit = HexDigitValue(c);
            if (digit < 0)
                FailPlain();
            if (high < 0)
            {
                high = digit;
                continue;
            }
            bytes.push_back(u8(high * 16 + digit));
            high = -1;
        }
        if (high >= 0)
            FailPlain();
        fRow = saved;
        return bytes;
    }

    // One message a row: F0 only at its start, F7 only at its end.
    TMIDIBytes SetupMessage(std::size_t row, std::u16string_view value)
    {
        TMIDIBytes bytes = HexBytesAt(row, value);
        for (std::size_t i = 0; i < bytes.size(); ++i)
        {
            if (bytes[i] == kSysexStart && i != 0)
                FailAt(row, u"Setup: Sysex Start (F0) must be the at start of the line.");
            if (bytes[i] == kSysexEnd && i + 1 != bytes.size())
                FailAt(row, u"Setup: Sysex End (F7) must be at the end of the line.");
        }
        if (bytes.size() > kMaxSetupMessageSize)
            FailAt(row, u"Too big Setup message");
        return bytes;
    }

    // ---- Tables ----

    template <std::size_t N> void ReadTitles(const std::u16string_view (&titles)[N])
    {
        if (!HaveRow() || !SameWord(Fields().front(), titles[0]))
            Fail(u"Expected '" + TText16(titles[0]) + u"'");
        if (Fields().size() < N)
            Fail(u"Unexpected End Of Line");
        for (std::size_t i = 1; i < N; ++i)
        {
            if (!SameWord(Fields()[i], titles[i]))
                Fail(u"Expected '" + TText16(titles[i]) + u"'");
        }
        ++fRow;
    }

    void ReadItemTable()
    {
        ReadTitles(kItemTitles);
        for (; RowHasKey(kKeyItem); ++fRow)
            ReadItemRow();
    }

    void ReadItemRow()
    {
        const auto& fields = Fields();
        if (fields.size() < 5)
            Fail(u"Unexpected End Of Line");
        const u32 kind = ItemKind(fields[2]);
        const i64 min = ItemBound(fields[3]);
        const i64 max = ItemBound(fields[4]);
        if (!fItemIndex.emplace(fields[1], fConfig.fItems.size()).second)
            Fail(u"Duplicate item name");
        fConfig.fItems.emplace_back(fields[1], kind, min, max);
        if (kind == NSKinvarCodec::kInputKeyboard)
            fConfig.fHasKeyboard = true;
    }

    u32 ItemKind(std::u16string_view type)
    {
        for (const TItemType& known : kItemTypes)
        {
            if (SameWord(type, known.fName))
                return known.fInputKind;
        }
        Fail(u"Unknown item type");
    }

    // Narrowed to 32 bits and extended with its sign: 5000000000 becomes its low 32 bits.
    i64 ItemBound(std::u16string_view text)
    {
        const auto number = ReadLooseInteger(text);
        if (!number)
            FailPlain();
        return i64(i32(u32(u64(*number))));
    }

    void ReadMapTable()
    {
        ReadTitles(kMapTitles);
        for (; RowHasKey(kKeyMap); ++fRow)
            ReadMapRow();
    }

    void ReadMapRow()
    {
        const auto& fields = Fields();
        if (fields.size() < 6)
            Fail(u"Unexpected End Of Line");
        const auto item = fItemIndex.find(fields[2]);
        if (item == fItemIndex.end())
            Fail(u"Unknown item name");
        try
        {
            fConfig.fItems[item->second].fRules.emplace_back(fields[1], fields[3], fields[4], fields[5]);
        }
        catch (const std::runtime_error& e)
        {
            const std::string_view what = e.what();
            Fail(TText16(what.begin(), what.end()));
        }
    }

    TMapLines fLines;
    std::u16string_view fFileName;
    TDefinitionFault& fFault;
    std::size_t fRow = 0;
    CGenericMidiCodecConfig fConfig;
    std::map<TText16, std::size_t, CMPCaseInsensitiveStringLess> fItemIndex;
};
} // namespace

CGenericMidiItem::CGenericMidiItem(TText16 name, u32 inputKind, i64 min, i64 max)
    : fName(std::move(name)), fInputKind(inputKind), fMin(min), fMax(max)
{
    BF_ASSERT(fMin <= fMax);
}

CGenericMidiCodecConfig CGenericMidiCodecConfigReader::Read(std::u16string_view text, std::u16string_view fileName)
{
    fFault = {};
    return CDefinitionParser(ReadTable(text, kDefinitionTableOptions), fileName, fFault).Parse();
}
} // namespace NSGenericMidiCodec
