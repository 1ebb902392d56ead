#include "map/MapReader.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/TextCompare.h"
#include "map/MapMessages.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>

namespace NSKinvar
{
namespace
{
using NSKinvarCodec::TItemInfo;
using NSTextPackage::EqualTexts;

constexpr std::u16string_view kKeywordFileHeader = u"Thistlemarrow Kinvar Mapping File";
constexpr std::u16string_view kKeywordFormatVersion = u"File Format Version";
constexpr std::u16string_view kKeywordManufacturer = u"Control Surface Manufacturer";
constexpr std::u16string_view kKeywordModel = u"Control Surface Model";
constexpr std::u16string_view kKeywordMapVersion = u"Map Version";
constexpr std::u16string_view kKeywordScope = u"Scope";
constexpr std::u16string_view kKeywordDefineGroup = u"Define Group";
constexpr std::u16string_view kKeywordMap = u"Map";
constexpr std::u16string_view kKeyboardShortcutVariations = u"Keyboard Shortcut Variations";
constexpr std::size_t kHeaderLineCount = 5;
constexpr std::size_t kMaxShortcutVariations = 10;
// The line number of the one message that names no line of its own.
constexpr i32 kWrongSurfaceLine = 4;

bool IsSevenBit(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char16 c) { return c < 0x80; });
}

// The number shown for position in lines: the line's own, the last line's
// past the end, and 1 for a file without lines.
i32 LineNumberAt(const TMapLines& lines, std::size_t position)
{
    if (lines.empty())
        return 1;
    return static_cast<i32>(lines[std::min(position, lines.size() - 1)].first) + 1;
}

std::u16string_view Column(const TMapLine& line, std::size_t index)
{
    return index < line.second.size() ? std::u16string_view(line.second[index]) : std::u16string_view();
}

// Appends messages for one run of the reader.
class CMessageSink
{
public:
    CMessageSink(const TMapLines& lines, TText16& errorText) : fLines(lines), fErrorText(errorText) {}

    void Append(i32 lineNumber, const TText16& message) { fErrorText += MakeLineMessage(lineNumber, message); }
    void Append(std::size_t position, EMapMessage id) { Append(LineNumberAt(fLines, position), GetMapMessageText(id)); }

    [[noreturn]] void Fail(std::size_t position, EMapMessage id)
    {
        Append(position, id);
        throw XBadFormat();
    }

    [[noreturn]] void FailMissing(std::size_t position, std::u16string_view keyword)
    {
        Append(LineNumberAt(fLines, position), MakeMissingMessage(TText16(keyword)));
        throw XBadFormat();
    }

private:
    const TMapLines& fLines;
    TText16& fErrorText;
};

// Finds items by name as the text comparison does, in list order, without a
// walk of the list per line: 7-bit names of printing characters compare
// equal exactly when their lower-case forms are equal, so those go in a hash
// table; the rare other names are compared one by one.
class CItemIndex
{
public:
    explicit CItemIndex(const TItemList& items) : fItems(items)
    {
        for (u32 index = 0; index < items.size(); ++index)
        {
            const TText16 name = NameOf(items[index]);
            if (IsPlainName(name))
                fPlain.emplace(Fold(name), index); // keeps the first of equal names
            else
                fOthers.push_back(index);
        }
    }

    std::optional<u32> Find(std::u16string_view name) const
    {
        std::optional<u32> found;
        if (IsPlainName(name))
        {
            const auto hit = fPlain.find(Fold(name));
            if (hit != fPlain.end())
                found = hit->second;
        }
        for (const u32 index : fOthers)
        {
            if (found && index > *found)
                break;
            if (EqualTexts(NameOf(fItems[index]), name))
                return index;
        }
        if (!found && !IsPlainName(name))
            return FindByWalk(name);
        return found;
    }

private:
    static TText16 NameOf(const TItemInfo& item)
    {
        std::size_t length = 0;
        while (length < std::size(item.fName) && item.fName[length] != 0)
            ++length;
        return TText16(item.fName, length);
    }

    static bool IsPlainName(std::u16string_view name)
    {
        return std::all_of(name.begin(), name.end(), [](char16 c) { return c >= 0x20 && c < 0x7F; });
    }

    static TText16 Fold(std::u16string_view name)
    {
        TText16 folded(name);
        for (char16& c : folded)
            if (c >= u'A' && c <= u'Z')
                c = static_cast<char16>(c - u'A' + u'a');
        return folded;
    }

    std::optional<u32> FindByWalk(std::u16string_view name) const
    {
        for (u32 index = 0; index < fItems.size(); ++index)
            if (EqualTexts(NameOf(fItems[index]), name))
                return index;
        return std::nullopt;
    }

