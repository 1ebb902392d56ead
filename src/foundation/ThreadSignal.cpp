#include "foundation/ThreadSignal.h"

#include "foundation/ThreadDebugger.h"

#include <chrono>
#include <exception>
#include <system_error>

namespace NSThreads
{
namespace
{
template <class TWait> bool FailPlainly(TWait wait)
{
    try
    {
        return wait();
    }
    catch (const std::system_error&)
    {
        throw std::exception();
    }
}
} // namespace

CThreadSignal::~CThreadSignal()
{
    if (fWaiters.load() == 0)
        return;
    try
    {
        NSMosswort::OnAssertionFailed(BF_MOSSWORT_HERE(false), "signal destroyed while waited for");
    }
    catch (...)
    {
        // With no debugger in the slot the report has nowhere to go, and a
        // destructor must not throw.
    }
}

void CThreadSignal::Set()
{
    {
        const std::lock_guard lock(fLock);
        fSignalled = true;
    }
    fSet.notify_one();
}

void CThreadSignal::Wait()
{
    const CWaiterScope scope(fWaiters);
    FailPlainly(
        [this]
        {
            std::unique_lock lock(fLock);
            fSet.wait(lock, [this] { return fSignalled; });
            fSignalled = false;
            return true;
        });
}

bool CThreadSignal::TryWait()
{
    const std::lock_guard lock(fLock);
    const bool signalled = fSignalled;
    fSignalled = false;
    return signalled;
}

bool CThreadSignal::WaitTimed(u32 milliseconds)
{
    const CWaiterScope scope(fWaiters);
    return FailPlainly(
        [this, milliseconds]
        {
            std::unique_lock lock(fLock);
            if (!fSet.wait_for(lock, std::chrono::milliseconds(milliseconds),
                               [this] { return fSignalled; }))
                return false;
            fSignalled = false;
            return true;
        });
}
} // namespace NSThreads
