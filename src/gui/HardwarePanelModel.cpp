#include "gui/HardwarePanelModel.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <algorithm>
#include <limits>

using namespace NSKinvarCodec;
using NSHardwarePanel::EItemClass;

namespace
{
i64 ClampToItem(const TItemInfo& item, i64 value)
{
    return std::clamp(value, std::min(item.fMin, item.fMax), item.fMax);
}
} // namespace

TText16 MakeKeyboardLine(const TItemInput& input)
{
    // The blank ahead of the comma is the line's own.
    return u"Note " + NSHardwarePanel::DecimalText(input.fValue2) + (input.fValue1 != 0 ? u" On " : u" Off ") + u", Vel " +
           NSHardwarePanel::DecimalText(input.fValue3);
}

// ---- CPanelSurface --------------------------------------------------------------

CPanelSurface::CPanelSurface(CKinvarHUB& hub, const TCodecPtr& codec, const TControlSurfaceInfo& info,
                             const std::vector<NSMIDIHub::CMIDIPortSpec>& inPorts,
                             const std::vector<NSMIDIHub::CMIDIPortSpec>& outPorts)
    : fHub(hub), fId(hub.CreateActiveControlSurface(codec, info, u"Name", inPorts, outPorts))
{
}

CPanelSurface::~CPanelSurface()
{
    try
    {
        if (fListener != nullptr)
            fHub.RemoveInputListener(fId, fListener);
        // The end of the run may have ended it already.
        if (fHub.HasActiveControlSurface(fId))
            fHub.DeleteActiveControlSurface(fId);
    }
    catch (...)
    {
        BF_ASSERT(!"the panel's surface could not be ended");
    }
}

void CPanelSurface::Listen(IInputListener* listener)
{
    fHub.AddInputListener(fId, listener);
    fListener = listener;
}

TControlSurfaceInfo CPanelSurface::GetInfo() const
{
    TControlSurfaceInfo info{};
    fHub.GetControlSurfaceInfo(&info, fId);
    return info;
}

u32 CPanelSurface::GetItemCount() const { return fHub.GetItemCount(fId); }
TItemInfo CPanelSurface::GetItemInfo(u32 item) const { return fHub.GetItemInfo(fId, item); }

TText16 CPanelSurface::GetItemStateName(u32 item, u32 stateIndex) const
{
    return fHub.GetItemStateName(fId, item, stateIndex);
}

TItemState CPanelSurface::GetItemState(u32 item) const { return fHub.GetItemState(fId, item); }

void CPanelSurface::SetItemState(u32 item, const TItemState& state) { fHub.SetItemState(fId, item, state); }

std::pair<u32, u32> CPanelSurface::GetOutputTraffic(u32 outPort, i64 milliseconds) const
{
    return fHub.GetOutputTraffic(fId, outPort, milliseconds);
}

// ---- CHardwarePanelModel ---------------------------------------------------------

CHardwarePanelModel::CHardwarePanelModel(IPanelSurface& surface)
    : fSurface(surface), fSurfaceInfo(surface.GetInfo())
{
    const u32 count = surface.GetItemCount();
    for (u32 item = 0; item < count; ++item)
    {
        fItems.push_back(surface.GetItemInfo(item));
        std::vector<TText16>& names = fStateNames.emplace_back();
        for (u32 state = 0; state < fItems.back().fStateCount; ++state)
            names.push_back(surface.GetItemStateName(item, state));
    }
    fValues.resize(count);
    fStateIndices.resize(count);
    fSliderPositions.resize(count);
    fTexts.resize(count);
    fInputSeen.resize(count);
    fOutputSeen.resize(count);
    for (u32 item = 0; item < count; ++item)
    {
        BF_ASSERT(NSHardwarePanel::ClassifyItem(fItems[item]) != EItemClass::kNone);
        fValues[item] = NSHardwarePanel::InitialValue(fItems[item]);
        if (IsOfClass(item, EItemClass::kSlider))
            fSliderPositions[item] = NSHardwarePanel::SliderPosition(fItems[item], fValues[item]);
    }
    fShownPositions = fSliderPositions;
}

TText16 CHardwarePanelModel::GetTitle() const
{
    return GetRecordText(fSurfaceInfo.fManufacturer) + u", " + GetRecordText(fSurfaceInfo.fModel);
}

bool CHardwarePanelModel::IsOfClass(u32 item, EItemClass itemClass) const
{
    return item < fItems.size() && NSHardwarePanel::ClassifyItem(fItems[item]) == itemClass;
}

i64 CHardwarePanelModel::StoreValue(u32 item, i64 value)
{
    const TItemInfo& info = fItems[item];
    // Items without output send nothing and take any value.
    if (info.fOutputKind != kOutputNone)
    {
        value = ClampToItem(info, value);
        fSurface.SetItemState(item, MakeValueState(info, value, fEnabled, fStateIndices[item]));
    }
    fValues[item] = value;
    return value;
}

void CHardwarePanelModel::SetValue(u32 item, i64 value)
{
    StoreValue(item, value);
}

void CHardwarePanelModel::SetSliderValue(u32 item, i64 value, i32 position)
{
    value = StoreValue(item, value);
    const i32 computed = NSHardwarePanel::SliderPosition(fItems[item], value);
    // Compared with the position at the start, not the one shown.
    if (position == kDerivedPosition)
    {
        if (computed != fSliderPositions[item])
            fShownPositions[item] = computed;
    }
    else
        fShownPositions[item] = position;
}

void CHardwarePanelModel::SetText(u32 item, const TText16& text)
{
    fTexts[item] = text;
    fSurface.SetItemState(item, MakeTextState(fItems[item], text, fEnabled));
}

void CHardwarePanelModel::MarkTouched(u32 item)
{
    fInputSeen[item] = true;
    fAnyChanged = true;
}

