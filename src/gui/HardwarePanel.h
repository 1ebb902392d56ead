#pragma once
// The hardware panel of one running surface, titled "Manufacturer, Model":
// one set of controls for each item (check boxes, vertical sliders of 0 to
// 127, up/down buttons with their number, one-line text fields, popups of
// named states, the keyboard line) below the statistics line ("Disable all",
// MIDI bytes/s, frames/s). What the controls do and show is the model's
// (gui/HardwarePanelModel.h); where they stand is the layout's
// (gui/PanelLayout.h), worked out again whenever the window changes size. A
// surface too big for the window scrolls.
//
// Each item's control carries the item's name as its accessible name and its
// value as its accessible value, and a tooltip with the item's kinds, range
// and named states. A control that input from the hardware moved glows
// briefly, fading within a second, so that one sees which item a knob
// reached.
//
// The panel owns its surface: closing it (it deletes itself) ends the
// surface. The user interface thread.

#include "gui/HardwarePanelModel.h"
#include "gui/PanelLayout.h"
#include "gui/PanelWidgets.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QMainWindow>

#include <map>
#include <memory>
#include <set>
#include <utility>

class QScrollArea;

class CHardwarePanel final : public QMainWindow, public IPanelView
{
    Q_OBJECT

public:
    // Takes over surface; listens to its input from here on.
    explicit CHardwarePanel(std::unique_ptr<CPanelSurface> surface, QWidget* parent = nullptr);
    ~CHardwarePanel() override;

    const CHardwarePanelModel& GetModel() const { return fModel; }
    u32 GetSurfaceId() const { return fSurface->GetId(); }
    // The idle step; counter is the one count of all panels.
    void Idle(u32& counter);
    // The widget of a view of item (kNoItem for the window's own); null when
    // there is none.
    QWidget* GetView(NSHardwarePanel::EPanelView view, u32 item = NSHardwarePanel::kNoItem) const;
    // Whether the control of item glows now.
    bool IsHighlighted(u32 item) const;

    void IPanelView_ItemChanged(u32 item, bool byHardware) override;
    void IPanelView_WindowChanged() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Coming to the front brings the menus up to date.
    void changeEvent(QEvent* event) override;

private:
    class CCanvas;
    using TViewKey = std::pair<NSHardwarePanel::EPanelView, u32>;

    template <class Widget> Widget* Add(NSHardwarePanel::EPanelView view, u32 item, Widget* widget);
    void MakeStatisticsLine();
    void MakeItemControls(u32 item);
    void MakeKeyboard(u32 item);
    void MakeSlider(u32 item);
    void MakeRotary(u32 item);
    void MakeStatePopup(u32 item);
    TValueSource ValueOf(u32 item);
    void LayOut();
    void Place(QWidget& widget, const NSHardwarePanel::TPlacement& place);
    void ShowItem(u32 item);
    NSHardwarePanel::TPanelCell CellOf(u32 item) const;
    void ShowMoved();
    void Fade();

    std::unique_ptr<CPanelSurface> fSurface;
    CHardwarePanelModel fModel;
    QScrollArea* fScroll;
    CCanvas* fCanvas;
    std::map<TViewKey, QWidget*> fViews;
    // The layout's cells of the items, for their glow.
    NSHardwarePanel::TPanelFlow fFlow;
    // Items that the hardware moved since the last refresh.
    std::set<u32> fMoved;
    QTimer fRefreshTimer;
    std::map<u32, QElapsedTimer> fGlowing;
    QTimer fFadeTimer;
};
