#include "codec/CodecSupport.h"

#include "AssertionRecorder.h"
#include "foundation/Exceptions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace NSKinvarCodec;

namespace
{
// Also a name of the foundation's edge table; this file means the contract's.
using NSKinvarCodec::kCodecOK;

TItemInfo MakeInfo(u32 inputKind, u32 outputKind, i64 min, i64 max, u32 stateCount = 0)
{
    TItemInfo info{};
    info.fInputKind = inputKind;
    info.fOutputKind = outputKind;
    info.fMin = min;
    info.fMax = max;
    info.fStateCount = stateCount;
    return info;
}

TItemInput MakeInput(i64 value1, i64 value2 = 0, i64 value3 = 0)
{
    TItemInput input{};
    input.fValue1 = value1;
    input.fValue2 = value2;
    input.fValue3 = value3;
    return input;
}

TEST(ItemInputValidity, JudgesAgainstTheItemKindAndRange)
{
    struct TInputCase
    {
        const char* fName;
        u32 fKind;
        TItemInput fInput;
        bool fValid;
    };
    const TInputCase cases[] = {
        {"DeltaOfZero", kInputDelta, MakeInput(0), false},
        {"DeltaFarOutsideRange", kInputDelta, MakeInput(-1000000), true},
        {"KeyboardDownAtTopKey", kInputKeyboard, MakeInput(1, 127, 127), true},
        {"KeyboardValue1OfTwo", kInputKeyboard, MakeInput(2, 60, 100), false},
        {"KeyboardKeyAbove127", kInputKeyboard, MakeInput(1, 128, 100), false},
        {"KeyboardNegativeVelocity", kInputKeyboard, MakeInput(0, 60, -1), false},
        {"ValueAtMin", kInputValue, MakeInput(-10), true},
        {"ValueAboveMax", kInputValue, MakeInput(11), false},
        {"ButtonBelowMin", kInputButton, MakeInput(-11), false},
        {"ItemWithoutInput", kInputNone, MakeInput(0), false},
        {"UnknownKind", 0, MakeInput(0), false}};
    for (const TInputCase& c : cases)
    {
        NSTesting::CExpectAssertions expect;
        EXPECT_EQ(IsItemInputValid(c.fInput, MakeInfo(c.fKind, kOutputNone, -10, 10)), c.fValid) << c.fName;
        EXPECT_EQ(expect.Count(), c.fValid ? 0u : 1u) << c.fName << ": each refusal is one failed assertion";
    }
}

TEST(ItemInputValidity, ComparesTheFull64BitValues)
{
    const TItemInfo info = MakeInfo(kInputValue, kOutputNone, 0, 0xFFFFFFFFLL);
    EXPECT_TRUE(IsItemInputValid(MakeInput(0xFFFFFFFFLL), info));
    NSTesting::CExpectAssertions expect;
    EXPECT_FALSE(IsItemInputValid(MakeInput(0x100000000LL), info));
}

TEST(ClampItemInput, ForcesEachKindIntoItsRange)
{
    TItemInput keyboard = MakeInput(5, -3, 300);
    ClampItemInput(keyboard, MakeInfo(kInputKeyboard, kOutputNone, 0, 0));
    EXPECT_EQ(keyboard.fValue1, 1);
    EXPECT_EQ(keyboard.fValue2, 0);
    EXPECT_EQ(keyboard.fValue3, 127);

    TItemInput delta = MakeInput(-500);
    ClampItemInput(delta, MakeInfo(kInputDelta, kOutputNone, -1, 1));
    EXPECT_EQ(delta.fValue1, -500);

    TItemInput value = MakeInput(99, 7, 8);
    ClampItemInput(value, MakeInfo(kInputValue, kOutputNone, 0, 10));
    EXPECT_EQ(value.fValue1, 10);
    EXPECT_EQ(value.fValue2, 7) << "only the first value belongs to a value item";
}

TEST(ItemStateValidity, JudgesAgainstTheItemOutput)
{
    struct TStateCase
    {
        const char* fName;
        u32 fOutputKind, fEnabled;
        i64 fValue;
        u32 fStateIndex;
        bool fValid;
    };
    const TStateCase cases[] = {{"ItemWithoutOutput", kOutputNone, 1, 0, 0, false},
                                {"DisabledSkipsEveryRangeTest", kOutputValue, 0, 5000, 99, true},
                                {"ValueAtMax", kOutputValue, 1, 100, 0, true},
                                {"ValueAboveMax", kOutputValue, 1, 101, 0, false},
                                {"TextIgnoresValue", kOutputText, 1, 101, 0, true},
                                {"StateIndexOnePastLast", kOutputValue, 1, 0, 3, true},
                                {"StateIndexBeyond", kOutputText, 1, 0, 4, false}};
    for (const TStateCase& c : cases)
    {
        TItemState state{};
        state.fEnabled = c.fEnabled;
        state.fValue = c.fValue;
        state.fStateIndex = c.fStateIndex;
        NSTesting::CExpectAssertions expect;
        EXPECT_EQ(IsItemStateValid(state, MakeInfo(kInputNone, c.fOutputKind, 0, 100, 3)), c.fValid) << c.fName;
        EXPECT_EQ(expect.Count(), c.fValid ? 0u : 1u) << c.fName;
    }
}

TEST(CodecTextGetter, KeepsTheLastTextOfACall)
{
    CCodecTextGetter getter;
    EXPECT_FALSE(getter.HasText());
    EXPECT_EQ(getter.ITextGetter_Take(u"first"), kCodecOK);
    EXPECT_EQ(getter.ITextGetter_Take(u"second"), kCodecOK);
    EXPECT_EQ(getter.GetText(), u"second");
}

TEST(RecordText, IsCutZeroTerminatedAndReadBackToItsTerminator)
{
    char16 field[5];
    std::fill(std::begin(field), std::end(field), u'#');
    SetRecordText(field, u"abcdefg");
    EXPECT_EQ(GetRecordText(field), u"abcd");
    SetRecordText(field, u"ab");
    EXPECT_EQ(field[3], 0) << "the rest of the array is zero-filled";
    EXPECT_EQ(GetRecordText(field), u"ab");
}

TEST(CodecOperationFrame, TurnsFailuresIntoStatusWords)
{
    u32 intact = 1;
    const auto invariant = [&] { return intact; };
    EXPECT_EQ(GuardCodecOperation(invariant, [] {}), kCodecOK);
    EXPECT_EQ(GuardCodecOperation(invariant, [] { throw std::invalid_argument("x"); }), kCodecInvalidArgument);
    EXPECT_EQ(GuardCodecOperation(invariant, [] { throw 5; }), kCodecUnknownError);

    bool entered = false;
    intact = 0;
    EXPECT_EQ(GuardCodecOperation(invariant, [&] { entered = true; }), kCodecInvariantCorrupt);
    EXPECT_FALSE(entered);

    intact = 1;
    NSTesting::CExpectAssertions expect;
    EXPECT_EQ(GuardCodecOperation(invariant, [&] { intact = 0; }), kCodecOK);
    EXPECT_EQ(expect.Count(), 1u) << "an invariant broken by the body is a failed assertion";
}
} // namespace
