#include "map/MapReader.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/TextCompare.h"
#include "foundation/FileHandling.h"
#include "map/MapMessages.h"

#include <algorithm>
#include <map>
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
constexpr std::size_t kMaxShortcutVariations = 10;
// The line number of the one message that names no line of its own.
constexpr i32 kWrongSurfaceLine = 4;

bool IsSevenBit(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char16 c) { return c < 0x80; });
}

// The lines of a map file one after another, read from the table as the
// reader goes, so that a large file is never held as a whole table; and the
// number that a message about the line in hand shows: its own, the last
// line's once the reader stands past the end, and 1 for a file without lines.
class CLineCursor
{
public:
    explicit CLineCursor(std::u16string_view text) : fSource(text, kMapTableOptions) { Advance(); }
    const TMapLine* Current() const { return fHasLine ? &fLine : nullptr; } // null past the end
    void Advance()
    {
        fHasLine = fSource.Next(fLine);
        if (fHasLine)
            fNumber = static_cast<i32>(fLine.first) + 1;
    }
    i32 Number() const { return fNumber; }

private:
    CTableLineSource fSource;
    TMapLine fLine;
    bool fHasLine = false;
    i32 fNumber = 1;
};

std::u16string_view Column(const TMapLine& line, std::size_t index)
{
    return index < line.second.size() ? std::u16string_view(line.second[index]) : std::u16string_view();
}

// Appends messages for one run of the reader.
class CMessageSink
{
public:
    CMessageSink(TText16& errorText, TMapFaultList* faults) : fErrorText(errorText), fFaults(faults) {}

    void Append(i32 lineNumber, const TText16& message)
    {
        fErrorText += MakeLineMessage(lineNumber, message);
        if (fFaults != nullptr)
            fFaults->push_back({lineNumber, message});
    }
    void Append(i32 lineNumber, EMapMessage id) { Append(lineNumber, GetMapMessageText(id)); }

    [[noreturn]] void Fail(i32 lineNumber, EMapMessage id)
    {
        Append(lineNumber, id);
        throw XBadFormat();
    }

    [[noreturn]] void FailMissing(i32 lineNumber, std::u16string_view keyword)
    {
        Append(lineNumber, MakeMissingMessage(TText16(keyword)));
        throw XBadFormat();
    }

private:
    TText16& fErrorText;
    TMapFaultList* fFaults;
};

// Names of 7-bit printing characters compare equal, by the text comparison,
// exactly when their lower-case forms are equal: such names can be looked up
// in hash tables by that form instead of being compared one by one.
bool IsPlainName(std::u16string_view name)
{
    return std::all_of(name.begin(), name.end(), [](char16 c) { return c >= 0x20 && c < 0x7F; });
}

char16 FoldUnit(char16 c) { return c >= u'A' && c <= u'Z' ? static_cast<char16>(c - u'A' + u'a') : c; }

// Hashes and compares plain names by their lower-case form without making
// that form: a lookup per map line then costs no allocation.
struct TFoldedHash
{
    using is_transparent = void;
    std::size_t operator()(std::u16string_view name) const
    {
        std::size_t hash = 14695981039346656037ull;
        for (const char16 c : name)
            hash = (hash ^ FoldUnit(c)) * 1099511628211ull;
        return hash;
    }
};

struct TFoldedEqual
{
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const
    {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](char16 x, char16 y) { return FoldUnit(x) == FoldUnit(y); });
    }
};

template <class T> using TFoldedMap = std::unordered_map<TText16, T, TFoldedHash, TFoldedEqual>;

// Finds items by name as the text comparison does, in list order, without a
// walk of the list per line: plain names through a hash table, the rare other
// ones one by one.
class CItemIndex
{
public:
    explicit CItemIndex(const TItemList& items) : fItems(items)
    {
        for (u32 index = 0; index < items.size(); ++index)
        {
            const TText16 name = NameOf(items[index]);
            if (IsPlainName(name))
                fPlain.emplace(name, index); // keeps the first of equal names
            else
                fOthers.push_back(index);
        }
    }

