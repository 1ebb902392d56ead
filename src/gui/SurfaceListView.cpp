#include "gui/SurfaceListView.h"

#include "codec/KinvarCodec.h"
#include "gui/GuiText.h"
#include "gui/QtFlowLayout.h"

#include <QFrame>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QScrollArea>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace
{
constexpr int kTextWidth = 480;

QLabel* MakePicture(const TSurfaceEntry& entry, QWidget* parent)
{
    const QImage image(reinterpret_cast<const uchar*>(entry.fPicture.data()),
                       NSKinvarCodec::kPictureWidth, NSKinvarCodec::kPictureHeight,
                       QImage::Format_RGBA8888);
    auto* picture = new QLabel(parent);
    picture->setPixmap(QPixmap::fromImage(image.copy()));
    picture->setFixedSize(NSKinvarCodec::kPictureWidth, NSKinvarCodec::kPictureHeight);
    picture->setAccessibleName(QStringLiteral("Picture of %1").arg(ToQString(entry.fTitle)));
    return picture;
}

QLabel* MakeText(const TSurfaceEntry& entry, QWidget* parent)
{
    QString html = QStringLiteral("<b>%1</b>").arg(ToQString(entry.fTitle).toHtmlEscaped());
    QString plain;
    for (const TText16& line : entry.fLines)
    {
        html += QStringLiteral("<br>") +
                DisplayText(line).toHtmlEscaped().replace(QLatin1Char('\n'), "<br>");
        plain += DisplayText(line) + QLatin1Char('\n');
    }
    auto* text = new QLabel(html, parent);
    text->setTextFormat(Qt::RichText);
    text->setWordWrap(true);
    text->setFixedWidth(kTextWidth);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text->setAccessibleName(ToQString(entry.fTitle));
    text->setAccessibleDescription(plain.trimmed());
    return text;
}
} // namespace

CSurfaceListView::CSurfaceListView(QWidget* parent) : QWidget(parent)
{
    setAccessibleName(QStringLiteral("Surface models"));
    auto* emptyText = new QLabel(ToQString(CSurfaceListModel::GetEmptyListText()), this);
    emptyText->setWordWrap(true);
    emptyText->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    emptyText->setMargin(9);
    emptyText->setAccessibleName(QStringLiteral("No surface models"));
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setAccessibleName(QStringLiteral("Surface model list"));
    auto* content = new QWidget(scroll);
    fRows = new QVBoxLayout(content);
    fRows->addStretch(1);
    scroll->setWidget(content);
    fPages = new QStackedLayout(this);
    fPages->addWidget(emptyText);
    fPages->addWidget(scroll);
}

void CSurfaceListView::Refresh(const TCodecSurfaceList& list)
{
    std::size_t shown = fModel.GetEntries().size();
    if (!fModel.Update(list))
        return;
    // A shorter list starts over: the rows stand before the stretch at the end.
    if (fModel.GetEntries().size() < shown)
    {
        for (; shown > 0; --shown)
        {
            QLayoutItem* item = fRows->takeAt(0);
            delete item->widget();
            delete item;
        }
    }
    for (std::size_t i = shown; i < fModel.GetEntries().size(); ++i)
        fRows->insertWidget(fRows->count() - 1, MakeRow(fModel.GetEntries()[i]));
    fPages->setCurrentIndex(fModel.GetEntries().empty() ? 0 : 1);
}

QWidget* CSurfaceListView::MakeRow(const TSurfaceEntry& entry)
{
    auto* row = new QFrame;
    row->setFrameShape(QFrame::StyledPanel);
    row->setAccessibleName(ToQString(entry.fTitle));
    auto* flow = new CQtFlowLayout(row);
    if (!entry.fPicture.empty())
        flow->AddWidget(MakePicture(entry, row));
    flow->AddWidget(MakeText(entry, row), 12, 12);
    return row;
}
