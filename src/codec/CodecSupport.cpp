#include "codec/CodecSupport.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <algorithm>
#include <array>
#include <stdexcept>

using namespace NSKinvarCodec;

namespace
{
// A failed record test: the trace names the test, the assertion its place.
bool CheckRecord(bool passed, const char* test, const char* file, i32 line)
{
    if (!passed)
    {
        DebugTrace(file, line, "Codec record fault: %s", test);
        SAssert(file, line);
    }
    return passed;
}

#define BF_CHECK_RECORD(test) CheckRecord((test), #test, __FILE__, __LINE__)

bool IsWithin(i64 value, i64 low, i64 high) { return value >= low && value <= high; }

constexpr i64 kHighestKey = 127;

// Room for a state name: no bound is stated, and a name of item length needs 65.
constexpr std::size_t kStateNameCapacity = 1024;

class CControlSurfaceInfoGetter final : public IControlSurfaceInfoGetter
{
public:
    explicit CControlSurfaceInfoGetter(std::vector<TControlSurfaceInfo>& infos) : rInfos(infos) {}

    u32 IControlSurfaceInfoGetter_Take(const TControlSurfaceInfo* infos, u32 count) override
    {
        return GuardEdge(kCodecEdge, [&] {
            if (count != 0 && infos == nullptr)
                throw std::invalid_argument("");
            rInfos.insert(rInfos.end(), infos, infos + count);
        });
    }

private:
    std::vector<TControlSurfaceInfo>& rInfos;
};
} // namespace

EItemInputFault FindItemInputFault(const TItemInput& input, const TItemInfo& info)
{
    const u32 kind = info.fInputKind;
    if (kind != kInputButton && kind != kInputValue && kind != kInputDelta && kind != kInputKeyboard)
        return EItemInputFault::kItemTakesNoInput;
    if (kind == kInputKeyboard)
    {
        if (!IsWithin(input.fValue1, 0, 1))
            return EItemInputFault::kKeyStateOutOfRange;
        if (!IsWithin(input.fValue2, 0, kHighestKey))
            return EItemInputFault::kKeyOutOfRange;
        return IsWithin(input.fValue3, 0, kHighestKey) ? EItemInputFault::kNone
                                                        : EItemInputFault::kVelocityOutOfRange;
    }
    if (kind == kInputDelta)
        return input.fValue1 != 0 ? EItemInputFault::kNone : EItemInputFault::kDeltaOfZero;
    return IsWithin(input.fValue1, info.fMin, info.fMax) ? EItemInputFault::kNone
                                                          : EItemInputFault::kValueOutOfRange;
}

bool IsItemInputValid(const TItemInput& input, const TItemInfo& info)
{
    static const char* const kTests[] = {
        "",
        "the kind is one of kInputButton, kInputValue, kInputDelta, kInputKeyboard",
        "keyboard fValue1 from 0 to 1",
        "keyboard fValue2 from 0 to 127",
        "keyboard fValue3 from 0 to 127",
        "delta fValue1 not 0",
        "fValue1 from fMin to fMax",
    };
    const EItemInputFault fault = FindItemInputFault(input, info);
    return fault == EItemInputFault::kNone || CheckRecord(false, kTests[static_cast<int>(fault)], __FILE__, __LINE__);
}

void ClampItemInput(TItemInput& input, const TItemInfo& info)
{
    // The minimum with the higher bound after the maximum with the lower one,
    // so that a range with fMin above fMax still gives a defined answer.
    const auto clamp = [](i64 value, i64 low, i64 high) { return std::min(std::max(value, low), high); };
    switch (info.fInputKind)
    {
    case kInputKeyboard:
        input.fValue1 = clamp(input.fValue1, 0, 1);
        input.fValue2 = clamp(input.fValue2, 0, kHighestKey);
        input.fValue3 = clamp(input.fValue3, 0, kHighestKey);
        break;
    case kInputDelta:
        break;
    default:
        input.fValue1 = clamp(input.fValue1, info.fMin, info.fMax);
        break;
    }
}

