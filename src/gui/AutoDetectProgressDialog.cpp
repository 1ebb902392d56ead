#include "gui/AutoDetectProgressDialog.h"

#include "codec/CodecSupport.h"
#include "foundation/Assert.h"
#include "foundation/TextPackage.h"
#include "gui/GuiText.h"

#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace
{
constexpr int kDialogWidth = 360;
constexpr int kGap = 6;

QLabel* MakeText(const char* view, const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(view));
    label->setAccessibleName(text.isEmpty() ? QStringLiteral("Control surface") : text);
    return label;
}
} // namespace

CAutoDetectProgressDialog::CAutoDetectProgressDialog(IVistal& vistal, QWidget* over)
    : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint),
      fVistal(vistal)
{
    setObjectName(QStringLiteral("AutoDetectProgressDialog"));
    setWindowTitle(QStringLiteral("Auto-detect"));
    setAccessibleName(windowTitle());
    setWindowModality(Qt::ApplicationModal);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(MakeText("fControlSurfaceTitleView",
                               QStringLiteral("Checking for Control Surface:"), this));
    fControlSurfaceTextView = MakeText("fControlSurfaceTextView", QString(), this);
    layout->addWidget(fControlSurfaceTextView);
    layout->addSpacing(kGap);
    layout->addWidget(MakeText("fProgressTitleView", QStringLiteral("Progress:"), this));
    fProgressView = new QProgressBar(this);
    fProgressView->setObjectName(QStringLiteral("fProgressView"));
    fProgressView->setAccessibleName(QStringLiteral("Progress"));
    fProgressView->setRange(0, kBarEnd);
    fProgressView->setTextVisible(false);
    layout->addWidget(fProgressView);
    setFixedWidth(kDialogWidth);
    adjustSize();
    if (over != nullptr)
        move(over->frameGeometry().center() - rect().center());
    show();
}

CAutoDetectProgressDialog::~CAutoDetectProgressDialog() = default;

int CAutoDetectProgressDialog::GetBarValue() const
{
    return fProgressView->maximum() == 0 ? -1 : fProgressView->value();
}

QString CAutoDetectProgressDialog::GetSurfaceText() const
{
    return fControlSurfaceTextView->text();
}

void CAutoDetectProgressDialog::Close()
{
    fClosing = true;
    close();
}

void CAutoDetectProgressDialog::closeEvent(QCloseEvent* event)
{
    if (fClosing)
        event->accept();
    else
        event->ignore();
}

void CAutoDetectProgressDialog::SetSurfaceText(const TText16& text)
{
    fControlSurfaceTextView->setText(DisplayText(text));
}

void CAutoDetectProgressDialog::ProcessPendingEvents()
{
    ThrowVistalResult(fVistal.IVistal_Yield());
}

void CAutoDetectProgressDialog::IAutoDetectProgress_OnBegin()
{
    // A range of nothing is Qt's busy bar.
    fProgressView->setRange(0, 0);
    SetSurfaceText(u"Scanning for installed drivers");
    ProcessPendingEvents();
}

void CAutoDetectProgressDialog::IAutoDetectProgress_OnModelCount(u32 count)
{
    fTotal = count;
    fProgressView->setRange(0, kBarEnd);
    fProgressView->setValue(0);
    ProcessPendingEvents();
}

void CAutoDetectProgressDialog::IAutoDetectProgress_OnModelBegin(
    u32, const NSKinvarCodec::TControlSurfaceInfo& info)
{
    SetSurfaceText(NSTextPackage::SubstituteParameters(
        fSurfaceTextScript, 0, {GetRecordText(info.fManufacturer), GetRecordText(info.fModel)}));
    ProcessPendingEvents();
}

void CAutoDetectProgressDialog::IAutoDetectProgress_OnSurfaceFound(
    u32, const NSKinvarSetupUtils::VDetectedKinvarControlSurface&)
{
    ProcessPendingEvents();
}

void CAutoDetectProgressDialog::IAutoDetectProgress_OnModelEnd(
    u32 index, const NSKinvarCodec::TControlSurfaceInfo&)
{
    // The count comes first in every run; without it there is no bar to move.
    BF_ASSERT(fTotal != 0);
    if (fTotal != 0)
        fProgressView->setValue(static_cast<int>((index + 1) * kBarEnd / fTotal));
    SetSurfaceText(TText16());
    ProcessPendingEvents();
}

void CAutoDetectProgressDialog::IAutoDetectProgress_OnEnd()
{
    SetSurfaceText(u"Finishing.");
    ProcessPendingEvents();
}
