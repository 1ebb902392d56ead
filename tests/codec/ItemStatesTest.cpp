#include "codec/ItemStates.h"

#include "AssertionRecorder.h"
#include "codec/CodecSupport.h"

#include <gtest/gtest.h>

using namespace NSKinvarCodec;

namespace
{
TItemInfo NamedItem(const char16* name, u32 outputKind)
{
    TItemInfo info{};
    SetRecordText(info.fName, name);
    info.fOutputKind = outputKind;
    info.fMax = 100000;
    return info;
}

// Each text field is cut to its own array; the short joined forms are built
// on the short names, not cut from the long joined one.
TEST(ItemStates, CutEachNameToItsField)
{
    struct TStateCase
    {
        const char16* fItem;
        i64 fValue;
        const char16 *fShort, *fShortest, *fNameAndValue, *fShortNameAndValue, *fShortestNameAndValue;
    };
    const TStateCase cases[] = {
        {u"Fader", -7, u"Fader", u"Fade", u"Fader -7", u"Fader -7", u"Fade -7"},
        {u"Master Volume", 16383, u"Master V", u"Mast", u"Master Volume 16383", u"Master V 16383", u"Mast 163"},
        {u"Transport Jog Wheel", 12345678, u"Transpor", u"Tran", u"Transport Jog Wheel 12345678", u"Transpor 1234567",
         u"Tran 123"},
    };
    for (const TStateCase& c : cases)
    {
        SCOPED_TRACE(c.fValue);
        const TItemState state = MakeValueState(NamedItem(c.fItem, kOutputValue), c.fValue, true, 2);
        EXPECT_EQ(GetRecordText(state.fName), c.fItem);
        EXPECT_EQ(GetRecordText(state.fShortName), c.fShort);
        EXPECT_EQ(GetRecordText(state.fShortestName), c.fShortest);
        EXPECT_EQ(GetRecordText(state.fNameAndValue), c.fNameAndValue);
        EXPECT_EQ(GetRecordText(state.fShortNameAndValue), c.fShortNameAndValue);
        EXPECT_EQ(GetRecordText(state.fShortestNameAndValue), c.fShortestNameAndValue);
        EXPECT_EQ(state.fValue, c.fValue);
        EXPECT_EQ(state.fStateIndex, 2u);
        EXPECT_EQ(state.fEnabled, 1u);
    }
}

TEST(ItemStates, TextStatesCarryTheTextAndNoValue)
{
    const TItemInfo display = NamedItem(u"Display", kOutputText);
    const std::u16string longText(70, u'x');
    const TItemState state = MakeTextState(display, longText, false);
    EXPECT_EQ(state.fEnabled, 0u);
    EXPECT_EQ(GetRecordText(state.fValueText), longText.substr(0, 64));
    EXPECT_EQ(GetRecordText(state.fShortestNameAndValue), u"Disp xxx");
    EXPECT_EQ(state.fValue, 0);
    EXPECT_EQ(state.fStateIndex, 0u);

    // Neither kind of state belongs to an item that shows nothing, and a text
    // only to a text item.
    const NSTesting::CExpectAssertions expected;
    MakeValueState(NamedItem(u"Knob", kOutputNone), 1, true, 0);
    MakeTextState(NamedItem(u"Lamp", kOutputValue), u"on", true);
    EXPECT_EQ(expected.Count(), 2u);
}
} // namespace
