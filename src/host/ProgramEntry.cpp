#include "host/ProgramEntry.h"

#include "foundation/Failures.h"

namespace
{
constexpr std::size_t kStartupTextLimit = 255;

TText16 Limited(const char16_t* text)
{
    TText16 limited(text);
    if (limited.size() > kStartupTextLimit)
        limited.resize(kStartupTextLimit);
    return limited;
}
} // namespace

TStartupParams MakeStartupParams()
{
    return {Limited(u"Thistlemarrow Software"), Limited(u"Brassfold"), Limited(u"About Brassfold...")};
}

int RunWorkbench(const TVistalRun& run, std::unique_ptr<IVistalRunBehavior> behaviour)
{
    const u32 status = run(behaviour.get(), MakeStartupParams());
    if (status == kVistalOK)
        static_cast<void>(behaviour.release()); // the toolkit deletes it now
    else
        behaviour.reset();
    ThrowVistalResult(status);
    return 0;
}
