#pragma once
// Where the controls of a hardware panel go: plain arithmetic over the items
// of the surface, without widgets. Each item falls into one class, which
// decides its controls and their size; the items then flow from left to
// right below the statistics line and wrap into rows, the keyboard (one pair
// of texts for the whole window) first. The thin Qt panel
// (gui/HardwarePanel.h) puts its widgets at the places made here, again each
// time the window gets a size.
//
// Two quirks of the flow are kept on purpose: the wrap test of an item takes
// no account of the wider popup of its named states, and the keyboard's wrap
// adds no gap of 10 between the rows.
//
// Any thread; nothing here is shared.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"
#include "foundation/Types.h"
#include "gui/TextStyle.h"

#include <optional>
#include <string_view>
#include <vector>

namespace NSHardwarePanel
{
// The class of an item, tested in this order. kNone is an item that fits no
// class (an output-only value of less than two steps that is not 0 to 1, or
// no input and no output): it gets no control.
enum class EItemClass
{
    kCheckBox, // a button, or a lamp: no input, a value of exactly 0 to 1
    kSlider,   // a value, or a meter: no input, a value of at least two steps
    kRotary,   // a delta
    kText,     // no input, a text
    kKeyboard,
    kNone,
};

EItemClass ClassifyItem(const NSKinvarCodec::TItemInfo& item);

// Every view of the panel; ViewName gives the name that the view carries.
enum class EPanelView
{
    kDisableBox,
    kTrafficTitle,
    kTrafficText,
    kFramesTitle,
    kFramesText,
    kCheckBox,
    kCheckBoxName,
    kSlider,
    kSliderName,
    kRotaryButton,
    kRotaryNumber,
    kRotaryName,
    kTextField,
    kTextName,
    kKeyboardLine,
    kKeyboardTitle,
    kStatePopup,
};

// The widget that shows a view.
enum class EWidgetKind
{
    kCheckBox,
    kSlider,
    kUpDownButton,
    kStaticText,
    kTextField,
    kPopup,
};

// "fCheckBoxViews", "Modes" and so on. The rotary's number and its name share
// "fRotaryTexts".
std::string_view ViewName(EPanelView view);
EWidgetKind WidgetKindOf(EPanelView view);

// The style numbers of a static text (gui/TextStyle.h): (7, 334) the
// statistics line, (9, 335) the names of items, (7, 335) the keyboard's texts
// and a text item's name.
TTextStyle TextStyleOf(EPanelView view);

// Where a view goes: always its left and top; a width or a height only where
// the layout names one, else the widget keeps the size that it was made with.
struct TPlacement
{
    double fLeft;
    double fTop;
    std::optional<double> fWidth;
    std::optional<double> fHeight;
};

inline constexpr u32 kNoItem = 0xFFFFFFFF;

// One view of the panel: which, for which item (kNoItem for the window's
// own), where, and its first caption.
struct TPanelControl
{
    EPanelView fView;
    u32 fItem;
    TPlacement fPlace;
    TText16 fCaption;
};

struct TPanelRect
{
    double fLeft;
    double fTop;
    double fRight;
    double fBottom;
};

// The place of one item in the flow: its cursor and size; fPlaced is false
// for an item that places nothing (a keyboard item, an item of no class).
// fRowHeight is what the item reserves in its row: its height, plus 16 below
// for the popup of its named states.
struct TPanelCell
{
    double fX = 0;
    double fY = 0;
    double fWidth = 0;
    double fHeight = 0;
    double fRowHeight = 0;
    bool fPlaced = false;
};

struct TPanelFlow
{
    std::optional<TPanelCell> fKeyboard;
    std::vector<TPanelCell> fItems;
};

// The statistics line, from (5, 5): "Disable all", "MIDI bytes/s: " with its
// value, "Frames/s: " with its value.
std::vector<TPanelControl> MakeStatisticsLine();

// The flow of the items in the client rectangle.
TPanelFlow FlowItems(const TItemInfoList& items, const TPanelRect& client);

// Every view of every item at its place in the client rectangle, in item
// order, the keyboard's two texts ahead of all. An item of no class is a
// failed assertion and gets none.
std::vector<TPanelControl> LayOutPanel(const TItemInfoList& items, const TPanelRect& client);

// The value that an item starts with: the middle of its range for a slider,
// and for a rotary unless it has no output; 0 for the rest.
i64 InitialValue(const NSKinvarCodec::TItemInfo& item);
// The slider position 0 to 127 of value; 0 for an item whose range is empty.
i32 SliderPosition(const NSKinvarCodec::TItemInfo& item, i64 value);

// A number as the panel shows it and its states carry it: decimal.
TText16 DecimalText(i64 value);

// The tooltip of an item's control, for the people who debug codecs: name,
// kinds, range and named states, one line each.
TText16 DescribeItem(const NSKinvarCodec::TItemInfo& item, const std::vector<TText16>& stateNames);
} // namespace NSHardwarePanel
