#include "decoding/confined/decoderprocess.h"

#include "decoding/confined/protocol.h"

#include <QFile>
#include <QList>
#include <QtDebug>
#include <algorithm>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <vector>

namespace kivra {

namespace {

// The decoder needs nothing else from the session's environment.
bool isPassedOn(const QByteArray &variable)
{
    static const QList<QByteArray> names = {
        "HOME=",           "LANG=",           "LANGUAGE=",       "LC_",
        "XDG_DATA_",       "XDG_CONFIG_",     "XDG_CACHE_HOME=", "FONTCONFIG_",
        "QT_PLUGIN_PATH=", "LD_LIBRARY_PATH="};
    return std::any_of(names.begin(), names.end(),
                       [&](const QByteArray &name) { return variable.startsWith(name); });
}

std::vector<char *> environmentFor(char **own)
{
    std::vector<char *> passed;
    for (; own && *own; ++own) {
        if (isPassedOn(QByteArray::fromRawData(*own, int(qstrlen(*own)))))
            passed.push_back(*own);
    }
    passed.push_back(nullptr);
    return passed;
}

// File actions and attributes for spawning the program.
class Setting
{
public:
    explicit Setting(int socket)
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, socket, protocol::decoderSocket);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
#ifndef __SANITIZE_ADDRESS__ // whose reports must be seen
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
#endif
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Setting()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    Setting(const Setting &) = delete;
    Setting &operator=(const Setting &) = delete;

    posix_spawn_file_actions_t actions = {};
    posix_spawnattr_t attributes = {};
};

struct Graves
{
    std::mutex mutex;
    std::vector<pid_t> killed;
};

Graves &graves()
{
    static Graves all;
    return all;
}

} // namespace

std::unique_ptr<DecoderProcess> DecoderProcess::start(const QString &program)
{
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return nullptr;
    Descriptor own(ends[0]);
    const Descriptor given(ends[1]);
    // Its number must not be one that the program is given.
    const Descriptor passed(fcntl(given.get(), F_DUPFD_CLOEXEC, protocol::decoderSocket + 1));
    const Setting setting(passed.get());
    QByteArray name = QFile::encodeName(program);
    char *const arguments[] = {name.data(), nullptr};
    std::vector<char *> environment = environmentFor(environ);
    pid_t started = -1;
    const int error = posix_spawn(&started, name.constData(), &setting.actions, &setting.attributes,
                                  arguments, environment.data());
    if (error != 0) {
        qWarning() << "pictures cannot be opened:" << program << qt_error_string(error);
        return nullptr;
    }
    return std::unique_ptr<DecoderProcess>(new DecoderProcess(started, std::move(own)));
}

DecoderProcess::DecoderProcess(pid_t started, Descriptor socket)
    : process(started)
    , connection(std::move(socket))
{
}

// Does not wait: a process that reads from a server that is gone may never end.
DecoderProcess::~DecoderProcess()
{
    kill(process, SIGKILL);
    {
        const std::lock_guard<std::mutex> held(graves().mutex);
        graves().killed.push_back(process);
    }
    buryTheDead();
}

bool DecoderProcess::buryTheDead()
{
    const std::lock_guard<std::mutex> held(graves().mutex);
    std::vector<pid_t> &killed = graves().killed;
    killed.erase(
        std::remove_if(killed.begin(), killed.end(),
                       [](pid_t process) { return waitpid(process, nullptr, WNOHANG) != 0; }),
        killed.end());
    return killed.empty();
}

qint64 DecoderProcess::workedMs() const
{
    clockid_t clock = {};
    timespec time = {};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return -1;
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

// The system's limit counts from the start of the process.
void DecoderProcess::moveLimit(qint64 ms) const
{
    const rlimit limit = {rlim_t((qMax(workedMs(), qint64(0)) + ms) / 1000 + 1), RLIM_INFINITY};
    prlimit(process, RLIMIT_CPU, &limit, nullptr);
}

} // namespace kivra