    std::optional<u32> Find(std::u16string_view name) const
    {
        // The comparison passes over what makes a name not plain, so any item,
        // plain or not, may equal such a name: only the walk knows the first.
        if (!IsPlainName(name))
            return FindByWalk(name);
        std::optional<u32> found;
        if (const auto hit = fPlain.find(name); hit != fPlain.end())
            found = hit->second;
        for (const u32 index : fOthers)
        {
            if (found && index > *found)
                break;
            if (EqualTexts(NameOf(fItems[index]), name))
                return index;
        }
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

    std::optional<u32> FindByWalk(std::u16string_view name) const
    {
        for (u32 index = 0; index < fItems.size(); ++index)
            if (EqualTexts(NameOf(fItems[index]), name))
                return index;
        return std::nullopt;
    }

    const TItemList& fItems;
    TFoldedMap<u32> fPlain;
    std::vector<u32> fOthers;
};

// The values of the current scope's groups by name, answering as
// VMapScope::FindGroupValue does: the first group, in order, with the value.
// Plain names go through a hash table. A name that is not plain, or any name
// once a value is not, goes through a tree ordered by the text comparison,
// whose equal names are exactly the comparison's; it is made at the first
// such lookup. (Asking the scope, which walks every value, made a file of
// many such values take time by the square of their number.)
class CGroupValueIndex
{
public:
    void Clear()
    {
        fIndex.clear();
        fOrdered.clear();
        fOrderedMade = false;
        fAllPlain = true;
    }

    // The scope's last group has just been added.
    void AddLastGroup(const VMapScope& scope)
    {
        const u32 group = scope.GetGroupCount() - 1;
        for (u32 value = 0; value < scope.GetGroupValueCount(group); ++value)
        {
            const TText16& name = scope.GetGroupValueName(group, value);
            fAllPlain = fAllPlain && IsPlainName(name);
            // Both keep the first of equal names, which is the first in order.
            fIndex.emplace(name, TGroupValue{group, value});
            if (fOrderedMade)
                fOrdered.emplace(name, TGroupValue{group, value});
        }
    }

    TGroupValue Find(const VMapScope& scope, std::u16string_view name)
    {
        if (fAllPlain && IsPlainName(name))
        {
            const auto found = fIndex.find(name);
            return found == fIndex.end() ? kNoGroupValue : found->second;
        }
        if (!fOrderedMade)
            MakeOrdered(scope);
        const auto found = fOrdered.find(TText16(name));
        return found == fOrdered.end() ? kNoGroupValue : found->second;
    }

private:
    void MakeOrdered(const VMapScope& scope)
    {
        for (u32 group = 0; group < scope.GetGroupCount(); ++group)
            for (u32 value = 0; value < scope.GetGroupValueCount(group); ++value)
                fOrdered.emplace(scope.GetGroupValueName(group, value), TGroupValue{group, value});
        fOrderedMade = true;
    }

    TFoldedMap<TGroupValue> fIndex;
    std::map<TText16, TGroupValue, CMPCaseInsensitiveStringLess> fOrdered;
    bool fOrderedMade = false;
    bool fAllPlain = true;
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
    CHeaderReader(CLineCursor& lines, CMessageSink& sink) : fLines(lines), fSink(sink) {}

    void Read(TText16& manufacturer, TText16& model, std::array<u32, 3>& version)
    {
        ExpectKeyword(kKeywordFileHeader);
        fLines.Advance();
        if (ReadVersion(kKeywordFormatVersion) != std::array<i64, 3>{1, 0, 0})
            fSink.FailMissing(fLines.Number(), kKeywordFormatVersion);
        fLines.Advance();
        manufacturer = ReadName(kKeywordManufacturer);
        fLines.Advance();
        model = ReadName(kKeywordModel);
        fLines.Advance();
        const auto map = ReadVersion(kKeywordMapVersion);
        for (std::size_t i = 0; i < version.size(); ++i)
            version[i] = static_cast<u32>(map[i]);
        fLines.Advance();
    }

private:
    const TMapLine& ExpectKeyword(std::u16string_view keyword)
    {
        const TMapLine* line = fLines.Current();
        if (line == nullptr || !EqualTexts(Column(*line, 0), keyword))
            fSink.FailMissing(fLines.Number(), keyword);
        return *line;
    }

