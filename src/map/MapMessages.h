#pragma once
// The messages of mapping files. Every fault of a file appends one line to an
// error text that starts with "Map File Errors:"; the texts come from the
// program's text table by these ids.

#include "foundation/Types.h"

namespace NSKinvar
{
enum EMapMessage : u32
{
    kMsgLine = 100,                  // "Line  ^0: ^1"
    kMsgMissing = 101,               // "Missing: ^0."
    kMsgMapFileErrors = 102,         // "Map File Errors:"
    kMsgWrongSurface = 103,
    kMsgNoScope = 104,
    kMsgScopeIncomplete = 105,
    kMsgScopeDefined = 106,
    kMsgGroupMisplaced = 107,
    kMsgBadGroup = 108,
    kMsgDuplicateGroup = 109,
    kMsgTooManyVariations = 110,
    kMsgEmptyGroup = 111,
    kMsgDuplicateGroupValue = 112,
    kMsgMissingItemName = 113,
    kMsgUnknownItem = 114,
    kMsgItemMapped = 115,
    kMsgKeyWithConstant = 116,
    kMsgKinvarableMapped = 117,
    kMsgMissingKey = 118,
    kMsgNoteOnNonKeyboard = 119,
    kMsgMissingKinvarable = 120,
    kMsgBadScale = 121,
    kMsgUnknownMode = 122,
    kMsgEmptyGroupValue = 123, // never raised: an empty group column is skipped
    kMsgUnknownGroupValue = 124,
    kMsgBadTextConstant = 125,
    kMsgBadAssignment = 126,
    kMsgUndefinedCommand = 127,
    kMsgBadMapping = 128,
    kMsgItemNotASCII = 129,
    kMsgGroupNotASCII = 130,
    kMsgVariationNotASCII = 131,
    kMsgKinvarableNotASCII = 132,
};

// "Line  12: Undefined command." and a line feed.
TText16 MakeLineMessage(i32 lineNumber, const TText16& message);
// "Missing: Scope."
TText16 MakeMissingMessage(const TText16& keyword);
// The text of a message id.
TText16 GetMapMessageText(EMapMessage id);
// What every error text starts with: "Map File Errors:" and a line feed.
TText16 MakeMapErrorsHeading();
} // namespace NSKinvar
