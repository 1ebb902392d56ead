#include "foundation/LogText.h"

#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"

#include <mutex>

namespace
{
// Function-local, so that a line written during static initialisation of
// another unit finds them built.
std::mutex& PendingLock()
{
    static std::mutex lock;
    return lock;
}

TText16& PendingText()
{
    static TText16 text;
    return text;
}
} // namespace

void AddToLog(const TText16& text)
{
    std::lock_guard lock(PendingLock());
    PendingText() += text;
}

void AddLineToLog(u32 textId, const std::vector<TText16>& parameters)
{
    AddToLog(NSTextPackage::SubstituteParameters(GetProgramText(textId), 0, parameters) + u'\n');
}

bool FlushPendingLog(const std::function<void(const TText16&)>& deliver)
{
    std::lock_guard lock(PendingLock());
    TText16& pending = PendingText();
    if (pending.empty())
        return false;
    const TText16 copy = std::move(pending);
    pending.clear();
    deliver(copy);
    return true;
}

TText16 TakePendingLog()
{
    std::lock_guard lock(PendingLock());
    TText16 taken = std::move(PendingText());
    PendingText().clear();
    return taken;
}