    std::array<i64, 3> ReadVersion(std::u16string_view keyword)
    {
        const auto numbers = ReadVersionNumbers(Column(ExpectKeyword(keyword), 1));
        if (!numbers)
            fSink.FailMissing(fLines.Number(), keyword);
        return *numbers;
    }

    TText16 ReadName(std::u16string_view keyword)
    {
        const std::u16string_view name = Column(ExpectKeyword(keyword), 1);
        if (name.empty())
            fSink.FailMissing(fLines.Number(), keyword);
        return TText16(name);
    }

    CLineCursor& fLines;
    CMessageSink& fSink;
};

// The body: scopes, groups and map lines.
class CBodyReader
{
public:
    CBodyReader(CLineCursor& lines, VControlSurfaceMap& map, const TStateNames& stateNames, CMessageSink& sink)
        : fLines(lines), fMap(map), fItems(*map.GetItems()), fStateNames(stateNames), fItemIndex(fItems),
          fSink(sink)
    {
    }

    // The cursor stands behind the header.
    void Read()
    {
        for (; fLines.Current() != nullptr; fLines.Advance())
            ReadLine(*fLines.Current());
        CloseScope();
        if (fErrorsCollected)
            throw XBadFormat();
        if (!fMap.Check())
            fSink.Fail(fLines.Number(), kMsgBadMapping);
    }

private:
    void ReadLine(const TMapLine& line)
    {
        if (line.second.empty())
            fSink.Fail(fLines.Number(), kMsgUndefinedCommand);
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
        fSink.Append(fLines.Number(), id);
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
            fSink.Fail(fLines.Number(), kMsgScopeIncomplete);
        if (fMap.FindScope(key) != nullptr)
            fSink.Fail(fLines.Number(), kMsgScopeDefined);
        fScope = std::make_unique<VMapScope>(fMap.GetItems());
        fValues.Clear();
        fScopeKey = key;
        fLineSeen = false;
    }

    void ReadGroup(const TMapLine& line)
    {
        if (!fScope)
            fSink.Fail(fLines.Number(), kMsgNoScope);
        if (fLineSeen)
            fSink.Fail(fLines.Number(), kMsgGroupMisplaced);
        const TText16 name(Column(line, 1));
        if (name.empty())
            fSink.Fail(fLines.Number(), kMsgBadGroup);
        if (!IsSevenBit(name))
            fSink.Fail(fLines.Number(), kMsgGroupNotASCII);
        if (fScope->FindGroup(name) != kAnyGroupValue)
            fSink.Fail(fLines.Number(), kMsgDuplicateGroup);
        const bool shortcuts = EqualTexts(name, kKeyboardShortcutVariations);
        std::vector<TText16> values;
        for (std::size_t column = 2; column < line.second.size(); ++column)
        {
            const TText16& value = line.second[column];
            if (value.empty())
                continue;
            // A name that isn't 7-bit can't be in the scope: it would have
            // been refused when its group was defined.
            if (IsSevenBit(value) && fValues.Find(*fScope, value) != kNoGroupValue)
                fSink.Fail(fLines.Number(), kMsgDuplicateGroupValue);
            if (shortcuts && values.size() >= kMaxShortcutVariations)
                fSink.Fail(fLines.Number(), kMsgTooManyVariations);
            if (!IsSevenBit(value))
                fSink.Fail(fLines.Number(), kMsgVariationNotASCII);
            values.push_back(value);
        }
        if (values.empty())
            fSink.Fail(fLines.Number(), kMsgEmptyGroup);
        fScope->AddGroup(name, values);
        fValues.AddLastGroup(*fScope);
    }

