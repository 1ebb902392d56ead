#pragma once
// What the fuzz targets share: how they treat failed assertions, how they
// turn input bytes into the text a reader would get, and the properties they
// prove beyond "no crash".

#include "foundation/Types.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace NSFuzzing
{
// Bad input may fail an assertion on its way to a refusal: in the workbench
// and the check tool that is a report and the program goes on. The targets
// do the same, without the report, and count them.
void InstallQuietAssertions();
u64 GetAssertionCount();

// The input as a file's bytes.
std::string_view BytesOf(const u8* data, std::size_t size);
// The input as a reader receives a file: UTF-8, each malformed sequence
// replaced, so the readers see every character they may meet in a file.
TText16 TextOf(std::string_view bytes);

// A property that must hold whatever the input: a violation aborts with the
// description, which libFuzzer records as a crash together with the input.
void Require(bool condition, const char* what);

// The input split at the first occurrence of separator: the part before it
// and the rest behind it (the rest is empty without a separator).
struct TSplit
{
    std::string_view fHead;
    std::string_view fRest;
};
TSplit SplitAt(std::string_view bytes, char separator);

// head split at every separator, at most limit parts; the last part keeps
// the remaining separators.
std::vector<std::string_view> SplitFields(std::string_view head, char separator, std::size_t limit);
} // namespace NSFuzzing
