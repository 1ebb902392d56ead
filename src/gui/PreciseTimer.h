#pragma once
// A single-shot wake-up of Qt's loop at a moment of the monotonic clock, to
// the microsecond. Qt's timers count whole milliseconds from when they are
// started, which would make each output frame half a millisecond late on
// average; the kernel's timer file wakes the loop at the moment itself.
// The user interface thread.

#include <QObject>

#include <chrono>

class QSocketNotifier;

class CPreciseTimer final : public QObject
{
    Q_OBJECT

public:
    explicit CPreciseTimer(QObject* parent = nullptr);
    ~CPreciseTimer() override;

    // Replaces a wake-up that is set; a moment that has passed wakes at once.
    void StartAt(std::chrono::steady_clock::time_point when);
    void Stop();

signals:
    void Timeout();

private:
    int fFile;
    QSocketNotifier* fNotifier;
};
