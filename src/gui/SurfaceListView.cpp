#include "gui/SurfaceListView.h"

#include "codec/KinvarCodec.h"
#include "gui/GuiText.h"
#include "gui/QtFlowLayout.h"

#include <QFrame>
#include <QImage>
#include <QLabel>
#include <QPixmap>
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

CSurfaceListView::CSurfaceListView(QWidget* parent) : QScrollArea(parent)
{
    setAccessibleName(QStringLiteral("Surface models"));
    setWidgetResizable(true);
    auto* content = new QWidget(this);
    fRows = new QVBoxLayout(content);
    fEmptyText = new QLabel(ToQString(CSurfaceListModel::GetEmptyListText()), content);
    fEmptyText->setWordWrap(true);
    fEmptyText->setAccessibleName(QStringLiteral("No surface models"));
    fRows->addWidget(fEmptyText);
    fRows->addStretch(1);
    setWidget(content);
}

void CSurfaceListView::Refresh(const TCodecSurfaceList& list)
{
    std::size_t shown = fModel.GetEntries().size();
    if (!fModel.Update(list))
        return;
    // A shorter list starts over: the rows stand between the empty text and
    // the stretch at the end.
    if (fModel.GetEntries().size() < shown)
    {
        for (; shown > 0; --shown)
        {
            QLayoutItem* item = fRows->takeAt(1);
            delete item->widget();
            delete item;
        }
    }
    for (std::size_t i = shown; i < fModel.GetEntries().size(); ++i)
        fRows->insertWidget(fRows->count() - 1, MakeRow(fModel.GetEntries()[i]));
    fEmptyText->setVisible(fModel.GetEntries().empty());
}

QWidget* CSurfaceListView::MakeRow(const TSurfaceEntry& entry)
{
    auto* row = new QFrame(widget());
    row->setFrameShape(QFrame::StyledPanel);
    row->setAccessibleName(ToQString(entry.fTitle));
    auto* flow = new CQtFlowLayout(row);
    if (!entry.fPicture.empty())
        flow->AddWidget(MakePicture(entry, row));
    flow->AddWidget(MakeText(entry, row), 12, 12);
    return row;
}
