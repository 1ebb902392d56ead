#pragma once
// The way to the user: alert records and the presenter that shows them, and
// the blocking boxes of last resort.
//
// The GUI layer installs a presenter that shows real dialogs; until it does,
// and in every program without a GUI, alerts and boxes go to standard error
// and are answered at once.

#include "foundation/Types.h"

#include <cstddef>

// Button layouts of an alert.
inline constexpr u32 kAlertLayoutOneButton = 14000;
inline constexpr u32 kAlertLayoutTwoButtons = 14001;
inline constexpr u32 kAlertLayoutTwoButtonsLastCancels = 14002;
inline constexpr u32 kAlertLayoutThreeButtons = 14003;
inline constexpr u32 kAlertLayoutThreeButtonsLastCancels = 14004;

inline constexpr u32 kAlertIconNone = 23;
inline constexpr u32 kAlertIconStop = 24;
inline constexpr u32 kAlertIconNote = 25;
inline constexpr u32 kAlertIconWarn = 26;

// What a presenter reports for the first, second and third button.
inline constexpr u32 kAlertPressedFirst = 564;
inline constexpr u32 kAlertPressedSecond = 565;
inline constexpr u32 kAlertPressedThird = 566;

// What Alert returns for the first, second and third button.
inline constexpr u32 kAlertFirstButton = 33;
inline constexpr u32 kAlertSecondButton = 34;
inline constexpr u32 kAlertThirdButton = 35;

// Room of each text of an alert record, the terminating zero included.
inline constexpr std::size_t kAlertTextCapacity = 1024;

// The record that a presenter shows, laid out as the GUI side expects it: all
// zero before filling, texts zero-terminated.
struct TAlertRecord
{
    u32 buttonLayout;
    u32 icon;
    char16 caption[kAlertTextCapacity];
    char16 body[kAlertTextCapacity];
    char16 button1[kAlertTextCapacity];
    char16 button2[kAlertTextCapacity];
    char16 button3[kAlertTextCapacity];
};
static_assert(sizeof(TAlertRecord) == 10248);

// An icon in 23..26, every text zero-terminated within its field, a non-empty
// first button and no third button without a second. A presenter refuses any
// other record with the GUI edge's invalid-argument word, 12002.
bool IsValidAlertRecord(const TAlertRecord& record);

// The text of one field of a record, up to its terminating zero.
TText16 AlertRecordText(const char16 (&field)[kAlertTextCapacity]);

// Receives the pressed button of a shown alert (kAlertPressedFirst...).
class IAlertListener
{
public:
    // Returns the GUI edge's status word; 12000 is success.
    virtual u32 IAlertListener_ButtonPressed(u32 pressed) = 0;

protected:
    ~IAlertListener() = default;
};

enum class EBoxButtons
{
    kStopOK,           // an error box with a stop icon
    kAbortRetryIgnore, // the assertion box
};

enum class EBoxAnswer
{
    kOK,
    kAbort,
    kRetry,
    kIgnore,
};

// Shows alerts and boxes to the user. The installed presenter outlives every
// use: it is set at start and taken back at the end.
class IAlertPresenter
{
public:
    virtual ~IAlertPresenter() = default;

    // Shows a record, blocks until a button is pressed, hands the button to the
    // listener and returns the GUI edge's status word (12000 for success). Main
    // thread.
    virtual u32 IAlertPresenter_ShowAlert(const TAlertRecord& record, IAlertListener& listener) = 0;

    // Shows a blocking box that needs no running GUI (used at start-up failures
    // and for assertions) and returns the answer. The text is UTF-8; a CR
    // separates its lines. Any thread; must not throw.
    virtual EBoxAnswer IAlertPresenter_ShowBox(const char* caption, const char* text,
                                               EBoxButtons buttons) noexcept = 0;
};

// The installed presenter, or the standard-error one: it writes alerts and
// boxes to standard error, answers an alert with its first button, and the
// assertion box with Ignore, or with Abort when the environment variable
// BRASSFOLD_ASSERT is "abort".
IAlertPresenter& GetAlertPresenter();
// Installs a presenter; null brings back the standard-error one. Main thread,
// before other threads start.
void SetAlertPresenter(IAlertPresenter* presenter);
