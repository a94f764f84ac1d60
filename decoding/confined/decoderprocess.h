#pragma once

#include "decoding/confined/descriptor.h"

#include <QString>
#include <memory>
#include <sys/types.h>

namespace kivra {

/// A running decoder program. Ends with this object, whatever it is doing.
class DecoderProcess
{
public:
    /// Starts \a program with a socket as its descriptor 3, /dev/null as its input and output and
    /// the few environment variables that fonts, plug-ins and texts depend on. Null if it cannot be
    /// started.
    ///
    /// When the calling thread ends, the system ends the program too.
    static std::unique_ptr<DecoderProcess> start(const QString &program);
    ~DecoderProcess();
    DecoderProcess(const DecoderProcess &) = delete;
    DecoderProcess &operator=(const DecoderProcess &) = delete;

    /// The viewer's end of the socket, once.
    Descriptor takeSocket() { return std::move(connection); }
    pid_t id() const { return process; }
    /// The processor time that it has used since its start, in milliseconds; negative once it has
    /// ended.
    qint64 workedMs() const;
    /// Makes the system end it after this much more processor time, in case the viewer does not.
    void moveLimit(qint64 ms) const;

    /// Reaps killed processes, which take a moment to end. True when none is left to reap.
    static bool buryTheDead();

private:
    DecoderProcess(pid_t started, Descriptor socket);

    pid_t process;
    Descriptor connection;
};

} // namespace kivra
