#include "MapTestSupport.h"

#include "codec/CodecSupport.h"
#include "foundation/Exceptions.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"

namespace NSMapTesting
{
using namespace NSKinvarCodec;

namespace
{
TItemInfo Item(std::u16string_view name, u32 input, u32 output, i64 min, i64 max, u32 states)
{
    TItemInfo item{};
    SetRecordText(item.fName, name);
    item.fInputKind = input;
    item.fOutputKind = output;
    item.fMin = min;
    item.fMax = max;
    item.fStateCount = states;
    return item;
}
} // namespace

std::shared_ptr<const NSKinvar::TItemList> MakeItems()
{
    return std::make_shared<const NSKinvar::TItemList>(NSKinvar::TItemList{
        Item(u"Fader 1", kInputValue, kOutputValue, 0, 127, 0),
        Item(u"Button A", kInputButton, kOutputValue, 0, 1, 2),
        Item(u"Keys", kInputKeyboard, kOutputNone, 0, 127, 0),
        Item(u"Encoder", kInputDelta, kOutputNone, -64, 63, 0),
        Item(u"Display", kInputNone, kOutputText, 0, 0, 0),
    });
}

NSKinvar::TStateNames MakeStateNames() { return {{}, {u"Off", u"Blink"}, {}, {}, {}}; }

std::string Header()
{
    return "Thistlemarrow Kinvar Mapping File\n"
           "File Format Version\t1.0.0\n"
           "Control Surface Manufacturer\tAcme\n"
           "Control Surface Model\tBox\n"
           "Map Version\t1.2.3\n";
}

void LoadTexts() { LoadTextResource(2000); }

TReadResult ReadMapText(const std::string& text)
{
    LoadTexts();
    TReadResult result;
    result.fMap = std::make_shared<NSKinvar::VControlSurfaceMap>(u"Acme", u"Box", MakeItems());
    const TMapLines lines = ReadTable(DecodeTableText(text), kMapTableOptions);
    TText16 errorText;
    try
    {
        NSKinvar::ReadMapFile(lines, *result.fMap, MakeStateNames(), errorText);
    }
    catch (const NSKinvar::XBadFormat&)
    {
        result.fThrew = true;
    }
    result.fErrorText = NSTextPackage::UTF8FromText16(errorText);
    return result;
}
} // namespace NSMapTesting
