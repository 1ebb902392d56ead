#include "gui/SelectionDialog.h"

#include "foundation/Alert.h"
#include "gui/GuiText.h"
#include "gui/TextStyle.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

namespace
{
const QSize kDialogSize(780, 530);
constexpr int kFirstPortRowTop = 75;
constexpr int kPortRowPitch = 25;
constexpr int kInColumn = 10;
constexpr int kOutColumn = 360;
constexpr int kLabelWidth = 120;
constexpr int kPortPopupWidth = 200;

// A static text at (left, top, right, bottom).
QLabel* MakeText(const QString& caption, const char* viewName, QRect place, QWidget* parent)
{
    auto* label = new QLabel(caption, parent);
    label->setObjectName(QLatin1String(viewName));
    ApplyTextStyle(*label, kDialogTextStyle);
    // A port's own name may be longer than its 120 pixels: it takes a second line.
    label->setWordWrap(true);
    label->setGeometry(place);
    return label;
}

// A popup at left and top, with a width; its height is its own.
QComboBox* MakePopup(const char* viewName, int left, int top, int width, QWidget* parent)
{
    auto* popup = new QComboBox(parent);
    popup->setObjectName(QLatin1String(viewName));
    popup->setGeometry(left, top, width, popup->sizeHint().height());
    return popup;
}

QRect Span(int left, int top, int right, int bottom)
{
    return QRect(QPoint(left, top), QPoint(right - 1, bottom - 1));
}

void AddRows(QComboBox& popup, const std::vector<TText16>& rows)
{
    for (const TText16& row : rows)
        popup.addItem(ToQString(row));
}
} // namespace

CSelectionDialog::CSelectionDialog(const TCodecSurfaceList& surfaces, NSMIDIHub::CMIDIHub& hub,
                                   TChosen chosen, QWidget* parent)
    : QDialog(parent), fSurfaces(surfaces), fHub(hub), fChosen(std::move(chosen)),
      fModel(surfaces, hub.GetInPorts(), hub.GetOutPorts())
{
    setAttribute(Qt::WA_DeleteOnClose);
    setModal(false);
    setWindowTitle(QStringLiteral("Select Control Surface"));
    setAccessibleName(windowTitle());
    setFixedSize(kDialogSize);

    QLabel* title = MakeText(QStringLiteral("Control Surface:"), "fCodecTitle", Span(10, 10, 130, 30), this);
    fSurfacePopup = MakePopup("fSurfacePopup", 130, 10, 300, this);
    title->setBuddy(fSurfacePopup);
    fSurfacePopup->setAccessibleName(QStringLiteral("Control Surface"));
    AddRows(*fSurfacePopup, fModel.GetSurfaceRows());

    MakeText(QStringLiteral("MIDI In Ports:"), "fMIDIInPortTitle", Span(10, 50, 250, 70), this);
    MakePortRows(kInColumn, fModel.GetInPortRows(), fInLabels, fInPopups);
    MakeText(QStringLiteral("MIDI Out Ports:"), "fMIDIOutPortTitle", Span(360, 50, 540, 70), this);
    MakePortRows(kOutColumn, fModel.GetOutPortRows(), fOutLabels, fOutPopups);

    auto* choose = new QPushButton(QStringLiteral("Choose"), this);
    choose->setObjectName(QStringLiteral("fChooseButton"));
    choose->setAccessibleName(QStringLiteral("Choose"));
    choose->setGeometry(300, 500, 90, choose->sizeHint().height());
    choose->setDefault(true);

    connect(fSurfacePopup, &QComboBox::currentIndexChanged, this,
            [this](int row) { GuardWindowCallback([&] { ShowSurface(row); }); });
    connect(choose, &QPushButton::clicked, this, [this] { GuardWindowCallback([this] { Choose(); }); });
    ShowSurface(0);
}

void CSelectionDialog::MakePortRows(int left, const std::vector<TText16>& rows, std::vector<QLabel*>& labels,
                                    std::vector<QComboBox*>& popups)
{
    const bool in = left == kInColumn;
    for (u32 i = 0; i < kPortRowCount; ++i)
    {
        const int top = kFirstPortRowTop + kPortRowPitch * static_cast<int>(i);
        labels.push_back(MakeText(in ? QStringLiteral("In") : QStringLiteral("Out"),
                                  in ? "fMIDIInPortName" : "fMIDIOutPortName",
                                  Span(left, top, left + kLabelWidth, top + kPortRowPitch), this));
        popups.push_back(MakePopup(in ? "fMIDIInPortPopup" : "fMIDIOutPortPopup", left + kLabelWidth, top,
                                   kPortPopupWidth, this));
        AddRows(*popups.back(), rows);
        // The label names the popup for screen readers, which give a popup's
        // current row as its name.
        labels.back()->setBuddy(popups.back());
    }
}

void CSelectionDialog::ShowSurface(int row)
{
    if (row < 0)
        return;
    fModel.SelectSurface(static_cast<u32>(row));
    for (u32 i = 0; i < kPortRowCount; ++i)
    {
        const QString inLabel = ToQString(fModel.GetInLabels()[i]);
        const QString outLabel = ToQString(fModel.GetOutLabels()[i]);
        fInLabels[i]->setText(inLabel);
        fOutLabels[i]->setText(outLabel);
        fInLabels[i]->setToolTip(inLabel);
        fOutLabels[i]->setToolTip(outLabel);
        fInPopups[i]->setAccessibleName(inLabel);
        fOutPopups[i]->setAccessibleName(outLabel);
        fInPopups[i]->setVisible(i < fModel.GetShownInCount());
        fOutPopups[i]->setVisible(i < fModel.GetShownOutCount());
    }
}

void CSelectionDialog::Choose()
{
    std::array<u32, kPortRowCount> inRows{};
    std::array<u32, kPortRowCount> outRows{};
    for (u32 i = 0; i < kPortRowCount; ++i)
    {
        inRows[i] = static_cast<u32>(std::max(fInPopups[i]->currentIndex(), 0));
        outRows[i] = static_cast<u32>(std::max(fOutPopups[i]->currentIndex(), 0));
    }
    const u32 surfaceRow = static_cast<u32>(std::max(fSurfacePopup->currentIndex(), 0));
    if (fChosen(CSelectionDialogModel::Choose(fSurfaces, surfaceRow, inRows, outRows, fHub.GetInPorts(),
                                              fHub.GetOutPorts())))
        close();
}
