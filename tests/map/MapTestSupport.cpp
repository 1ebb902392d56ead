#include "MapTestSupport.h"

#include "codec/CodecSupport.h"
#include "foundation/Exceptions.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"

namespace NSMapTesting
{
using namespace NSKinvarCodec;

std::shared_ptr<const NSKinvar::TItemList> MakeItems()
{
    return std::make_shared<const NSKinvar::TItemList>(NSKinvar::TItemList{
        MakeItem(u"Fader 1", kInputValue, kOutputValue, 0, 127, 0),
        MakeItem(u"Button A", kInputButton, kOutputValue, 0, 1, 2),
        MakeItem(u"Keys", kInputKeyboard, kOutputNone, 0, 127, 0),
        MakeItem(u"Encoder", kInputDelta, kOutputNone, -64, 63, 0),
        MakeItem(u"Display", kInputNone, kOutputText, 0, 0, 0),
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
    return ReadMapText(text, MakeItems());
}

TReadResult ReadMapText(const std::string& text, std::shared_ptr<const NSKinvar::TItemList> items)
{
    LoadTexts();
    TReadResult result;
    const NSKinvar::TStateNames states =
        items->size() == MakeItems()->size() ? MakeStateNames() : NSKinvar::TStateNames(items->size());
    result.fMap = std::make_shared<NSKinvar::VControlSurfaceMap>(u"Acme", u"Box", std::move(items));
    TText16 errorText;
    try
    {
        NSKinvar::ReadMapFile(DecodeTableText(text), *result.fMap, states, errorText);
    }
    catch (const NSKinvar::XBadFormat&)
    {
        result.fThrew = true;
    }
    result.fErrorText = NSTextPackage::UTF8FromText16(errorText);
    return result;
}
} // namespace NSMapTesting
