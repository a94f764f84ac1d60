#pragma once

#include "rendu/bench.h"
#include "rendu/document.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

class QThread;

namespace kivra::rendu {

/// What became of one picture.
struct Outcome
{
    enum class Kind {
        Made,
        MadeBefore,
        Failed,
        GivenUp, ///< the crew was told to stop
    };

    Kind kind = Kind::GivenUp;
    QString fault; ///< of a failure, in French
    Page page;     ///< of a picture made for a document
};

/// Worker threads that share the pictures, each at a bench of its own. The thread that creates the
/// crew needs an event loop.
class Crew : public QObject
{
    Q_OBJECT

public:
    /// Called in a worker thread, for the picture of this number.
    using Work = std::function<Outcome(Bench &bench, std::size_t number)>;

    /// Lets \a threads threads work on the pictures 0 to \a count - 1.
    Crew(int threads, std::size_t count, Work work);
    ~Crew() override;

    void start();
    /// Begins nothing new, and gives up the pictures that are being opened.
    void stop();

signals:
    /// In no particular order.
    void done(std::size_t number, const kivra::rendu::Outcome &outcome);
    /// After the last done().
    void finished();

private:
    void labour(int renderThreads);

    std::size_t count;
    Work work;
    std::atomic<std::size_t> next{0};
    std::atomic<bool> isStopping{false};
    std::vector<std::unique_ptr<QThread>> threads;
    std::size_t threadsAtWork = 0;
    int threadsAllowed;
};

} // namespace kivra::rendu
