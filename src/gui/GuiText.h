#pragma once
// Texts between the workbench and Qt. Both speak UTF-16; on our side a line
// break inside displayed text is U+2029, and an underscore or ampersand in a
// label must not turn into a mnemonic.

#include "foundation/Types.h"

#include <QString>

#include <filesystem>
#include <string_view>

QString ToQString(std::u16string_view text);
TText16 FromQString(const QString& text);

// LF, CR and CR LF each become one U+2029.
TText16 NormalizeLineEnds(std::u16string_view text);
// The text as Qt's labels and message boxes show it: line ends normalised,
// each U+2029 a line feed.
QString DisplayText(std::u16string_view text);
// Doubles each '&', which Qt's menus and buttons read as the mark of a
// mnemonic, so that a label shows as written.
QString EscapeMnemonics(const QString& text);

std::filesystem::path ToPath(const QString& file);
QString FromPath(const std::filesystem::path& file);
