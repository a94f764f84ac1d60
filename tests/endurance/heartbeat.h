#pragma once

#include <QByteArray>
#include <QObject>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace kivra::test {

/// Measures, from a thread of its own, how long the turns of the creating thread's event loop take,
/// and ends the process with SIGABRT if the loop hangs.
class Heartbeat : public QObject
{
    Q_OBJECT

public:
    /// Time from one turn of the event loop to the next.
    struct Turn
    {
        qint64 ms = 0;          ///< by the clock
        qint64 processorMs = 0; ///< at work in the thread itself
        QByteArray during;      ///< what it was doing
    };

    /// A turn of more than \a hangMs counts as a hang.
    explicit Heartbeat(int hangMs);
    ~Heartbeat() override;

    /// Tells what the thread does from now on, for the report.
    void doing(const QByteArray &what);

    Turn longest() const { return byClock; }
    /// The turn with the most work: how long it would have taken on an idle machine, apart from
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
