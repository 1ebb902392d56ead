#include "gui/TextStyle.h"

#include <QLabel>

namespace
{
constexpr int kPixelsAboveSize = 2;
}

void ApplyTextStyle(QLabel& label, TTextStyle style)
{
    QFont font = label.font();
    font.setPixelSize(static_cast<int>(style.fSize) + kPixelsAboveSize);
    label.setFont(font);
    label.setAlignment(((style.fFlags & 1) != 0 ? Qt::AlignHCenter : Qt::AlignLeft) | Qt::AlignTop);
}
