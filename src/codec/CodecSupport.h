#pragma once
// What the host puts between a codec and the rest of the program.
//
// The host trusts no codec: the record checks below catch a codec author's
// mistakes before an input reaches a map or a state reaches a codec, and the
// list functions copy a codec's models and a surface's item descriptions into
// host containers. Also
// here: the text getter that every call into a codec carries, the deleters of
// codec objects, the frame that every contract operation of our own codecs
// runs in, and the copying of texts into and out of the records.

#include "codec/KinvarCodec.h"
#include "foundation/Failures.h"
#include "foundation/LogText.h"
#include "foundation/Types.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

static_assert(kCodecOK == NSKinvarCodec::kCodecOK);
static_assert(kCodecUnknown == NSKinvarCodec::kCodecUnknownError);

// ---- Record checks ------------------------------------------------------------

// What can be wrong with an input for its item, in the order of the tests.
enum class EItemInputFault
{
    kNone,
    kItemTakesNoInput,   // the item's input kind is none of the four
    kKeyStateOutOfRange, // keyboard fValue1 not 0 or 1
    kKeyOutOfRange,      // keyboard fValue2 outside 0 to 127
    kVelocityOutOfRange, // keyboard fValue3 outside 0 to 127
    kDeltaOfZero,        // a delta of 0
    kValueOutOfRange,    // button or value fValue1 outside fMin to fMax
};

// The first test that the input fails, without a word. Any thread.
EItemInputFault FindItemInputFault(const NSKinvarCodec::TItemInput& input, const NSKinvarCodec::TItemInfo& info);

// Whether an input makes sense for its item. Each failed test is a failed
// assertion that names the test, and the answer is false: the host drops the
// input. Any thread, MIDI threads included.
bool IsItemInputValid(const NSKinvarCodec::TItemInput& input, const NSKinvarCodec::TItemInfo& info);

// Forces an input that passed IsItemInputValid into its item's range: keyboard
// values into 0 to 1 and 0 to 127, a delta not at all, others into fMin to fMax.
// Any thread, MIDI threads included.
void ClampItemInput(NSKinvarCodec::TItemInput& input, const NSKinvarCodec::TItemInfo& info);

// Whether a state makes sense for its item; failures as in IsItemInputValid.
// The bound of fStateIndex is inclusive by design: one past the last state name.
bool IsItemStateValid(const NSKinvarCodec::TItemState& state, const NSKinvarCodec::TItemInfo& info);

// ---- Item lists -------------------------------------------------------------------

using TItemInfoList = std::vector<NSKinvarCodec::TItemInfo>;
// For each item, its state names in order, fStateCount long.
using TItemStateNameList = std::vector<std::vector<TText16>>;

// One TItemInfo for each item of the surface. Throws what ThrowCodecResult throws.
std::shared_ptr<TItemInfoList> GetItemInfos(NSKinvarCodec::IControlSurface& surface);
// The state names of each item. Throws what ThrowCodecResult throws.
std::shared_ptr<TItemStateNameList> GetItemStateNames(NSKinvarCodec::IControlSurface& surface);

// ---- The text getter ------------------------------------------------------------------

// The host's ITextGetter, handed to every call into a codec. The last text of a
// call is what stays; the host writes it to the log before it looks at the status.
class CCodecTextGetter : public NSKinvarCodec::ITextGetter
{
public:
    // Any thread: a getter belongs to the one call that carries it.
    NSKinvarCodec::u32 ITextGetter_Take(const char16* text) override;

    const TText16& GetText() const { return fText; }
    bool HasText() const { return !fText.empty(); }
    void Clear() { fText.clear(); }

private:
    TText16 fText;
};

namespace NSKinvarSetupUtils
{
using CTextGetter = CCodecTextGetter;
} // namespace NSKinvarSetupUtils

// ---- Ownership ------------------------------------------------------------------

// The deleters of shared pointers to codec objects: each frees the object by
// its own Destroy, in the module that made it. A result other than kCodecOK is a
// failed assertion; a null pointer is passed over.
struct codec_deleter
{
    void operator()(NSKinvarCodec::ICodec2* codec) const;
};

struct codecsurface_deleter
{
    void operator()(NSKinvarCodec::IControlSurface* surface) const;
};

using TCodecPtr = std::shared_ptr<NSKinvarCodec::ICodec2>;
using TControlSurfacePtr = std::shared_ptr<NSKinvarCodec::IControlSurface>;

// ---- The models of a codec -----------------------------------------------------------

// Where what a codec says goes: the log window in the workbench (AddToLog),
// the error stream in the check tool.
using TCodecTextSink = std::function<void(const TText16&)>;

// The models that codec offers, in the codec's order. What the codec says goes
// to tell first, then the status is looked at (ThrowCodecResult). An empty
// codec is a failed assertion and XProgrammingError: that is where a missing
// script host stops "Choose Codec File".
std::vector<NSKinvarCodec::TControlSurfaceInfo> GetControlSurfacesForCodec(const TCodecPtr& codec,
                                                                        const TCodecTextSink& tell = &AddToLog);

// ---- The frame of a contract operation ----------------------------------------------

// The failed assertion of a broken invariant after an operation.
void ReportBrokenInvariant(bool invariantHolds);

// Runs body as a contract operation of an object whose invariant check is
// checkInvariant: a broken invariant before returns kCodecInvariantCorrupt
// without entering the body, one after is a failed assertion; a std::exception
// becomes CodecResultFromException's word, anything else kCodecUnknownError.
// No exception leaves it.
template <class Invariant, class Body>
NSKinvarCodec::u32 GuardCodecOperation(Invariant&& checkInvariant, Body&& body) noexcept
{
    try
    {
        if (checkInvariant() != 1)
            return NSKinvarCodec::kCodecInvariantCorrupt;
    }
    catch (...)
    {
        return NSKinvarCodec::kCodecInvariantCorrupt;
    }
    return GuardEdge(kCodecEdge, [&] {
        body();
        ReportBrokenInvariant(checkInvariant() == 1);
    });
}

// ---- Texts of the records ---------------------------------------------------------

// Copies text into a record's array of capacity units: cut at capacity minus
// one units, zero-terminated, the rest zero-filled.
void CopyToRecordText(std::u16string_view text, char16* destination, std::size_t capacity);

template <std::size_t N> void SetRecordText(char16 (&field)[N], std::u16string_view text)
{
    CopyToRecordText(text, field, N);
}

// The text of a record's array, up to its terminator or its end.
template <std::size_t N> TText16 GetRecordText(const char16 (&field)[N])
{
    std::size_t length = 0;
    while (length < N && field[length] != 0)
        ++length;
    return TText16(field, length);
}