void CHardwarePanelModel::ItemChanged(u32 item, bool byHardware)
{
    if (fView != nullptr)
        fView->IPanelView_ItemChanged(item, byHardware);
}

void CHardwarePanelModel::WindowChanged()
{
    if (fView != nullptr)
        fView->IPanelView_WindowChanged();
}

void CHardwarePanelModel::ClickCheckBox(u32 item)
{
    BF_ASSERT(IsOfClass(item, EItemClass::kCheckBox));
    if (!IsOfClass(item, EItemClass::kCheckBox))
        return;
    SetValue(item, fValues[item] == 1 ? 0 : 1);
    MarkTouched(item);
    ItemChanged(item, false);
}

void CHardwarePanelModel::ClickDisableAll(bool ticked)
{
    fDisableTicked = ticked;
    fEnabled = !fEnabled;
    ResendAll();
    UpdateStatistics();
}

void CHardwarePanelModel::SliderAction(u32 item, u32 action, i32 amount)
{
    if (!IsOfClass(item, EItemClass::kSlider))
        return;
    const i64 position = fShownPositions[item];
    const i64 step = std::max(kSliderMaximum / 10, 1);
    i64 moved = position;
    switch (action)
    {
    case kSliderStepUp:
        moved = position + amount;
        break;
    case kSliderStepDown:
        moved = position - amount;
        break;
    case kSliderPageUp:
        moved = position + step * amount;
        break;
    case kSliderPageDown:
        moved = position - step * amount;
        break;
    case kSliderMoveTo:
        moved = amount;
        break;
    }
    // The value follows the position before it is clamped; setting it clamps.
    const TItemInfo& info = fItems[item];
    const __int128 value = static_cast<__int128>(moved) * (static_cast<__int128>(info.fMax) - info.fMin) /
                               kSliderMaximum +
                           info.fMin;
    SetSliderValue(item,
                   static_cast<i64>(std::clamp<__int128>(value, std::numeric_limits<i64>::min(),
                                                         std::numeric_limits<i64>::max())),
                   static_cast<i32>(std::clamp<i64>(moved, 0, kSliderMaximum)));
    MarkTouched(item);
    ItemChanged(item, false);
}

void CHardwarePanelModel::StepUpDown(u32 item, i64 amount)
{
    BF_ASSERT(IsOfClass(item, EItemClass::kRotary));
    if (!IsOfClass(item, EItemClass::kRotary))
        return;
    SetValue(item, fValues[item] + amount);
    MarkTouched(item);
    ItemChanged(item, false);
}

void CHardwarePanelModel::EndTextEditing(u32 item, const TText16& text)
{
    BF_ASSERT(IsOfClass(item, EItemClass::kText));
    if (!IsOfClass(item, EItemClass::kText))
        return;
    SetText(item, text);
    MarkTouched(item);
    ItemChanged(item, false);
}

void CHardwarePanelModel::ChoosePopupRow(u32 item, u32 row)
{
    BF_ASSERT(item < fItems.size() && fItems[item].fStateCount > 0);
    if (item >= fItems.size() || fItems[item].fStateCount == 0)
        return;
    TItemState state = fSurface.GetItemState(item);
    state.fStateIndex = row;
    fSurface.SetItemState(item, state);
    fStateIndices[item] = row;
    MarkTouched(item);
    ItemChanged(item, false);
}

void CHardwarePanelModel::IInputListener_OnInput(const TItemInput* input)
{
    BF_ASSERT(input != nullptr && input->fItemIndex < fItems.size());
    if (input == nullptr || input->fItemIndex >= fItems.size())
        return;
    const u32 item = input->fItemIndex;
    switch (fItems[item].fInputKind)
    {
    case kInputButton:
        // A press toggles; a release changes nothing.
        if (input->fValue1 != 1)
            return;
        SetValue(item, fValues[item] == 0 ? 1 : 0);
        break;
    case kInputValue:
        SetSliderValue(item, input->fValue1, kDerivedPosition);
        break;
    case kInputDelta:
        SetValue(item, fValues[item] + input->fValue1);
        break;
    case kInputKeyboard:
        // Never touches the stored values.
        fKeyboardLine = MakeKeyboardLine(*input);
        ItemChanged(item, true);
        return;
    default:
        return;
    }
    MarkTouched(item);
    ItemChanged(item, true);
}

void CHardwarePanelModel::ResendAll()
{
    for (u32 item = 0; item < fItems.size(); ++item)
    {
        switch (NSHardwarePanel::ClassifyItem(fItems[item]))
        {
        case EItemClass::kCheckBox:
        case EItemClass::kRotary:
            SetValue(item, fValues[item]);
            break;
        case EItemClass::kSlider:
            SetSliderValue(item, fValues[item], kDerivedPosition);
            break;
        case EItemClass::kText:
            SetText(item, fTexts[item]);
            break;
        default:
            continue;
        }
        ItemChanged(item, false);
    }
}

void CHardwarePanelModel::Idle(u32& counter)
{
    if (counter % kStatisticsInterval == 0)
        UpdateStatistics();
    ++counter;
}

void CHardwarePanelModel::UpdateStatistics()
{
    if (!fEnabled)
        fDisableTicked = true;
    u64 bytes = 0;
    u32 frames = 0;
    for (u32 port = 0; port < fSurfaceInfo.fOutPortCount; ++port)
    {
        const auto [portFrames, portBytes] = fSurface.GetOutputTraffic(port, kTrafficWindowMs);
        bytes += portBytes;
        frames = std::max(frames, portFrames);
    }
    fTrafficText = NSHardwarePanel::DecimalText(static_cast<i64>(bytes));
    fFramesText = NSHardwarePanel::DecimalText(frames);
    WindowChanged();
}
