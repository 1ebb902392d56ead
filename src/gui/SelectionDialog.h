#pragma once
// The dialog "Select Control Surface", 780 by 530 (gui/SelectionDialogModel.h
// holds its rows and rules): the surface popup, 16 rows of input ports and 16
// of output ports labelled with the model's port names, and "Choose". Its
// views stand at fixed places. Each port popup is named after its label for
// screen readers and automation tools.
//
// Modeless; the workbench keeps at most one. "Choose" reads the port lists
// of the hub anew, hands the choice on, and closes the dialog; a choice that
// fails (a port that won't open) leaves it open. It deletes itself when
// closed. The user interface thread.

#include "gui/SelectionDialogModel.h"

#include <QDialog>

#include <functional>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;

class CSelectionDialog final : public QDialog
{
    Q_OBJECT

public:
    // Takes the choice; false when it failed, and the dialog stays open.
    using TChosen = std::function<bool(const TSurfaceChoice&)>;

    // Throws as CSelectionDialogModel does when surfaces is empty. surfaces and
    // hub must outlive the dialog.
    CSelectionDialog(const TCodecSurfaceList& surfaces, NSMIDIHub::CMIDIHub& hub, TChosen chosen,
                     QWidget* parent = nullptr);

    const CSelectionDialogModel& GetModel() const { return fModel; }
    QComboBox* GetSurfacePopup() const { return fSurfacePopup; }
    QComboBox* GetInPortPopup(u32 row) const { return fInPopups.at(row); }
    QComboBox* GetOutPortPopup(u32 row) const { return fOutPopups.at(row); }

    // What "Choose" does.
    void Choose();

private:
    void MakePortRows(int left, const std::vector<TText16>& rows, std::vector<QLabel*>& labels,
                      std::vector<QComboBox*>& popups);
    void ShowSurface(int row);

    const TCodecSurfaceList& fSurfaces;
    NSMIDIHub::CMIDIHub& fHub;
    TChosen fChosen;
    CSelectionDialogModel fModel;
    QComboBox* fSurfacePopup;
    std::vector<QLabel*> fInLabels;
    std::vector<QComboBox*> fInPopups;
    std::vector<QLabel*> fOutLabels;
    std::vector<QComboBox*> fOutPopups;
};