    const TItemList& fItems;
    std::unordered_map<TText16, u32> fPlain;
    std::vector<u32> fOthers;
};

int SemitoneOf(char16 letter)
{
    switch (letter)
    {
    case u'C': case u'c': return 0;
    case u'D': case u'd': return 2;
    case u'E': case u'e': return 4;
    case u'F': case u'f': return 5;
    case u'G': case u'g': return 7;
    case u'A': case u'a': return 9;
    case u'B': case u'b': case u'H': case u'h': return 11;
    default: return -1;
    }
}

std::optional<i64> ReadNoteName(std::u16string_view text)
{
    while (!text.empty() && text.front() == u' ')
        text.remove_prefix(1);
    if (text.empty() || SemitoneOf(text.front()) < 0)
        return std::nullopt;
    int semitone = SemitoneOf(text.front());
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == u'#' || text.front() == u'b'))
    {
        semitone += text.front() == u'#' ? 1 : -1;
        text.remove_prefix(1);
    }
    const std::optional<i64> octave = ReadLooseInteger(text);
    if (!octave || *octave < -2 || *octave > 8)
        return std::nullopt;
    // Kept in one byte: a note past 127 passes here and fails the scope's check.
    return static_cast<u8>(semitone + (*octave + 2) * 12);
}

// The header: five keyword lines in a fixed order.
class CHeaderReader
{
public:
    CHeaderReader(const TMapLines& lines, CMessageSink& sink) : fLines(lines), fSink(sink) {}

    void Read(TText16& manufacturer, TText16& model, std::array<u32, 3>& version)
    {
        ExpectKeyword(0, kKeywordFileHeader);
        const auto format = ReadVersion(1, kKeywordFormatVersion);
        if (format != std::array<i64, 3>{1, 0, 0})
            fSink.FailMissing(1, kKeywordFormatVersion);
        manufacturer = ReadName(2, kKeywordManufacturer);
        model = ReadName(3, kKeywordModel);
        const auto map = ReadVersion(4, kKeywordMapVersion);
        for (std::size_t i = 0; i < version.size(); ++i)
            version[i] = static_cast<u32>(map[i]);
    }

private:
    const TMapLine& ExpectKeyword(std::size_t position, std::u16string_view keyword)
    {
        if (position >= fLines.size() || !EqualTexts(Column(fLines[position], 0), keyword))
            fSink.FailMissing(position, keyword);
        return fLines[position];
    }

    std::array<i64, 3> ReadVersion(std::size_t position, std::u16string_view keyword)
    {
        const auto numbers = ReadVersionNumbers(Column(ExpectKeyword(position, keyword), 1));
        if (!numbers)
            fSink.FailMissing(position, keyword);
        return *numbers;
    }

    TText16 ReadName(std::size_t position, std::u16string_view keyword)
    {
        const std::u16string_view name = Column(ExpectKeyword(position, keyword), 1);
        if (name.empty())
            fSink.FailMissing(position, keyword);
        return TText16(name);
    }

    const TMapLines& fLines;
    CMessageSink& fSink;
};

// The body: scopes, groups and map lines.
class CBodyReader
{
public:
    CBodyReader(const TMapLines& lines, VControlSurfaceMap& map, const TStateNames& stateNames,
                CMessageSink& sink)
        : fLines(lines), fMap(map), fItems(*map.GetItems()), fStateNames(stateNames), fItemIndex(fItems),
          fSink(sink)
    {
    }

    void Read()
    {
        for (fPosition = kHeaderLineCount; fPosition < fLines.size(); ++fPosition)
            ReadLine(fLines[fPosition]);
        CloseScope();
        if (fErrorsCollected)
            throw XBadFormat();
        if (!fMap.Check())
            fSink.Fail(fLines.size(), kMsgBadMapping);
    }

private:
    void ReadLine(const TMapLine& line)
    {
        if (line.second.empty())
            fSink.Fail(fPosition, kMsgUndefinedCommand);
        const std::u16string_view command = line.second[0];
        if (EqualTexts(command, kKeywordMap))
            ReadMapLine(line);
        else if (EqualTexts(command, kKeywordScope))
            ReadScope(line);
        else if (EqualTexts(command, kKeywordDefineGroup))
            ReadGroup(line);
        else if (!command.empty())
            Collect(kMsgUndefinedCommand);
    }

    void Collect(EMapMessage id)
    {
        fSink.Append(fPosition, id);
        fErrorsCollected = true;
    }

    void CloseScope()
    {
        if (fScope)
            fMap.AddScope(fScopeKey, *fScope);
        fScope.reset();
    }

