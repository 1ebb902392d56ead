#pragma once
// The toolkit's view of the application: the run behaviour that it calls on
// the user interface thread for everything the workbench does there, and the
// menu records that the behaviour hands it. Every operation returns a status
// word of the GUI edge (12000 is success) and lets no exception out.

#include "foundation/Types.h"

#include <vector>

// One record of a menu: a command, or a separator between commands.
struct TMenuRecord
{
    TText16 fTitle;
    TText16 fShortcut;
    u32 fMenu = 0;
    u32 fCommand = 0;
    bool fSeparator = false;
};

// What a menu action hands to OnMenuCommand.
struct TCommandRecord
{
    u32 fMenu;
    u32 fCommand;
};

// Builds the menu bar from the records that the behaviour gives.
class IMenuBuilder
{
public:
    // The records of menu `menu`, in order.
    virtual u32 IMenuBuilder_AddItems(u32 menu, const std::vector<TMenuRecord>& records) = 0;
    virtual u32 IMenuBuilder_SetTitle(u32 menu, const TText16& title) = 0;

protected:
    ~IMenuBuilder() = default;
};

// The operations in the order in which the toolkit knows them. Reserved
// operations take their word and answer 12000.
class IVistalRunBehavior
{
public:
    virtual u32 OnStart() = 0;
    virtual u32 OnEnd() = 0;
    virtual u32 OnQuitCommand() = 0;
    virtual u32 OnOpenDefaultDocument(u32 ignored) = 0;
    virtual u32 OnReserved1(u32 ignored) = 0;
    virtual u32 OnBuildMenus(IMenuBuilder& builder) = 0;
    virtual u32 OnMenuCommand(const TCommandRecord& command, u32* handled) = 0;
    virtual u32 OnQueryCommand(u32 ignored, u32* enabled) = 0;
    // *nextIdle: milliseconds until the toolkit should call again.
    virtual u32 OnIdle(u64* nextIdle) = 0;
    // The toolkit's canvas for drawing outside a view, handed in and back.
    virtual u32 OnBeginDraw(void* canvas) = 0;
    virtual u32 OnEndDraw(void* canvas) = 0;
    virtual u32 OnReserved2(u32 ignored) = 0;
    virtual u32 OnDunmarkStep() = 0;
    virtual u32 OnReserved3() = 0;
    virtual u32 OnReserved4() = 0;
    // Called on the user interface thread for each posted event.
    virtual u32 OnCustomEvent(u32 event, u32 data) = 0;
    // The toolkit reports that an operation failed; the word is ignored.
    virtual u32 OnError(u32 ignored) = 0;
    virtual ~IVistalRunBehavior() = default;
};
