#include "foundation/TextResource.h"

#include "foundation/Exceptions.h"
#include "foundation/TextPackage.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using NSTesting::CExpectAssertions;
using namespace NSVistalUtils;

namespace
{
// Every text of "TXT" 2000, word for word.
// clang-format off
const TStringMap kProgramTexts = {
    {1, u"MIDI Input"}, {2, u"MIDI Input ^0"}, {3, u"MIDI Output (optional)"},
    {20, u"Failed to load codec: ^0."}, {21, u"Failed to read map file: ^0."},
    {22, u"The Kinvar Mapping file cannot be found for ^0 ^1. If you have separate Kinvar "
         u"drivers for this control surface, please try reinstalling these. Otherwise, "
         u"please restart the program and try again."},
    {23, u"Failed to load control surface: ^0, ^1."}, {24, u"Failed loading MIDI codecs."},
    {40, u"MIDI in port \"^0\" has vanished; it is opened again when it comes back."},
    {41, u"MIDI out port \"^0\" has vanished; it is opened again when it comes back."},
    {42, u"MIDI in port \"^0\" is back."}, {43, u"MIDI out port \"^0\" is back."},
    {44, u"MIDI out port \"^0\" is back; ^1 messages sent to it while it was away were lost."},
    {45, u"^0: output frames are lost: ^1"},
    {46, u"^0: MIDI messages are lost, since the codec fails to handle them: ^1"},
    {47, u"^0: inputs of the codec are dropped: ^1"},
    {48, u"^0 inputs were lost, since they came faster than the panels took them (at most ^1 can wait)."},
    {49, u"^0: the codec describes item ^1 wrongly: ^2"},
    {50, u"^0: further kinds of failure of this surface are not reported."}, {51, u"item ^0 takes no input"},
    {52, u"item ^0: ^1 is outside ^2 to ^3"}, {53, u"item ^0: a step of 0"},
    {54, u"item ^0 does not exist; the surface has ^1 items"}, {55, u"an unknown input kind ^0"},
    {56, u"an unknown output kind ^0"}, {57, u"a range from ^0 to ^1"}, {58, u"a name without its end"},
    {59, u"an empty MIDI message was handed over"},
    {60, u"a MIDI message of ^0 bytes was handed over, more than 1024"},
    {61, u"a system exclusive message was begun inside another"}, {62, u"the port refused a message: ^0"},
    {63, u"^0: the codec is slow: ^1 took over 100 ms, and what comes after it waits."},
    {64, u"handling a MIDI message"}, {65, u"an output frame"}, {66, u"the status ^0, without a word"},
    {100, u"Line  ^0: ^1"}, {101, u"Missing: ^0."}, {102, u"Map File Errors:"},
    {103, u"Wrong Control Surface Manufacturer or Model."}, {104, u"No Scope defined."},
    {105, u"Scope missing Kinvarable Manufacturer or Model."}, {106, u"Scope already defined."},
    {107, u"Define Group misplaced."}, {108, u"Bad group definition."},
    {109, u"Duplicate group definition."}, {110, u"Too many keyboard shortcut variations."},
    {111, u"Empty group value."}, {112, u"Duplicate group value."},
    {113, u"Map entry missing control surface item name."},
    {114, u"Map entry with unknown control surface item."},
    {115, u"Map entry: control surface item already mapped in this scope."},
    {116, u"Map entry: keyboard key cannot be mapped to constant or group assignment."},
    {117, u"Map entry: kinvarable item already mapped in this scope."},
    {118, u"Map entry missing key column."},
    {119, u"Map entry with note number for non-keyboard control surface item."},
    {120, u"Map entry missing kinvarable item name."}, {121, u"Map entry with bad scale value."},
    {122, u"Map entry with unknown mode."}, {123, u"Map entry with empty group value."},
    {124, u"Map entry with unknown group value."}, {125, u"Map entry with bad text constant."},
    {126, u"Map entry with unknown group or value in assignment."}, {127, u"Undefined command."},
    {128, u"Bad mapping."}, {129, u"Control Surface Item not 7 bit ASCII."},
    {130, u"Group name not 7 bit ASCII."}, {131, u"Variation name not 7 bit ASCII."},
    {132, u"Kinvarable item name not 7 bit ASCII."},
};

// Every text of "SSTR" 1000, word for word.
const TStringMap kFrameworkTexts = {
    {1, u"Quit"}, {2, u"Preferences..."}, {3, u"Cascade"}, {4, u"Tile Horizontally"},
    {5, u"Tile Vertically"}, {6, u"File"}, {7, u"Edit"}, {8, u"Window"}, {9, u"Help"},
    {10, u"All Files"}, {11, u"Save changes to the document \"^0\" before closing?"},
    {12, u"Save changes to the document \"^0\" before quitting?"}, {13, u"Yes"}, {14, u"No"},
    {15, u"Cancel"}, {16, u"Cut"}, {17, u"Copy"}, {18, u"Paste"}, {19, u"Clear"},
    {20, u"Select All"}, {21, u"Undo"}, {22, u"Redo"},
    {23, u"This program requires Mac OS X 10.2 in order to run."},
    {24, u"Please upgrade your operating system."}, {25, u"Quit"}, {100, u"Esc"}, {101, u"F1"},
    {102, u"F2"}, {103, u"F3"}, {104, u"F4"}, {105, u"F5"}, {106, u"F6"}, {107, u"F7"},
    {108, u"F8"}, {109, u"F9"}, {110, u"F10"}, {111, u"F11"}, {112, u"F12"}, {113, u"F13"},
    {114, u"F14"}, {115, u"F15"}, {116, u"Backspace"}, {117, u"Tab"}, {118, u"Enter"},
    {119, u"Return"}, {120, u"Ins"}, {121, u"Home"}, {122, u"PgUp"}, {123, u"Del"}, {124, u"End"},
    {125, u"PgDn"}, {126, u"Up Arrow"}, {127, u"Left Arrow"}, {128, u"Down Arrow"},
    {129, u"Right Arrow"}, {130, u"Space"}, {131, u"Ctrl"}, {132, u"Shift"}, {133, u"Alt"},
};
// clang-format on

TStringMap ParseEmbedded(std::string_view type, u32 number)
{
    const std::span<const u8> bytes = GetEmbeddedResource(type, number);
    NSTextPackage::CRawByteReader reader(bytes.data(), bytes.size());
    return NSStringScript::Parse(NSTextPackage::Text16FromBytes(reader, 0, bytes.size(), u'?'));
}

TEST(TextResources, EmbeddedResourcesHoldExactlyTheirTexts)
{
    EXPECT_EQ(ParseEmbedded("TXT", 2000), kProgramTexts);
    EXPECT_EQ(ParseEmbedded("SSTR", 1000), kFrameworkTexts);
}

TEST(TextResources, GetTextReadsEveryProgramTextBack)
{
    LoadTextResource(2000);
    LoadTextResource(2000); // the first load wins; a second changes nothing
    for (const auto& [id, text] : kProgramTexts)
        EXPECT_EQ(GetText(id), text) << id;
}

TEST(TextResources, StringResourcesReadEveryFrameworkTextBack)
{
    for (const auto& [id, text] : kFrameworkTexts)
    {
        EXPECT_EQ(GetStringResource(MakeResourceId(kResourceString, 1000, id)), text) << id;
        EXPECT_EQ(GetResourceText("SSTR", 1000, id), text) << id;
    }
}

// Stands in for the GUI library.
class CRecordingSource final : public IResourceTextSource
{
public:
    u32 IResourceTextSource_GetText(const char* key, ITextGetter& getter) override
    {
        fKeys.push_back(key);
        if (fResult == 12000)
            getter.ITextGetter_SetText(u"from the library");
        return fResult;
    }

    std::vector<std::string> fKeys;
    u32 fResult = 12000;
};

TEST(ResourceText, InstalledSourceIsAskedByKeyAndItsFailureIsThrown)
{
    CRecordingSource source;
    SetResourceTextSource(&source);
    EXPECT_EQ(GetHelpResource(MakeResourceId(kResourceHelp, 1234, 56)), u"from the library");
    EXPECT_EQ(GetResourceText("SSTR", 1000, 11), u"from the library");
    source.fResult = 12005;
    EXPECT_THROW(GetResourceText("SSTR", 1000, 11), XBadFormat);
    SetResourceTextSource(nullptr);

    EXPECT_EQ(source.fKeys,
              (std::vector<std::string>{"SHLP/1234/56", "SSTR/1000/11", "SSTR/1000/11"}));
    EXPECT_EQ(GetResourceText("SSTR", 1000, 13), u"Yes"); // the embedded source again
}
} // namespace
