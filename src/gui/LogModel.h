#pragma once
// The text of the log window, without the window: about the last 10000
// characters of what the bench reported, cut without regard to lines. Each
// piece that comes in ends a line: its line feeds become carriage returns,
// and one more carriage return closes it, so a piece that ends with a line
// feed leaves an empty line behind.
//
// The user interface thread; the pending text that writers on any thread
// append to is foundation/LogText.h.

#include "foundation/Types.h"

#include <cstddef>
#include <filesystem>
#include <string_view>

inline constexpr std::size_t kLogTextLimit = 10000;

class CLogModel
{
public:
    // Appends a piece by the rules above; the oldest characters go when the
    // text would grow past kLogTextLimit.
    void Add(std::u16string_view text);
    void Clear() { fText.clear(); }

    // As kept: carriage returns end the lines.
    const TText16& GetText() const { return fText; }
    // For a view: one line feed between lines, none behind the last.
    TText16 GetLines() const;
    // Writes the lines as UTF-8 (a pair that the cut split is replaced), each ended by a line feed,
    // into a new or emptied file; throws the file's failure (foundation/Exceptions.h).
    void Save(const std::filesystem::path& file) const;

private:
    TText16 fText;
};
