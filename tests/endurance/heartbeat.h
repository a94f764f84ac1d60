#pragma once

#include <QByteArray>
#include <QObject>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace kivra::test {

/// Measures, from a thread of its own, how long the event loop of the thread that makes it does not
/// turn, and ends the process with SIGABRT when it does not turn at all any more.
class Heartbeat : public QObject
{
    Q_OBJECT

public:
    /// Time from one turn of the event loop to the next.
    struct Turn
    {
        qint64 ms = 0;          ///< by the clock
        qint64 processorMs = 0; ///< that the thread itself was at work
        QByteArray during;      ///< what it was doing
    };

    /// A turn of more than \a hangMs counts as the end of all turning.
    explicit Heartbeat(int hangMs);
    ~Heartbeat() override;

    /// What the thread does from now on, for the report.
    void doing(const QByteArray &what);

    Turn longest() const { return byClock; }
    /// The one with the most work in it: how long it would have been on an idle machine, but for
    /// what it waited for.
    Turn busiest() const { return byProcessor; }

private:
    struct Moment
    {
        qint64 ms = 0;
        qint64 processorMs = 0;
    };

    Moment now() const;
    void beat(Moment asked);
    void watch(int hangMs);

    clockid_t threadClock = 0;
    pthread_t watched;
    Turn byClock;
    Turn byProcessor;
    std::mutex guard; // of what follows
    std::condition_variable changed;
    QByteArray activity;
    bool answered = false;
    bool ending = false;
    std::thread watcher;
};

} // namespace kivra::test
