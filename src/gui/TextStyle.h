#pragma once
// The two style numbers of a static text, size and flags, as the workbench's
// windows give them, on Qt: the size is the font's size in pixels less 2, so
// that 7 (statistics, dialog texts) and 9 (names of items) read small and
// plain; an odd flags word centres the text in its place (335 beside 334).
// The user interface thread.

#include "foundation/Types.h"

class QLabel;

struct TTextStyle
{
    u32 fSize;
    u32 fFlags;
};

inline constexpr TTextStyle kDialogTextStyle{7, 334};

void ApplyTextStyle(QLabel& label, TTextStyle style);
