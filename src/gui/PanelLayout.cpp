#include "gui/PanelLayout.h"

#include "foundation/Assert.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

using namespace NSKinvarCodec;

namespace NSHardwarePanel
{
namespace
{
struct TViewTraits
{
    std::string_view fName;
    EWidgetKind fKind;
    TTextStyle fStyle;
};

constexpr TTextStyle kStatisticsStyle{7, 334};
constexpr TTextStyle kItemNameStyle{9, 335};
constexpr TTextStyle kSmallNameStyle{7, 335};
constexpr TTextStyle kNoStyle{0, 0};

// In the order of EPanelView.
constexpr std::array<TViewTraits, 17> kViews = {{
    {"fDisableCheckBox", EWidgetKind::kCheckBox, kNoStyle},
    {"fMIDITrafficTitle", EWidgetKind::kStaticText, kStatisticsStyle},
    {"fMIDITrafficText", EWidgetKind::kStaticText, kStatisticsStyle},
    {"fFramesTitle", EWidgetKind::kStaticText, kStatisticsStyle},
    {"fFramesText", EWidgetKind::kStaticText, kStatisticsStyle},
    {"fCheckBoxViews", EWidgetKind::kCheckBox, kNoStyle},
    {"fCheckBoxTexts", EWidgetKind::kStaticText, kItemNameStyle},
    {"fSliderViews", EWidgetKind::kSlider, kNoStyle},
    {"fSliderTexts", EWidgetKind::kStaticText, kItemNameStyle},
    {"fRotaryButtons", EWidgetKind::kUpDownButton, kNoStyle},
    {"fRotaryTexts", EWidgetKind::kStaticText, kItemNameStyle},
    {"fRotaryTexts", EWidgetKind::kStaticText, kItemNameStyle},
    {"fTextViews", EWidgetKind::kTextField, kNoStyle},
    {"fTextTexts", EWidgetKind::kStaticText, kSmallNameStyle},
    {"fKeyboardView", EWidgetKind::kStaticText, kSmallNameStyle},
    {"fKeyboardText", EWidgetKind::kStaticText, kSmallNameStyle},
    {"Modes", EWidgetKind::kPopup, kNoStyle},
}};

const TViewTraits& TraitsOf(EPanelView view)
{
    return kViews.at(static_cast<std::size_t>(view));
}

struct TSize
{
    double fWidth;
    double fHeight;
};

constexpr TSize kKeyboardSize{200, 90};
constexpr double kItemGap = 10;
constexpr double kPopupWidth = 70;
constexpr double kPopupHeight = 16;

TSize SizeOf(EItemClass itemClass)
{
    switch (itemClass)
    {
    case EItemClass::kCheckBox:
        return {53, 40};
    case EItemClass::kSlider:
        return {53, 119};
    case EItemClass::kRotary:
        return {53, 44};
    case EItemClass::kText:
        return {200, 16};
    default:
        return {0, 0};
    }
}

bool SpansAtLeast(const TItemInfo& item, u64 steps)
{
    return item.fMax > item.fMin && static_cast<u64>(item.fMax) - static_cast<u64>(item.fMin) >= steps;
}

TPanelControl Full(EPanelView view, u32 item, double left, double top, double right, double bottom,
                   TText16 caption = {})
{
    return {view, item, {left, top, right - left, bottom - top}, std::move(caption)};
}

TPanelControl At(EPanelView view, u32 item, double left, double top,
                 std::optional<double> width = {}, std::optional<double> height = {})
{
    return {view, item, {left, top, width, height}, {}};
}

void PlaceKeyboard(const TPanelCell& cell, std::vector<TPanelControl>& controls)
{
    const auto [x, y, w, h, rowHeight, placed] = cell;
    controls.push_back(Full(EPanelView::kKeyboardTitle, kNoItem, x, y, x + w - 6, y + 12, u"Keyboard"));
    controls.push_back(Full(EPanelView::kKeyboardLine, kNoItem, x, y + 16, x + w - 6, y + h));
}

void PlaceItem(const TItemInfo& item, u32 index, const TPanelCell& cell,
               std::vector<TPanelControl>& controls)
{
    const auto [x, y, w, h, rowHeight, placed] = cell;
    const TText16 name = GetRecordText(item.fName);
    switch (ClassifyItem(item))
    {
    case EItemClass::kCheckBox:
        controls.push_back(At(EPanelView::kCheckBox, index, x + 15, y, w - 18));
        controls.push_back(Full(EPanelView::kCheckBoxName, index, x, y + 22, x + w - 3, y + 38, name));
        break;
    case EItemClass::kSlider:
        controls.push_back(At(EPanelView::kSlider, index, x + 15, y, {}, h - 19));
        controls.push_back(Full(EPanelView::kSliderName, index, x, y + 101, x + w - 3, y + 116, name));
        break;
    case EItemClass::kRotary:
        controls.push_back(At(EPanelView::kRotaryButton, index, x, y));
        controls.push_back(Full(EPanelView::kRotaryNumber, index, x + 12, y, x + w - 3, y + 16,
                                DecimalText(InitialValue(item))));
        controls.push_back(Full(EPanelView::kRotaryName, index, x, y + 24, x + w - 3, y + 40, name));
        break;
    case EItemClass::kText:
        controls.push_back(Full(EPanelView::kTextName, index, x, y, x + 60, y + h, name));
        controls.push_back(At(EPanelView::kTextField, index, x + 74, y));
        break;
    default:
        break;
    }
}
} // namespace

EItemClass ClassifyItem(const TItemInfo& item)
{
    const bool outputOnly = item.fInputKind == kInputNone;
    if (item.fInputKind == kInputButton ||
        (outputOnly && item.fOutputKind == kOutputValue && item.fMin == 0 && item.fMax == 1))
        return EItemClass::kCheckBox;
    if (item.fInputKind == kInputValue || (outputOnly && item.fOutputKind == kOutputValue && SpansAtLeast(item, 2)))
        return EItemClass::kSlider;
    if (item.fInputKind == kInputDelta)
        return EItemClass::kRotary;
    if (outputOnly && item.fOutputKind == kOutputText)
        return EItemClass::kText;
    if (item.fInputKind == kInputKeyboard)
        return EItemClass::kKeyboard;
    return EItemClass::kNone;
}

std::string_view ViewName(EPanelView view) { return TraitsOf(view).fName; }
EWidgetKind WidgetKindOf(EPanelView view) { return TraitsOf(view).fKind; }
TTextStyle TextStyleOf(EPanelView view) { return TraitsOf(view).fStyle; }

std::vector<TPanelControl> MakeStatisticsLine()
{
    struct TElement
    {
        EPanelView fView;
        double fWidth;
        double fHeight;
        double fAdvance;
        const char16* fCaption;
    };
    static constexpr TElement kLine[] = {
        {EPanelView::kDisableBox, 90, 10, 100, u"Disable all"},
        {EPanelView::kTrafficTitle, 85, 30, 90, u"MIDI bytes/s: "},
        {EPanelView::kTrafficText, 50, 30, 55, u""},
        {EPanelView::kFramesTitle, 65, 30, 70, u"Frames/s: "},
        {EPanelView::kFramesText, 40, 30, 45, u""},
    };
    std::vector<TPanelControl> controls;
    double x = 5;
    const double y = 5;
    for (const TElement& element : kLine)
    {
        controls.push_back(
            Full(element.fView, kNoItem, x, y, x + element.fWidth, y + element.fHeight, element.fCaption));
        x += element.fAdvance;
    }
    return controls;
}

TPanelFlow FlowItems(const TItemInfoList& items, const TPanelRect& client)
{
    const double originX = client.fLeft + 5;
    const double originY = client.fTop + 45;
    const double limit = client.fRight - client.fLeft - 10;
    double x = originX;
    double y = originY;
    double rowHeight = 0;
    TPanelFlow flow;
    flow.fItems.resize(items.size());

    const bool hasKeyboard = std::any_of(items.begin(), items.end(), [](const TItemInfo& item) {
        return ClassifyItem(item) == EItemClass::kKeyboard;
    });
    if (hasKeyboard)
    {
        // No gap on this wrap.
        if (limit < x + kKeyboardSize.fWidth)
        {
            x = originX;
            y += rowHeight;
            rowHeight = 0;
        }
        rowHeight = std::max(rowHeight, kKeyboardSize.fHeight);
        flow.fKeyboard = TPanelCell{x, y, kKeyboardSize.fWidth, kKeyboardSize.fHeight,
                                    kKeyboardSize.fHeight, true};
        x += kKeyboardSize.fWidth;
    }

    for (std::size_t i = 0; i < items.size(); ++i)
    {
        const EItemClass itemClass = ClassifyItem(items[i]);
        BF_ASSERT(itemClass != EItemClass::kNone);
        if (itemClass == EItemClass::kNone)
            continue;
        TSize size = SizeOf(itemClass);
        TPanelCell& cell = flow.fItems[i];
        if (itemClass != EItemClass::kKeyboard)
        {
            // Takes no account of a popup's width.
            if (limit < x + size.fWidth)
            {
                x = originX;
                y += rowHeight + kItemGap;
                rowHeight = 0;
            }
            rowHeight = std::max(rowHeight, size.fHeight);
            cell.fPlaced = true;
        }
        cell.fX = x;
        cell.fY = y;
        cell.fWidth = size.fWidth;
        cell.fHeight = size.fHeight;
        cell.fRowHeight = size.fHeight;
        if (items[i].fStateCount > 0)
        {
            size.fWidth = std::max(size.fWidth, kPopupWidth);
            cell.fRowHeight = size.fHeight + kPopupHeight;
            rowHeight = std::max(rowHeight, cell.fRowHeight);
        }
        x += size.fWidth + kItemGap;
    }
    return flow;
}

std::vector<TPanelControl> LayOutPanel(const TItemInfoList& items, const TPanelRect& client)
{
    const TPanelFlow flow = FlowItems(items, client);
    std::vector<TPanelControl> controls;
    if (flow.fKeyboard)
        PlaceKeyboard(*flow.fKeyboard, controls);
    for (u32 i = 0; i < items.size(); ++i)
    {
        const TPanelCell& cell = flow.fItems[i];
        if (ClassifyItem(items[i]) == EItemClass::kNone)
            continue;
        PlaceItem(items[i], i, cell, controls);
        if (items[i].fStateCount > 0)
            controls.push_back(At(EPanelView::kStatePopup, i, cell.fX, cell.fY + cell.fHeight));
    }
    return controls;
}

TText16 DecimalText(i64 value)
{
    return NSTextPackage::Text16FromASCII(std::to_string(value), u'?');
}

i64 InitialValue(const TItemInfo& item)
{
    switch (ClassifyItem(item))
    {
    case EItemClass::kSlider:
        return std::midpoint(item.fMin, item.fMax);
    case EItemClass::kRotary:
        return item.fOutputKind == kOutputNone ? 0 : std::midpoint(item.fMin, item.fMax);
    default:
        return 0;
    }
}

i32 SliderPosition(const TItemInfo& item, i64 value)
{
    if (item.fMax <= item.fMin)
        return 0;
    // Wide enough for any range of 64 bits.
    const __int128 position = (static_cast<__int128>(value) - item.fMin) * 127 /
                              (static_cast<__int128>(item.fMax) - item.fMin);
    return static_cast<i32>(std::clamp<__int128>(position, std::numeric_limits<i32>::min(),
                                                  std::numeric_limits<i32>::max()));
}

TText16 DescribeItem(const TItemInfo& item, const std::vector<TText16>& stateNames)
{
    static const char16* const kInputKinds[] = {u"button", u"value", u"delta", u"keyboard", u"none"};
    static const char16* const kOutputKinds[] = {u"value", u"text", u"none"};
    const auto kind = [](u32 kind, u32 first, const char16* const* names, u32 count) -> TText16 {
        return kind >= first && kind - first < count ? names[kind - first] : u"unknown";
    };
    TText16 text = GetRecordText(item.fName);
    text += u"\nInput: " + kind(item.fInputKind, kInputButton, kInputKinds, 5);
    text += u", output: " + kind(item.fOutputKind, kOutputValue, kOutputKinds, 3);
    text += u"\nRange: " + DecimalText(item.fMin) + u" to " + DecimalText(item.fMax);
    if (!stateNames.empty())
    {
        text += u"\nStates:";
        for (std::size_t i = 0; i < stateNames.size(); ++i)
            text += (i == 0 ? u" " : u", ") + stateNames[i];
    }
    return text;
}
} // namespace NSHardwarePanel
