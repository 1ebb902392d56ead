#include "gui/LogModel.h"

#include "foundation/DiagnosticText.h"
#include "foundation/FileHandling.h"

#include <algorithm>

void CLogModel::Add(std::u16string_view text)
{
    const std::size_t start = fText.size();
    fText += text;
    std::replace(fText.begin() + static_cast<std::ptrdiff_t>(start), fText.end(), u'\n', u'\r');
    if (fText.size() > kLogTextLimit)
        fText.erase(0, fText.size() - kLogTextLimit);
    fText += u'\r';
}

TText16 CLogModel::GetLines() const
{
    TText16 lines = fText;
    if (!lines.empty() && lines.back() == u'\r')
        lines.pop_back();
    std::replace(lines.begin(), lines.end(), u'\r', u'\n');
    return lines;
}

void CLogModel::Save(const std::filesystem::path& file) const
{
    TText16 lines = fText;
    std::replace(lines.begin(), lines.end(), u'\r', u'\n');
    const std::string bytes = UTF8FromText16Lenient(lines);
    NSHarbryUtils::COpenFile out(file, NSHarbryUtils::COpenFile::EMode::kCreate);
    out.WriteAt(0, static_cast<u32>(bytes.size()), bytes.data());
}
