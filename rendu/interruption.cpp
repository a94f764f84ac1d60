#include "rendu/interruption.h"

#include <QSocketNotifier>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kivra::rendu {

namespace {

constexpr int interruptions[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> firstNumber{0};
int pipeEnds[2] = {-1, -1};

extern "C" void noteSignal(int number)
{
    const int error = errno;
    int none = 0;
    firstNumber.compare_exchange_strong(none, number);
    const char byte = 0;
    // A full pipe already holds a byte, and one is enough.
    const ssize_t written = write(pipeEnds[1], &byte, 1);
    static_cast<void>(written);
    errno = error;
}

void handle(int number)
{
    struct sigaction before = {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    sigaction(number, &action, nullptr);
}

} // namespace

Interruption::Interruption()
{
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the signals then end the program, as by default
    auto *const notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false);
        emit came();
    });
    for (const int number : interruptions)
        handle(number);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

// The pipe stays open: a signal may still come during destruction.
Interruption::~Interruption() = default;

int Interruption::number()
{
    return firstNumber;
}

} // namespace kivra::rendu
