#include "gui/GuiText.h"

#include <QFile>

#include <algorithm>

QString ToQString(std::u16string_view text)
{
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

TText16 FromQString(const QString& text)
{
    return TText16(reinterpret_cast<const char16*>(text.utf16()),
                   static_cast<std::size_t>(text.size()));
}

TText16 NormalizeLineEnds(std::u16string_view text)
{
    TText16 result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            ++i;
        result += text[i] == u'\r' || text[i] == u'\n' ? kParagraphSeparator : text[i];
    }
    return result;
}

QString DisplayText(std::u16string_view text)
{
    TText16 normal = NormalizeLineEnds(text);
    std::replace(normal.begin(), normal.end(), kParagraphSeparator, u'\n');
    return ToQString(normal);
}

QString EscapeMnemonics(const QString& text)
{
    QString escaped = text;
    return escaped.replace(QLatin1Char('&'), QLatin1String("&&"));
}

std::filesystem::path ToPath(const QString& file)
{
    return std::filesystem::path(QFile::encodeName(file).toStdString());
}

QString FromPath(const std::filesystem::path& file)
{
    return QFile::decodeName(QByteArray::fromStdString(file.string()));
}
