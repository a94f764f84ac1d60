#include "rendu/crew.h"

#include <QThread>
#include <algorithm>
#include <utility>

namespace kivra::rendu {

Crew::Crew(int mostThreads, std::size_t pictures, Work toDo)
    : count(pictures)
    , work(std::move(toDo))
    , threadsAllowed(mostThreads)
{
}

Crew::~Crew()
{
    stop();
    for (const auto &thread : threads)
        thread->wait();
}

void Crew::start()
{
    const int atWork = int(std::min(std::size_t(threadsAllowed), count));
    for (int i = 0; i < atWork; ++i) {
        const int renderThreads = threadsAllowed / atWork;
        threads.emplace_back(QThread::create([=] { labour(renderThreads); }));
        connect(threads.back().get(), &QThread::finished, this, [this] {
            if (--threadsAtWork == 0)
                emit finished();
        });
    }
    threadsAtWork = threads.size();
    for (const auto &thread : threads)
        thread->start();
}

void Crew::stop()
{
    isStopping = true;
    for (const auto &thread : threads)
        thread->quit();
}

// Runs in each worker thread.
void Crew::labour(int renderThreads)
{
    Bench bench(renderThreads);
    while (!isStopping) {
        const std::size_t number = next++;
        if (number >= count)
            break;
        const Outcome outcome = work(bench, number);
        QMetaObject::invokeMethod(
            this, [=] { emit done(number, outcome); }, Qt::QueuedConnection);
    }
}

} // namespace kivra::rendu
