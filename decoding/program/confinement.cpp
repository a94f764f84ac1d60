#include "decoding/program/confinement.h"

#include "decoding/decoder.h"

#include <QFile>
#include <csignal>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace kivra {

namespace {

// When memory is short, the system kills the process with the highest score. Any process may raise
// its own.
bool goFirst()
{
    QFile score(QStringLiteral("/proc/self/oom_score_adj"));
    return score.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && score.write("1000") > 0;
}

bool setLimit(__rlimit_resource resource, rlim_t most)
{
    const rlimit limit = {most, most};
    return setrlimit(resource, &limit) == 0;
}

// What libraries take already (and the tables of a sanitizer) does not count against the picture's
// memory.
bool limitMemory()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return false;
    const auto pages = rlim_t(statm.readAll().split(' ').constFirst().toULongLong());
    return setLimit(RLIMIT_AS, pages * rlim_t(sysconf(_SC_PAGESIZE)) + rlim_t(mostDecodingBytes));
}

bool limitFiles()
{
    constexpr rlim_t mostOpen = 64; // fonts, and the events of threads
    const bool isNumberLimited = setLimit(RLIMIT_NOFILE, mostOpen);
    return setLimit(RLIMIT_FSIZE, 0) && isNumberLimited;
}

bool keepSecret()
{
    const bool isCoreless = setLimit(RLIMIT_CORE, 0);
    return prctl(PR_SET_DUMPABLE, 0) == 0 && isCoreless;
}

QByteArray line(const char *part, bool holds, const QByteArray &note = {})
{
    return QByteArray(part) + (holds ? ": yes" : ": NO") + note + '\n';
}

} // namespace

// Steps that use /proc come first: once nobody may look into the process, its files there belong to
// root.
Confinement confine()
{
    Confinement done;
    done.firstToGo = goFirst();
    done.memory = limitMemory();
    done.files = limitFiles();
    done.secrecy = keepSecret();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    done.privileges = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
    done.fileRules = allowReadingOf(pathsToRead());
    done.systemCalls = filterSystemCalls();
    return done;
}

QByteArray inWords(const Confinement &is)
{
    const QByteArray version = " (Landlock " + QByteArray::number(is.fileRules) + ')';
    return line("no files but libraries and fonts", is.fileRules > 0,
                is.fileRules > 0 ? version : QByteArray(" (this kernel has no Landlock)")) +
           line("no network, programs, processes, tracing", is.systemCalls,
                is.systemCalls ? " (seccomp)" : " (this kernel has no seccomp filter)") +
           line("no new privileges", is.privileges) +
           line("not to be looked into, no core", is.secrecy) + line("limit of memory", is.memory) +
           line("limits of files", is.files) +
           line("first to go when memory is short", is.firstToGo);
}

} // namespace kivra
