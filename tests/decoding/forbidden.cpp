#include "tests/decoding/forbidden.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kivra::test {

namespace {

// Each returns a negative number, and sets errno, if it is refused.

long readFile(const char *path)
{
    return open(path, O_RDONLY | O_CLOEXEC);
}

long listFolder(const char *path)
{
    return opendir(path) ? 0 : -1;
}

long createFile()
{
    return open("/tmp/kivra-forbidden", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
}

long runProgram()
{
    const char *const arguments[] = {"/bin/true", nullptr};
    return execv(arguments[0], const_cast<char *const *>(arguments));
}

// If a child is created, it ends at once.
long fork()
{
    const long child = syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr);
    if (child == 0)
        _exit(0);
    return child;
}

long forkByClone3()
{
    struct
    {
        quint64 flags = 0, pidfd = 0, childTid = 0, parentTid = 0, exitSignal = SIGCHLD, stack = 0,
                stackSize = 0, tls = 0;
    } arguments;
    const long child = syscall(SYS_clone3, &arguments, sizeof arguments);
    if (child == 0)
        _exit(0);
    return child;
}

long readViewersMemory()
{
    char byte = 0;
    const iovec here = {&byte, 1};
    const iovec there = {&byte, 1};
    return process_vm_readv(getppid(), &here, 1, &there, 1, 0);
}

long raiseLimit()
{
    const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
    return setrlimit(RLIMIT_CPU, &none);
}

long readViewersLimit()
{
    rlimit found = {};
    return prlimit(getppid(), RLIMIT_CPU, nullptr, &found);
}

// Looks for descriptors that a decoder must not have: it has the standard ones, its socket, those
// that wake its event loop, and the file that it reads.
long useOtherDescriptors()
{
    long found = -1;
    errno = EBADF;
    for (int number = 0; number < 1024; ++number) {
        struct stat is = {};
        if (fstat(number, &is) != 0)
            continue;
        const bool isTerminal = isatty(number) == 1;
        const bool isOtherSocket = S_ISSOCK(is.st_mode) && number != 3;
        const bool isFolder = S_ISDIR(is.st_mode);
        const bool isWritableFile =
            S_ISREG(is.st_mode) && (fcntl(number, F_GETFL) & O_ACCMODE) != O_RDONLY && number > 3;
        if (isTerminal || isOtherSocket || isFolder || isWritableFile)
            found = number;
    }
    return found;
}

struct Trial
{
    Deed deed;
    long (*attempt)();
};

constexpr Guard files = Guard::Files;
constexpr Guard calls = Guard::SystemCalls;

const QList<Trial> &trials()
{
    static const QList<Trial> all = {
        {{"read-password-file", files}, [] { return readFile("/etc/passwd"); }},
        {{"read-viewer", files}, [] { return readFile("/proc/self/status"); }},
        {{"read-memory", files}, [] { return readFile("/proc/self/mem"); }},
        {{"read-device", files}, [] { return readFile("/dev/zero"); }},
        {{"list-home", files}, [] { return listFolder(qgetenv("HOME").constData()); }},
        {{"list-root", files}, [] { return listFolder("/"); }},
        {{"create-file", Guard::Either}, createFile},
        {{"create-file-to-read", Guard::Either},
         []() -> long {
             return open("/tmp/kivra-forbidden", O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
         }},
        {{"empty-own-picture", Guard::Either},
         []() -> long {
             const QByteArray picture = qgetenv("HOME") + "/Documents/picture";
             return open(picture.constData(), O_RDONLY | O_TRUNC | O_CLOEXEC);
         }},
        {{"write-file", Guard::Either},
         []() -> long { return open("/dev/null", O_WRONLY | O_CLOEXEC); }},
        {{"make-folder", Guard::Either},
         []() -> long { return mkdir("/tmp/kivra-forbidden-folder", 0700); }},
        {{"remove-file", Guard::Either}, []() -> long { return unlink("/tmp/kivra-forbidden"); }},
        {{"rename-file", Guard::Either},
         []() -> long { return rename("/tmp/kivra-forbidden", "/tmp/kivra-other"); }},
        {{"change-rights", calls}, []() -> long { return chmod("/tmp", 01777); }},
        {{"local-socket", calls}, []() -> long { return socket(AF_UNIX, SOCK_STREAM, 0); }},
        {{"network-socket", calls}, []() -> long { return socket(AF_INET, SOCK_STREAM, 0); }},
        {{"datagram-socket", calls}, []() -> long { return socket(AF_INET6, SOCK_DGRAM, 0); }},
        {{"socket-pair", calls},
         []() -> long {
             int ends[2] = {};
             return socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
         }},
        {{"run-program", calls}, runProgram},
        {{"fork", calls}, fork},
        {{"vfork", calls},
         []() -> long {
             const long child =
                 syscall(SYS_clone, CLONE_VFORK | SIGCHLD, nullptr, nullptr, nullptr, nullptr);
             if (child == 0)
                 _exit(0);
             return child;
         }},
        {{"fork-by-clone3", calls}, forkByClone3},
        {{"trace-viewer", calls},
         []() -> long { return ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr); }},
        {{"be-traced", calls},
         []() -> long { return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }},
        {{"viewers-memory", calls}, readViewersMemory},
        {{"signal-viewer", calls}, []() -> long { return kill(getppid(), 0); }},
        {{"signal-thread", calls},
         []() -> long { return syscall(SYS_tgkill, getppid(), getppid(), 0); }},
        {{"raise-limit", calls}, raiseLimit},
        {{"viewers-limit", calls}, readViewersLimit},
        {{"core-again", calls}, []() -> long { return prctl(PR_SET_DUMPABLE, 1); }},
        {{"outlive-viewer", calls}, []() -> long { return prctl(PR_SET_PDEATHSIG, 0); }},
        {{"memory-file", calls}, []() -> long { return memfd_create("x", 0); }},
        {{"shared-segment", calls},
         []() -> long { return shmget(IPC_PRIVATE, 4096, IPC_CREAT | 0600); }},
        {{"watch-files", calls}, []() -> long { return inotify_init(); }},
        {{"new-namespace", calls}, []() -> long { return unshare(CLONE_NEWUSER); }},
        {{"mount", calls}, []() -> long { return mount("none", "/tmp", "tmpfs", 0, nullptr); }},
        {{"change-user", calls}, []() -> long { return syscall(SYS_setuid, 65534); }},
        {{"rings", calls}, []() -> long { return syscall(SYS_io_uring_setup, 1, nullptr); }},
        {{"kernel-program", calls}, []() -> long { return syscall(SYS_bpf, 0, nullptr, 0); }},
        {{"page-faults", calls}, []() -> long { return syscall(SYS_userfaultfd, 0); }},
        {{"counters", calls},
         []() -> long { return syscall(SYS_perf_event_open, nullptr, 0, -1, -1, 0); }},
        {{"keys", calls}, []() -> long { return syscall(SYS_keyctl, 0, -3, 0); }},
        {{"terminal", calls},
         []() -> long { return syscall(SYS_ioctl, STDIN_FILENO, 0x5412, "x"); }},
        {{"other-descriptors", Guard::Start}, useOtherDescriptors},
    };
    return all;
}

} // namespace

const QList<Deed> &forbiddenDeeds()
{
    static const QList<Deed> deeds = [] {
        QList<Deed> all;
        for (const Trial &trial : trials())
            all += trial.deed;
        return all;
    }();
    return deeds;
}

Attempt attemptForbidden(const QByteArray &deed)
{
    const QList<Trial> &all = trials();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Trial &trial) { return deed == trial.deed.name; });
    if (found == all.end())
        return {Attempt::Outcome::Unknown, 0};
    errno = 0;
    if (found->attempt() >= 0)
        return {Attempt::Outcome::Done, 0};
    return {Attempt::Outcome::Refused, errno};
}

} // namespace kivra::test