    void ReadScope(const TMapLine& line)
    {
        CloseScope();
        const TScopeKey key{TText16(Column(line, 1)), TText16(Column(line, 2))};
        if (line.second.size() < 3 || key.first.empty() || key.second.empty())
            fSink.Fail(fPosition, kMsgScopeIncomplete);
        if (fMap.FindScope(key) != nullptr)
            fSink.Fail(fPosition, kMsgScopeDefined);
        fScope = std::make_unique<VMapScope>(fMap.GetItems());
        fScopeKey = key;
        fLineSeen = false;
    }

    void ReadGroup(const TMapLine& line)
    {
        if (!fScope)
            fSink.Fail(fPosition, kMsgNoScope);
        if (fLineSeen)
            fSink.Fail(fPosition, kMsgGroupMisplaced);
        const TText16 name(Column(line, 1));
        if (name.empty())
            fSink.Fail(fPosition, kMsgBadGroup);
        if (!IsSevenBit(name))
            fSink.Fail(fPosition, kMsgGroupNotASCII);
        if (fScope->FindGroup(name) != kAnyGroupValue)
            fSink.Fail(fPosition, kMsgDuplicateGroup);
        const bool shortcuts = EqualTexts(name, kKeyboardShortcutVariations);
        std::vector<TText16> values;
        for (std::size_t column = 2; column < line.second.size(); ++column)
        {
            const TText16& value = line.second[column];
            if (value.empty())
                continue;
            // A name that isn't 7-bit can't be in the scope: it would have
            // been refused when its group was defined.
            if (IsSevenBit(value) && fScope->FindGroupValue(value) != kNoGroupValue)
                fSink.Fail(fPosition, kMsgDuplicateGroupValue);
            if (shortcuts && values.size() >= kMaxShortcutVariations)
                fSink.Fail(fPosition, kMsgTooManyVariations);
            if (!IsSevenBit(value))
                fSink.Fail(fPosition, kMsgVariationNotASCII);
            values.push_back(value);
        }
        if (values.empty())
            fSink.Fail(fPosition, kMsgEmptyGroup);
        fScope->AddGroup(name, values);
    }

    void ReadMapLine(const TMapLine& line)
    {
        if (!fScope)
            fSink.Fail(fPosition, kMsgNoScope);
        fLineSeen = true;
        try
        {
            ReadMapEntry(line);
        }
        catch (const XBadFormat&)
        {
            // The message is in; go on with the next line.
            fErrorsCollected = true;
        }
    }

    // Every fault of a map line: append and throw, for ReadMapLine to catch.
    [[noreturn]] void Refuse(EMapMessage id) { fSink.Fail(fPosition, id); }

    void ReadMapEntry(const TMapLine& line)
    {
        const std::u16string_view itemName = Column(line, 1);
        if (line.second.size() < 2 || itemName.empty())
            Refuse(kMsgMissingItemName);
        if (!IsSevenBit(itemName))
            Refuse(kMsgItemNotASCII);
        const std::optional<u32> item = fItemIndex.Find(itemName);
        if (!item)
            Refuse(kMsgUnknownItem);
        const TMapKey key{*item, ReadKey(line)};
        if (key.fNote != kNoNote && fItems[*item].fInputKind != NSKinvarCodec::kInputKeyboard)
            Refuse(kMsgNoteOnNonKeyboard);
        const std::u16string_view target = Column(line, 3);
        if (line.second.size() < 4 || target.empty())
            Refuse(kMsgMissingKinvarable);
        if (!IsSevenBit(target))
            Refuse(kMsgKinvarableNotASCII);
        const i64 scale = ReadScale(line);
        const u32 mode = ReadMode(line, *item);
        const TVariation variation = ReadVariation(line);
        if (fScope->IsItemMapped(key, variation))
            Refuse(kMsgItemMapped);
        fScope->AddMapEntry(key, MakeEntry(key, TText16(target), variation, scale, mode));
    }

    i64 ReadKey(const TMapLine& line)
    {
        if (line.second.size() < 3)
            Refuse(kMsgMissingKey);
        const std::optional<i64> note = ReadMapKey(line.second[2]);
        if (!note)
            Refuse(kMsgMissingKey);
        return *note;
    }

    i64 ReadScale(const TMapLine& line)
    {
        const std::u16string_view column = Column(line, 4);
        if (column.empty())
            return 0;
        const std::optional<i64> scale = ReadLooseInteger(column);
        if (!scale)
            Refuse(kMsgBadScale);
        return *scale;
    }

    u32 ReadMode(const TMapLine& line, u32 item)
    {
        const std::u16string_view column = Column(line, 5);
        if (column.empty())
            return 0;
        const std::vector<TText16>& names = fStateNames.at(item);
        BF_ASSERT(names.size() == fItems[item].fStateCount);
        for (u32 mode = 0; mode < names.size(); ++mode)
            if (EqualTexts(names[mode], column))
                return mode;
        Refuse(kMsgUnknownMode);
    }

