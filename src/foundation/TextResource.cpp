#include "foundation/TextResource.h"

#include "foundation/Assert.h"
#include "foundation/EmbeddedResources.h"
#include "foundation/Failures.h"
#include "foundation/TextPackage.h"

#include <atomic>
#include <charconv>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace
{
TText16 DecodeResource(std::span<const u8> bytes)
{
    NSTextPackage::CRawByteReader reader(bytes.data(), bytes.size());
    return NSTextPackage::Text16FromBytes(reader, 0, bytes.size(), u'?');
}

// The program's "TXT" table. Filled once, read often: a lock keeps a reader
// from seeing a half-filled map.
std::mutex gTextTableLock;
CTextTable gTextTable;
} // namespace

std::span<const u8> GetEmbeddedResource(std::string_view type, u32 number)
{
    for (const TEmbeddedResource& resource : GetEmbeddedResources())
    {
        if (resource.fType == type && resource.fNumber == number)
            return {resource.fData, resource.fSize};
    }
    BF_ASSERT(false);
    return {};
}

void CTextTable::Load(u32 resourceNumber)
{
    if (IsEmpty())
        Load(NSStringScript::Parse(DecodeResource(GetEmbeddedResource("TXT", resourceNumber))));
}

void CTextTable::Load(const TStringMap& texts)
{
    if (IsEmpty())
        fTexts = texts;
}

bool CTextTable::IsEmpty() const
{
    return fTexts.empty();
}

TText16 CTextTable::Get(u32 id) const
{
    BF_ASSERT(!IsEmpty());
    const auto found = id <= 0xFFFF ? fTexts.find(static_cast<u16>(id)) : fTexts.end();
    BF_ASSERT(found != fTexts.end());
    return found != fTexts.end() ? found->second : TText16();
}

void LoadTextResource(u32 resourceNumber)
{
    const std::lock_guard lock(gTextTableLock);
    gTextTable.Load(resourceNumber);
}

TText16 GetText(u32 id)
{
    const std::lock_guard lock(gTextTableLock);
    return gTextTable.Get(id);
}

TText16 GetProgramText(u32 id)
{
    // The first fill wins, so this never replaces what the workbench loaded.
    LoadTextResource(2000);
    return GetText(id);
}

namespace NSVistalUtils
{
namespace
{
constexpr i32 kKindFactor = 100000000;
constexpr i32 kNumberFactor = 10000;

// Serves keys "<type>/<number>/<index>" from the embedded string scripts,
// read with the framework's parser, as the GUI library reads its own.
class CEmbeddedTextSource final : public IResourceTextSource
{
public:
    u32 IResourceTextSource_GetText(const char* key, ITextGetter& getter) override
    {
        const std::string_view text(key);
        const std::size_t firstSlash = text.find('/');
        const std::size_t secondSlash = text.find('/', firstSlash + 1);
        u32 number = 0;
        u32 index = 0;
        if (firstSlash == std::string_view::npos || secondSlash == std::string_view::npos ||
            !ReadNumber(text.substr(firstSlash + 1, secondSlash - firstSlash - 1), number) ||
            !ReadNumber(text.substr(secondSlash + 1), index))
            return kVistalOK; // no such key: nothing to hand out
        const TStringMap* texts = Texts(text.substr(0, firstSlash), number);
        if (texts == nullptr || index > 0xFFFF)
            return kVistalOK;
        const auto found = texts->find(static_cast<u16>(index));
        if (found != texts->end())
            getter.ITextGetter_SetText(found->second);
        return kVistalOK;
    }

private:
    static bool ReadNumber(std::string_view digits, u32& value)
    {
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return error == std::errc() && end == digits.data() + digits.size();
    }

    // The parsed scripts, made at first use and kept.
    const TStringMap* Texts(std::string_view type, u32 number)
    {
        const std::lock_guard lock(fLock);
        const auto key = std::make_pair(std::string(type), number);
        auto found = fScripts.find(key);
        if (found == fScripts.end())
        {
            const TEmbeddedResource* resource = Find(type, number);
            if (resource == nullptr)
                return nullptr;
            found = fScripts
                        .emplace(key, NSCorbelan::ParseStringScript(
                                          DecodeResource({resource->fData, resource->fSize})))
                        .first;
        }
        return &found->second;
    }

    static const TEmbeddedResource* Find(std::string_view type, u32 number)
    {
        for (const TEmbeddedResource& resource : GetEmbeddedResources())
        {
            if (resource.fType == type && resource.fNumber == number)
                return &resource;
        }
        return nullptr;
    }

    std::mutex fLock;
    std::map<std::pair<std::string, u32>, TStringMap> fScripts;
};

// Copies the text handed to it.
class CCopyingTextGetter final : public ITextGetter
{
public:
    void ITextGetter_SetText(std::u16string_view text) override { fText = text; }
    TText16 fText;
};

CEmbeddedTextSource gEmbeddedTextSource;
std::atomic<IResourceTextSource*> gTextSource{nullptr};

IResourceTextSource& CurrentSource()
{
    IResourceTextSource* source = gTextSource.load();
    return source != nullptr ? *source : gEmbeddedTextSource;
}

TText16 GetResourceOfKind(i32 id, EResourceKind kind, std::string_view type)
{
    BF_ASSERT(id != -1);
    const bool kindMatches = id >= 0 && id / kKindFactor == kind;
    BF_ASSERT(kindMatches);
    if (!kindMatches)
        return {};
    const i32 number = id / kNumberFactor % kNumberFactor;
    const i32 index = id % kNumberFactor;
    return GetResourceText(type, static_cast<u32>(number), static_cast<u32>(index));
}
} // namespace

void SetResourceTextSource(IResourceTextSource* source)
{
    gTextSource.store(source);
}

TText16 GetResourceText(std::string_view type, u32 resourceNumber, u32 index)
{
    const std::string key =
        std::string(type) + '/' + std::to_string(resourceNumber) + '/' + std::to_string(index);
    CCopyingTextGetter getter;
    ThrowVistalResult(CurrentSource().IResourceTextSource_GetText(key.c_str(), getter));
    return getter.fText;
}

TText16 GetStringResource(i32 id)
{
    return GetResourceOfKind(id, kResourceString, "SSTR");
}

TText16 GetAlertResource(i32 id)
{
    return GetResourceOfKind(id, kResourceAlert, "SALR");
}

TText16 GetMenuResource(i32 id)
{
    return GetResourceOfKind(id, kResourceMenu, "SMNU");
}

TText16 GetHelpResource(i32 id)
{
    return GetResourceOfKind(id, kResourceHelp, "SHLP");
}
} // namespace NSVistalUtils
