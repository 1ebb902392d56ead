#include "FuzzSupport.h"

#include "foundation/Assert.h"
#include "foundation/TextPackage.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace NSFuzzing
{
namespace
{
std::atomic<u64> gAssertions{0};

void CountAssertion(const char*, i32) { gAssertions.fetch_add(1, std::memory_order_relaxed); }
} // namespace

void InstallQuietAssertions()
{
    SetAssertionHook(&CountAssertion);
    SetVerifyHook(&CountAssertion);
}

u64 GetAssertionCount() { return gAssertions.load(std::memory_order_relaxed); }

std::string_view BytesOf(const u8* data, std::size_t size)
{
    return size == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char*>(data), size);
}

TText16 TextOf(std::string_view bytes) { return NSTextPackage::Text16FromUTF8(bytes); }

void Require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "fuzz property violated: %s\n", what);
    std::abort();
}

TSplit SplitAt(std::string_view bytes, char separator)
{
    const std::size_t at = bytes.find(separator);
    if (at == std::string_view::npos)
        return {bytes, {}};
    return {bytes.substr(0, at), bytes.substr(at + 1)};
}

std::vector<std::string_view> SplitFields(std::string_view head, char separator, std::size_t limit)
{
    std::vector<std::string_view> fields;
    while (fields.size() + 1 < limit)
    {
        const std::size_t at = head.find(separator);
        if (at == std::string_view::npos)
            break;
        fields.push_back(head.substr(0, at));
        head.remove_prefix(at + 1);
    }
    fields.push_back(head);
    return fields;
}
} // namespace NSFuzzing