    void ReadMapLine(const TMapLine& line)
    {
        if (!fScope)
            fSink.Fail(fLines.Number(), kMsgNoScope);
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
    [[noreturn]] void Refuse(EMapMessage id) { fSink.Fail(fLines.Number(), id); }

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
        TVariation variation = ReadVariation(line);
        if (fScope->IsItemMapped(key, variation))
            Refuse(kMsgItemMapped);
        VMapEntry entry = MakeEntry(key, target, std::move(variation), scale, mode);
        if (entry.IsKinvarable())
            fScope->AddMapEntry(key, std::move(entry), fHashes);
        else
            fScope->AddMapEntry(key, std::move(entry));
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
            const TGroupValue found = IsSevenBit(value) ? fValues.Find(*fScope, value) : kNoGroupValue;
            if (found == kNoGroupValue)
                Refuse(kMsgUnknownGroupValue);
            variation[found.fGroup] = found.fValue;
        }
        return variation;
    }

    VMapEntry MakeEntry(const TMapKey& key, std::u16string_view target, TVariation variation, i64 scale, u32 mode)
    {
        const bool constant = ReadLooseInteger(target).has_value() || target.front() == u'"' ||
                              target.find(u'=') != std::u16string_view::npos;
        if (constant && key.fNote != kNoNote)
            Refuse(kMsgKeyWithConstant);
        if (const std::optional<i64> value = ReadLooseInteger(target))
            return VMapEntry(std::move(variation), *value, mode);
        if (target.front() == u'"')
        {
            if (target.size() < 2 || target.back() != u'"')
                Refuse(kMsgBadTextConstant);
            return VMapEntry(std::move(variation), TText16(target.substr(1, target.size() - 2)), mode);
        }
        if (const std::size_t equals = target.find(u'='); equals != std::u16string_view::npos)
            return VMapEntry(std::move(variation), ReadAssignment(target, equals), mode);
        fHashes = VMapScope::KinvarableHashes(target, variation);
        if (fScope->IsKinvarableMapped(target, variation, fHashes))
            Refuse(kMsgKinvarableMapped);
        return VMapEntry(std::move(variation), TText16(target), scale, mode);
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

    CLineCursor& fLines;
    VControlSurfaceMap& fMap;
    const TItemList& fItems;
    const TStateNames& fStateNames;
    CItemIndex fItemIndex;
    CMessageSink& fSink;
    std::unique_ptr<VMapScope> fScope;
    CGroupValueIndex fValues;
    VMapScope::TKinvarableHashes fHashes{}; // of the Kinvarable line in hand
    TScopeKey fScopeKey;
    bool fLineSeen = false;
    bool fErrorsCollected = false;
};

// The whole file from the cursor's first line on.
void ReadMapFile(CLineCursor& lines, VControlSurfaceMap& map, const TStateNames& stateNames, TText16& errorText,
                 TMapFaultList* faults)
{
    errorText = MakeMapErrorsHeading();
    CMessageSink sink(errorText, faults);
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
} // namespace

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

TText16 ReadMapText(const std::filesystem::path& file)
{
    const std::vector<u8> bytes = NSHarbryUtils::ReadWholeFile(file);
    return DecodeTableText(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

void ReadMapHeader(std::u16string_view text, TText16& manufacturer, TText16& model, std::array<u32, 3>& version,
                   TText16& errorText, TMapFaultList* faults)
{
    CLineCursor cursor(text);
    CMessageSink sink(errorText, faults);
    CHeaderReader(cursor, sink).Read(manufacturer, model, version);
}

void ReadMapFile(std::u16string_view text, VControlSurfaceMap& map, const TStateNames& stateNames,
                 TText16& errorText, TMapFaultList* faults)
{
    CLineCursor cursor(text);
    ReadMapFile(cursor, map, stateNames, errorText, faults);
}
} // namespace NSKinvar
