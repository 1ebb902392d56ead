#include "foundation/Thread.h"

#include "foundation/Exceptions.h"
#include "foundation/ThreadDebugger.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

namespace NSThreads
{
namespace
{
// The operating system keeps 15 bytes of a thread's name; a cut never splits
// a UTF-8 sequence.
constexpr std::size_t kSystemNameBytes = 15;

std::string SystemName(const std::string& name)
{
    if (name.size() <= kSystemNameBytes)
        return name;
    std::size_t end = kSystemNameBytes;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end;
    return name.substr(0, end);
}

// Linux gives each thread its own nice value; lower is more important.
int NiceValue(EThreadPriority priority)
{
    switch (priority)
    {
    case EThreadPriority::kIdle:
        return 19;
    case EThreadPriority::kLowest:
        return 10;
    case EThreadPriority::kBelowNormal:
        return 5;
    case EThreadPriority::kNormal:
        return 0;
    case EThreadPriority::kAboveNormal:
        return -5;
    case EThreadPriority::kHighest:
        return -10;
    case EThreadPriority::kTimeCritical:
        return -20;
    }
    return 0;
}
} // namespace

CThread::CThread(TThreadEntry entry, void* argument, EThreadPriority priority, std::string name)
    : fEntry(entry), fArgument(argument), fName(std::move(name))
{
    try
    {
        fThread = std::thread([this] { Run(); });
    }
    catch (const std::system_error&)
    {
        NSMosswort::ExceptionThrown(BF_MOSSWORT_HERE(false));
        throw XThreadCreateError();
    }
    WaitUntilReady();
    SetPriority(priority);
    SetSystemName();
    Release(EStart::kGo);
}

CThread::~CThread()
{
    if (!fThread.joinable())
        return;
    if (!HasEnded())
        RequestStop();
    fThread.join();
}

void CThread::Run()
{
    {
        std::unique_lock lock(fLock);
        fThreadId.store(static_cast<i64>(::syscall(SYS_gettid)));
        fReady = true;
        fChanged.notify_all();
        fChanged.wait(lock, [this] { return fStart != EStart::kHeld; });
        if (fStart == EStart::kAbandon)
            return;
    }
    fExitCode.store(fEntry(*this, fArgument));
    fEnded.store(true);
}

void CThread::WaitUntilReady()
{
    std::unique_lock lock(fLock);
    fChanged.wait(lock, [this] { return fReady; });
}

void CThread::Release(EStart start)
{
    {
        const std::lock_guard lock(fLock);
        fStart = start;
    }
    fChanged.notify_all();
}

void CThread::SetPriority(EThreadPriority priority)
{
    const int nice = NiceValue(priority);
    if (nice == 0)
        return;
    if (::setpriority(PRIO_PROCESS, static_cast<id_t>(fThreadId.load()), nice) == 0)
        return;
    // An ordinary user may lower a priority but not raise it: the thread then
    // runs at normal priority, as it would on a system without priorities.
    if (nice < 0 && (errno == EPERM || errno == EACCES))
    {
        NSMosswort::Trace(BF_MOSSWORT_HERE(false), "Thread \"%s\" runs at normal priority",
                          fName.c_str());
        return;
    }
    Abandon();
}

void CThread::SetSystemName()
{
    // A debugging aid only: a failure changes nothing else.
    ::pthread_setname_np(fThread.native_handle(), SystemName(fName).c_str());
}

void CThread::Abandon()
{
    Release(EStart::kAbandon);
    fThread.join();
    NSMosswort::ExceptionThrown(BF_MOSSWORT_HERE(false));
    throw XThreadCreateError();
}

void CThread::RequestStop()
{
    {
        const std::lock_guard lock(fLock);
        fStopRequested = true;
    }
    fChanged.notify_all();
}

bool CThread::IsStopRequested() const
{
    const std::lock_guard lock(fLock);
    return fStopRequested;
}

void CThread::WaitForStopRequest()
{
    std::unique_lock lock(fLock);
    fChanged.wait(lock, [this] { return fStopRequested; });
}

bool CThread::WaitForStopRequest(u32 milliseconds)
{
    std::unique_lock lock(fLock);
    return fChanged.wait_for(lock, std::chrono::milliseconds(milliseconds),
                             [this] { return fStopRequested; });
}

bool CThread::HasEnded() const
{
    return fEnded.load();
}

u32 CThread::GetExitCode() const
{
    return fExitCode.load();
}

i64 CThread::GetThreadId() const
{
    return fThreadId.load();
}

const std::string& CThread::GetName() const
{
    return fName;
}
} // namespace NSThreads