    TVariation ReadVariation(const TMapLine& line)
    {
        TVariation variation(fScope->GetGroupCount(), kAnyGroupValue);
        for (std::size_t column = 6; column < line.second.size(); ++column)
        {
            const TText16& value = line.second[column];
            if (value.empty())
                continue;
            const TGroupValue found = IsSevenBit(value) ? fScope->FindGroupValue(value) : kNoGroupValue;
            if (found == kNoGroupValue)
                Refuse(kMsgUnknownGroupValue);
            variation[found.fGroup] = found.fValue;
        }
        return variation;
    }

    VMapEntry MakeEntry(const TMapKey& key, const TText16& target, const TVariation& variation, i64 scale, u32 mode)
    {
        const bool constant = ReadLooseInteger(target).has_value() || target.front() == u'"' ||
                              target.find(u'=') != TText16::npos;
        if (constant && key.fNote != kNoNote)
            Refuse(kMsgKeyWithConstant);
        if (const std::optional<i64> value = ReadLooseInteger(target))
            return VMapEntry(variation, *value, mode);
        if (target.front() == u'"')
        {
            if (target.size() < 2 || target.back() != u'"')
                Refuse(kMsgBadTextConstant);
            return VMapEntry(variation, target.substr(1, target.size() - 2), mode);
        }
        if (const std::size_t equals = target.find(u'='); equals != TText16::npos)
            return VMapEntry(variation, ReadAssignment(target, equals), mode);
        if (fScope->IsKinvarableMapped(target, variation))
            Refuse(kMsgKinvarableMapped);
        return VMapEntry(variation, target, scale, mode);
    }

    TGroupValue ReadAssignment(std::u16string_view target, std::size_t equals)
    {
        const std::u16string_view group = target.substr(0, equals);
        const std::u16string_view value = target.substr(equals + 1);
        if (group.empty() || value.empty())
            Refuse(kMsgBadAssignment);
        const u32 groupIndex = fScope->FindGroup(group);
        if (groupIndex == kAnyGroupValue)
            Refuse(kMsgBadAssignment);
        const u32 valueIndex = fScope->FindGroupValue(groupIndex, value);
        if (valueIndex == kAnyGroupValue)
            Refuse(kMsgBadAssignment);
        return {groupIndex, valueIndex};
    }

    const TMapLines& fLines;
    VControlSurfaceMap& fMap;
    const TItemList& fItems;
    const TStateNames& fStateNames;
    CItemIndex fItemIndex;
    CMessageSink& fSink;
    std::size_t fPosition = 0;
    std::unique_ptr<VMapScope> fScope;
    TScopeKey fScopeKey;
    bool fLineSeen = false;
    bool fErrorsCollected = false;
};
} // namespace

TMapLines ReadMapLines(const std::filesystem::path& file, bool headerOnly)
{
    TTableOptions options = kMapTableOptions;
    options.fLineLimit = headerOnly ? kHeaderLineLimit : 0;
    return ReadTableFile(file, options);
}

std::optional<i64> ReadMapKey(std::u16string_view column)
{
    if (column.empty())
        return kNoNote;
    if (std::all_of(column.begin(), column.end(), [](char16 c) { return c >= u'0' && c <= u'9'; }))
    {
        const std::optional<i64> number = ReadLooseInteger(column);
        if (!number || *number >= 128)
            return std::nullopt;
        return number;
    }
    return ReadNoteName(column);
}

void ReadMapHeader(const TMapLines& lines, TText16& manufacturer, TText16& model, std::array<u32, 3>& version,
                   TText16& errorText)
{
    CMessageSink sink(lines, errorText);
    CHeaderReader(lines, sink).Read(manufacturer, model, version);
}

void ReadMapFile(const TMapLines& lines, VControlSurfaceMap& map, const TStateNames& stateNames, TText16& errorText)
{
    errorText = MakeMapErrorsHeading();
    CMessageSink sink(lines, errorText);
    TText16 manufacturer;
    TText16 model;
    std::array<u32, 3> version{};
    CHeaderReader(lines, sink).Read(manufacturer, model, version);
    if (!EqualTexts(manufacturer, map.GetManufacturer()) || !EqualTexts(model, map.GetModel()))
    {
        sink.Append(kWrongSurfaceLine, GetMapMessageText(kMsgWrongSurface));
        throw XBadFormat();
    }
    CBodyReader(lines, map, stateNames, sink).Read();
    errorText.clear();
}
} // namespace NSKinvar
