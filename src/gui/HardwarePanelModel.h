#pragma once
// What a hardware panel does, without widgets. A user's action on a control
// stands for a host's answer: it changes the item's state, which the hub's
// next output frame gives to the surface. Input from the surface arrives
// decoded and moves the controls. So the panel is both a faked host and a
// monitor.
//
// The model keeps what each control shows; its view (the thin Qt panel,
// gui/HardwarePanel.h) hears of every change and reads it back. It reaches its
// surface through IPanelSurface: in the program that is CPanelSurface, a
// surface that the hub runs for the panel alone and ends with it.
//
// Kept on purpose: a control toggles what is stored, also for an item without
// output; a slider that a value from the surface would move to the position
// that it started at stays where it stands; "Disable all" sends every state
// again with its enabled flag cleared and leaves the stored values alone; and
// the statistics line is brought up to date at every tenth idle step counted
// over all panels together, so that with two panels open one of them may see
// every update.
//
// The user interface thread.

#include "codec/CodecSupport.h"
#include "codec/ItemStates.h"
#include "codec/KinvarCodec.h"
#include "foundation/Types.h"
#include "gui/PanelLayout.h"
#include "host/KinvarHUB.h"
#include "midi/MIDIHub.h"

#include <utility>
#include <vector>

// The operations of the hub of active surfaces (host/KinvarHUB.h) that a panel
// uses, for its one surface.
class IPanelSurface
{
public:
    virtual NSKinvarCodec::TControlSurfaceInfo GetInfo() const = 0;
    virtual u32 GetItemCount() const = 0;
    virtual NSKinvarCodec::TItemInfo GetItemInfo(u32 item) const = 0;
    virtual TText16 GetItemStateName(u32 item, u32 stateIndex) const = 0;
    virtual NSKinvarCodec::TItemState GetItemState(u32 item) const = 0;
    virtual void SetItemState(u32 item, const NSKinvarCodec::TItemState& state) = 0;
    // Frames per second and bytes per second of an output port.
    virtual std::pair<u32, u32> GetOutputTraffic(u32 outPort, i64 milliseconds) const = 0;

protected:
    ~IPanelSurface() = default;
};

// A surface that the hub runs for one panel: started at construction under
// the name "Name" (what CreateActiveControlSurface throws passes on), ended at
// destruction, which first withdraws the listener. A failure while ending is
// a failed assertion only.
class CPanelSurface final : public IPanelSurface
{
public:
    CPanelSurface(CKinvarHUB& hub, const TCodecPtr& codec, const NSKinvarCodec::TControlSurfaceInfo& info,
                  const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                  const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts);
    ~CPanelSurface();
    CPanelSurface(const CPanelSurface&) = delete;
    CPanelSurface& operator=(const CPanelSurface&) = delete;

    // The listener hears the surface's input from now until the end.
    void Listen(IInputListener* listener);
    u32 GetId() const { return fId; }

    NSKinvarCodec::TControlSurfaceInfo GetInfo() const override;
    u32 GetItemCount() const override;
    NSKinvarCodec::TItemInfo GetItemInfo(u32 item) const override;
    TText16 GetItemStateName(u32 item, u32 stateIndex) const override;
    NSKinvarCodec::TItemState GetItemState(u32 item) const override;
    void SetItemState(u32 item, const NSKinvarCodec::TItemState& state) override;
    std::pair<u32, u32> GetOutputTraffic(u32 outPort, i64 milliseconds) const override;

private:
    CKinvarHUB& fHub;
    u32 fId;
    IInputListener* fListener = nullptr;
};

// Told when what a control shows has changed.
class IPanelView
{
public:
    // The controls of item (the keyboard line for a keyboard item); byHardware
    // when input from the surface moved them.
    virtual void IPanelView_ItemChanged(u32 item, bool byHardware) = 0;
    // The statistics line or the "Disable all" box.
    virtual void IPanelView_WindowChanged() = 0;

protected:
    ~IPanelView() = default;
};

// The slider actions, by their codes; each moves the position by the amount.
enum ESliderAction : u32
{
    kSliderStepUp = 214,   // + amount
    kSliderStepDown = 215, // - amount
    kSliderPageUp = 216,   // + a tenth of the range, times amount
    kSliderPageDown = 217, // - a tenth of the range, times amount
    kSliderMoveTo = 218,   // to amount
};

