#include "tests/endurance/heartbeat.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <pthread.h>

namespace kivra::test {

namespace {

constexpr std::chrono::milliseconds pause(5);

qint64 readClock(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

} // namespace

Heartbeat::Heartbeat(int hangMs)
    : watched(pthread_self())
{
    pthread_getcpuclockid(watched, &threadClock);
    watcher = std::thread([this, hangMs] { watch(hangMs); });
}

Heartbeat::~Heartbeat()
{
    {
        const std::lock_guard<std::mutex> lock(guard);
        ending = true;
    }
    changed.notify_all();
    watcher.join();
}

void Heartbeat::doing(const QByteArray &what)
{
    const std::lock_guard<std::mutex> lock(guard);
    activity = what;
}

Heartbeat::Moment Heartbeat::now() const
{
    return {readClock(CLOCK_MONOTONIC), readClock(threadClock)};
}

// Runs in the watched thread.
void Heartbeat::beat(Moment asked)
{
    const Moment reached = now();
    const std::lock_guard<std::mutex> lock(guard);
    const Turn turn = {reached.ms - asked.ms, reached.processorMs - asked.processorMs, activity};
    if (turn.ms > byClock.ms)
        byClock = turn;
    if (turn.processorMs > byProcessor.processorMs)
        byProcessor = turn;
    answered = true;
    changed.notify_all();
}

// Runs in the watching thread: asks for a turn, waits for it, and asks again.
void Heartbeat::watch(int hangMs)
{
    std::unique_lock<std::mutex> lock(guard);
    while (!ending) {
        answered = false;
        QMetaObject::invokeMethod(
            this, [this, asked = now()] { beat(asked); }, Qt::QueuedConnection);
        if (!changed.wait_for(lock, std::chrono::milliseconds(hangMs),
                              [this] { return answered || ending; })) {
            std::fprintf(stderr, "no turn of the event loop for %d ms: %s\n", hangMs,
                         activity.constData());
            std::fflush(stderr);
            pthread_kill(watched, SIGABRT);
            return;
        }
        changed.wait_for(lock, pause, [this] { return ending; });
    }
}

} // namespace kivra::test
