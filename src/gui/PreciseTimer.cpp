#include "gui/PreciseTimer.h"

#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <QSocketNotifier>

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>

namespace
{
// std::chrono::steady_clock is CLOCK_MONOTONIC on this platform.
itimerspec At(std::chrono::steady_clock::time_point when)
{
    using namespace std::chrono;
    // Zero would disarm the timer: the earliest moment is a nanosecond.
    const auto since =
        std::max(duration_cast<nanoseconds>(when.time_since_epoch()), nanoseconds(1));
    itimerspec value{};
    value.it_value.tv_sec = static_cast<time_t>(since.count() / 1000000000);
    value.it_value.tv_nsec = static_cast<long>(since.count() % 1000000000);
    return value;
}
} // namespace

CPreciseTimer::CPreciseTimer(QObject* parent)
    : QObject(parent), fFile(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))
{
    if (fFile < 0)
        ThrowErrnoError(errno);
    fNotifier = new QSocketNotifier(fFile, QSocketNotifier::Read, this);
    connect(fNotifier, &QSocketNotifier::activated, this, [this] {
        u64 expirations = 0;
        if (read(fFile, &expirations, sizeof expirations) == sizeof expirations)
            emit Timeout();
    });
}

CPreciseTimer::~CPreciseTimer()
{
    close(fFile);
}

void CPreciseTimer::StartAt(std::chrono::steady_clock::time_point when)
{
    const itimerspec value = At(when);
    timerfd_settime(fFile, TFD_TIMER_ABSTIME, &value, nullptr);
}

void CPreciseTimer::Stop()
{
    const itimerspec off{};
    timerfd_settime(fFile, 0, &off, nullptr);
}