inline constexpr i32 kSliderMaximum = 127;
inline constexpr i32 kDerivedPosition = -1;
inline constexpr i64 kTrafficWindowMs = 1000;
// The statistics run at every this many idle steps of all panels together.
inline constexpr u32 kStatisticsInterval = 10;

// "Note 60 On , Vel 100": key, on or off, velocity, from a keyboard input.
TText16 MakeKeyboardLine(const NSKinvarCodec::TItemInput& input);

class CHardwarePanelModel final : public IInputListener
{
public:
    // Reads the surface's model and items, and fills the starting values.
    explicit CHardwarePanelModel(IPanelSurface& surface);

    void SetView(IPanelView* view) { fView = view; }

    // "Manufacturer, Model".
    TText16 GetTitle() const;
    const NSKinvarCodec::TControlSurfaceInfo& GetSurfaceInfo() const { return fSurfaceInfo; }
    const TItemInfoList& GetItems() const { return fItems; }
    const std::vector<TText16>& GetStateNames(u32 item) const { return fStateNames.at(item); }

    // What the controls show.
    i64 GetValue(u32 item) const { return fValues.at(item); }
    bool IsTicked(u32 item) const { return fValues.at(item) != 0; }
    i32 GetSliderPosition(u32 item) const { return fShownPositions.at(item); }
    const TText16& GetText(u32 item) const { return fTexts.at(item); }
    u32 GetStateIndex(u32 item) const { return fStateIndices.at(item); }
    const TText16& GetKeyboardLine() const { return fKeyboardLine; }
    const TText16& GetTrafficText() const { return fTrafficText; }
    const TText16& GetFramesText() const { return fFramesText; }
    bool IsEnabled() const { return fEnabled; }
    bool IsDisableTicked() const { return fDisableTicked; }
    bool WasTouched(u32 item) const { return fInputSeen.at(item); }

    // The user's actions. An item whose control is of another class is a
    // failed assertion, and nothing happens.
    void ClickCheckBox(u32 item);
    // ticked: the box's new state.
    void ClickDisableAll(bool ticked);
    void SliderAction(u32 item, u32 action, i32 amount);
    void StepUpDown(u32 item, i64 amount);
    void EndTextEditing(u32 item, const TText16& text);
    void ChoosePopupRow(u32 item, u32 row);

    // Input from the surface; an item out of range is a failed assertion.
    void IInputListener_OnInput(const NSKinvarCodec::TItemInput* input) override;

    // The idle step: counter is the one count of all panels; the statistics
    // run when it is a multiple of kStatisticsInterval, and it counts up.
    void Idle(u32& counter);
    // "Disable all" ticked when the states go disabled; the bytes per second
    // of all output ports added up, and the highest frames per second.
    void UpdateStatistics();

private:
    bool IsOfClass(u32 item, NSHardwarePanel::EItemClass itemClass) const;
    void SetValue(u32 item, i64 value);
    void SetSliderValue(u32 item, i64 value, i32 position);
    void SetText(u32 item, const TText16& text);
    i64 StoreValue(u32 item, i64 value);
    void ResendAll();
    void MarkTouched(u32 item);
    void ItemChanged(u32 item, bool byHardware);
    void WindowChanged();

    IPanelSurface& fSurface;
    IPanelView* fView = nullptr;
    NSKinvarCodec::TControlSurfaceInfo fSurfaceInfo;
    TItemInfoList fItems;
    TItemStateNameList fStateNames;
    std::vector<i64> fValues;
    std::vector<u32> fStateIndices;
    // The positions at the start, and the ones shown now.
    std::vector<i32> fSliderPositions;
    std::vector<i32> fShownPositions;
    // Set when an item was touched, by the user or by the hardware; marks
    // that nothing in the workbench reads.
    std::vector<bool> fInputSeen;
    std::vector<bool> fOutputSeen;
    bool fAnyChanged = false;
    std::vector<TText16> fTexts;
    bool fEnabled = true;
    bool fDisableTicked = false;
    TText16 fKeyboardLine;
    TText16 fTrafficText;
    TText16 fFramesText;
};
