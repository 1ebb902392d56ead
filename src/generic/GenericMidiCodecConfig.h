#pragma once
// One definition file, read: the surface model it describes, its ports, how to
// recognise it, what to send at start, and its items with their rules.

#include "generic/MapRule.h"

#include "foundation/Types.h"

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace NSGenericMidiCodec
{
using TMIDIBytes = std::vector<u8>;

class CGenericMidiItem
{
public:
    // fMin above fMax is a programming error of the reader: a failed assertion.
    CGenericMidiItem(TText16 name, u32 inputKind, i64 min, i64 max);

    TText16 fName;
    u32 fInputKind; // NSKinvarCodec::kInputButton, ...Value, ...Delta or ...Keyboard
    i64 fMin;
    i64 fMax;
    // In file order: the first rule that matches wins.
    std::vector<CMapRule> fRules;
};

class CGenericMidiCodecConfig
{
public:
    TText16 fManufacturer;
    TText16 fModel;
    // The model's picture beside the file; empty when there is none.
    std::filesystem::path fPicturePath;
    u32 fInPortCount = 1;
    std::array<u32, 3> fCodecVersion{};
    TMIDIBytes fIdentityRequest;
    // A hex mask in 7-bit characters: digits, blanks, and "?" for any digit.
    std::string fIdentityResponse;
    TText16 fSetupInfoText;
    TText16 fSetupWarningText;
    TText16 fSetupUserActionText;
    // One message for each "Setup" row, in file order.
    std::vector<TMIDIBytes> fSetupMessages;
    // An item's index here is its item index in the contract.
    std::vector<CGenericMidiItem> fItems;
    bool fHasKeyboard = false;
};
} // namespace NSGenericMidiCodec
