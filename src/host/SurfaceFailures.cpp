#include "host/SurfaceFailures.h"

#include "foundation/LogText.h"
#include "foundation/TextPackage.h"

namespace
{
constexpr u32 kNoMoreKindsText = 50;
} // namespace

CSurfaceFailures::CSurfaceFailures(TText16 surface) : fSurface(std::move(surface)) {}

void CSurfaceFailures::Report(u32 textId, const TText16& detail)
{
    std::lock_guard lock(fLock);
    if (fReported.size() > kMaxFailureKinds || !fReported.emplace(textId, detail).second)
        return;
    if (fReported.size() > kMaxFailureKinds)
        AddLineToLog(kNoMoreKindsText, {fSurface});
    else
        AddLineToLog(textId, {fSurface, detail});
}

void CSurfaceFailures::ReportCurrentException(u32 textId, const TText16& codecText)
{
    Report(textId, DescribeCurrentException(codecText));
}

TText16 DescribeCurrentException(const TText16& codecText)
{
    TText16 what;
    try
    {
        throw;
    }
    catch (const std::exception& e)
    {
        what = NSTextPackage::Text16FromUTF8(e.what());
    }
    catch (...)
    {
        what = u"unknown exception";
    }
    if (codecText.empty() || what.empty())
        return codecText.empty() ? what : codecText;
    return codecText + u" (" + what + u")";
}
