#pragma once
// IVistal: what the workbench asks of its GUI toolkit, and nothing more. The
// run behaviour, the hub and the commands call it; the toolkit's adapter (in
// the GUI layer) implements it, and the tests use a fake. Every operation
// returns a status word of the GUI edge: kVistalOK (12000) is success, and
// the caller passes anything else to ThrowVistalResult.
//
// Windows and dialogs of the workbench itself are not opened through here;
// see host/WorkbenchWindows.h.

#include "foundation/AlertPresenter.h"
#include "foundation/Types.h"

#include <filesystem>
#include <string>
#include <vector>

// The one custom event: decoded input waits in the hub's queue.
inline constexpr u32 kInputEvent = 0x10000001;

// Window type ids.
inline constexpr u32 kDummyDocumentWindowType = 0x700000;
inline constexpr u32 kSelectionDialogWindowType = 0x800000;
inline constexpr u32 kMIDITestWindowType = 0xF00000;

// Four-character type codes of files.
inline constexpr u32 MakeFileTypeCode(char a, char b, char c, char d)
{
    return (u32(u8(a)) << 24) | (u32(u8(b)) << 16) | (u32(u8(c)) << 8) | u32(u8(d));
}
inline constexpr u32 kTextFileType = MakeFileTypeCode('T', 'E', 'X', 'T');

// Limits of a file type's texts, in characters.
inline constexpr std::size_t kFileTypeDescriptionLimit = 255;
inline constexpr std::size_t kFileTypeExtensionLimit = 1024;

struct TFileType
{
    TText16 fDescription; // cut to kFileTypeDescriptionLimit
    TText16 fExtension;   // such as ".luacodec", cut to kFileTypeExtensionLimit
    u32 fTypeCode;
};

// What an open-file dialog shows.
struct TOpenDialogRequest
{
    TText16 fPrompt;
    std::vector<TFileType> fFileTypes;
    u32 fFlags = 0;
    // Lets the toolkit remember where each kind of dialog was last.
    u32 fDialogId = 0;
    // Where the dialog opens; empty: where the toolkit likes.
    std::filesystem::path fStartFolder;
};

// Receives the outcome of an open-file dialog.
class IOpenDialogListener
{
public:
    // The chosen files; empty when the user cancelled. Returns a GUI status.
    virtual u32 IOpenDialogListener_Chosen(const std::vector<std::filesystem::path>& files) = 0;

protected:
    ~IOpenDialogListener() = default;
};

// The toolkit's side of a document window, as the window's behaviour sees it.
class IVistalWindow
{
public:
    virtual u32 IVistalWindow_Close() = 0;

protected:
    ~IVistalWindow() = default;
};

// The events of a document window, in their order.
class IDocumentWindowBehavior
{
public:
    virtual ~IDocumentWindowBehavior() = default;
    virtual u32 IDocumentWindowBehavior_Opened() = 0;
    virtual u32 IDocumentWindowBehavior_Resized() = 0;
    // active: non-zero when the window came to the front.
    virtual u32 IDocumentWindowBehavior_Activated(u32 active) = 0;
    virtual u32 IDocumentWindowBehavior_QueryCommand(u32 command, u32* enabled) = 0;
    virtual u32 IDocumentWindowBehavior_MenuCommand(u32 command) = 0;
    virtual u32 IDocumentWindowBehavior_Draw() = 0;
    virtual u32 IDocumentWindowBehavior_KeyDown(u32 key) = 0;
    virtual u32 IDocumentWindowBehavior_QueryModified(u32* modified) = 0;
    // The user asks to close the window.
    virtual u32 IDocumentWindowBehavior_CloseRequested() = 0;
};

// Makes the behaviour of a document window that the toolkit has made; the
// toolkit owns and deletes what it returns.
class IDocumentWindowCreator
{
public:
    virtual u32 IDocumentWindowCreator_Create(IVistalWindow& window,
                                              IDocumentWindowBehavior** behavior) = 0;

protected:
    ~IDocumentWindowCreator() = default;
};

class IVistal
{
public:
    virtual ~IVistal() = default;

    // Posts a custom event to the run behaviour's OnCustomEvent. Any thread,
    // MIDI threads included; must not block for long.
    virtual u32 IVistal_PostCustomEvent(u32 event, u32 data) = 0;
    // Brings menus and commands up to date.
    virtual u32 IVistal_UpdateCommands() = 0;
    // Asks the application to quit once the current event is done.
    virtual u32 IVistal_RequestQuit() = 0;
    // Shows an alert and blocks until a button is pressed (see
    // foundation/AlertPresenter.h).
    virtual u32 IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener) = 0;
    // Shows an open-file dialog and blocks until the user has chosen.
    virtual u32 IVistal_ShowOpenDialog(const TOpenDialogRequest& request,
                                       IOpenDialogListener& listener) = 0;
    // Handles pending events inside a long operation on the user interface
    // thread.
    virtual u32 IVistal_Yield() = 0;
    // Makes a document window of that type, whose behaviour creator makes.
    virtual u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType,
                                             u32 flags) = 0;
};

// The toolkit of the process. GetVistal asserts that one is installed and
// throws XProgrammingError when none is. Any thread may get it; it is
// installed before other threads start and taken back after they end.
IVistal& GetVistal();
bool HasVistal();
void SetVistal(IVistal* vistal);

// Installs a toolkit for its lifetime, and puts back the one before.
class CVistalInstallation
{
public:
    explicit CVistalInstallation(IVistal& vistal);
    ~CVistalInstallation();
    CVistalInstallation(const CVistalInstallation&) = delete;
    CVistalInstallation& operator=(const CVistalInstallation&) = delete;

private:
    IVistal* fPrevious;
};

// Shows the dialog and blocks; the chosen files, empty when cancelled.
// Throws what the toolkit's status stands for.
std::vector<std::filesystem::path> DoBlockingAppModalOpenDialog(IVistal& vistal,
                                                                const TOpenDialogRequest& request);

// Shows alerts through IVistal; the application installs one as the alert
// presenter (foundation/AlertPresenter.h) once the toolkit runs. Boxes go to
// the presenter that was installed before.
class CVistalAlertPresenter final : public IAlertPresenter
{
public:
    explicit CVistalAlertPresenter(IVistal& vistal, IAlertPresenter& boxes);

    u32 IAlertPresenter_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override;
    EBoxAnswer IAlertPresenter_ShowBox(const char* caption, const char* text,
                                       EBoxButtons buttons) noexcept override;

private:
    IVistal& fVistal;
    IAlertPresenter& fBoxes;
};