bool IsItemStateValid(const TItemState& state, const TItemInfo& info)
{
    if (!BF_CHECK_RECORD(info.fOutputKind == kOutputValue || info.fOutputKind == kOutputText))
        return false;
    if (state.fEnabled == 0)
        return true;
    if (info.fOutputKind == kOutputValue && !BF_CHECK_RECORD(IsWithin(state.fValue, info.fMin, info.fMax)))
        return false;
    if (info.fStateCount > 0 && !BF_CHECK_RECORD(state.fStateIndex <= info.fStateCount))
        return false;
    return true;
}

std::shared_ptr<TItemInfoList> GetItemInfos(IControlSurface& surface)
{
    u32 count = 0;
    ThrowCodecResult(surface.IControlSurface_GetItemCount(&count));
    auto infos = std::make_shared<TItemInfoList>();
    infos->reserve(count);
    for (u32 index = 0; index < count; ++index)
    {
        TItemInfo info{};
        ThrowCodecResult(surface.IControlSurface_GetItemInfo(index, &info));
        infos->push_back(info);
    }
    return infos;
}

std::shared_ptr<TItemStateNameList> GetItemStateNames(IControlSurface& surface)
{
    u32 count = 0;
    ThrowCodecResult(surface.IControlSurface_GetItemCount(&count));
    auto names = std::make_shared<TItemStateNameList>(count);
    for (u32 index = 0; index < count; ++index)
    {
        TItemInfo info{};
        ThrowCodecResult(surface.IControlSurface_GetItemInfo(index, &info));
        auto& itemNames = (*names)[index];
        itemNames.reserve(info.fStateCount);
        for (u32 state = 0; state < info.fStateCount; ++state)
        {
            std::array<char16, kStateNameCapacity + 1> buffer{};
            ThrowCodecResult(surface.IControlSurface_GetItemStateName(index, state, buffer.data()));
            buffer.back() = 0; // a codec that forgets the terminator can't run us past the end
            itemNames.emplace_back(buffer.data());
        }
    }
    return names;
}

std::vector<TControlSurfaceInfo> GetControlSurfacesForCodec(const TCodecPtr& codec, const TCodecTextSink& tell)
{
    if (!codec)
    {
        // A script host that could not be loaded ends here.
        BF_ASSERT(codec != nullptr);
        throw XProgrammingError();
    }
    std::vector<TControlSurfaceInfo> infos;
    CControlSurfaceInfoGetter getter(infos);
    CCodecTextGetter messages;
    const u32 status = codec->ICodec2_GetControlSurfaces(getter, messages);
    if (messages.HasText() && tell)
        tell(messages.GetText());
    ThrowCodecResult(status);
    return infos;
}

u32 CCodecTextGetter::ITextGetter_Take(const char16* text)
{
    if (text == nullptr)
        fText.clear();
    else
        fText = text;
    return NSKinvarCodec::kCodecOK;
}

void codec_deleter::operator()(ICodec2* codec) const
{
    if (codec != nullptr)
        BF_ASSERT(codec->ICodec2_Destroy() == NSKinvarCodec::kCodecOK);
}

void codecsurface_deleter::operator()(IControlSurface* surface) const
{
    if (surface != nullptr)
        BF_ASSERT(surface->IControlSurface_Destroy() == NSKinvarCodec::kCodecOK);
}

void ReportBrokenInvariant(bool invariantHolds) { BF_ASSERT(invariantHolds); }

void CopyToRecordText(std::u16string_view text, char16* destination, std::size_t capacity)
{
    if (capacity == 0)
        return;
    const std::size_t length = std::min(text.size(), capacity - 1);
    std::copy_n(text.data(), length, destination);
    std::fill(destination + length, destination + capacity, char16{0});
}
