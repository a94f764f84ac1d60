// The part of the confinement that the kernel calls seccomp: which system calls are answered.

#include "decoding/program/confinement.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace kivra {

namespace {

struct Release
{
    void operator()(void *filter) const { seccomp_release(filter); }
};
using Filter = std::unique_ptr<void, Release>;

// What readers, fonts, memory and threads need. Left out are, above all: sockets, other programs,
// other processes, tracing, changes to files, and all calls of future kernels.
constexpr auto needed = std::array{SCMP_SYS(read),
                                   SCMP_SYS(readv),
                                   SCMP_SYS(pread64),
                                   SCMP_SYS(write),
                                   SCMP_SYS(writev),
                                   SCMP_SYS(lseek),
                                   SCMP_SYS(_llseek),
                                   SCMP_SYS(close),
                                   SCMP_SYS(fstat),
                                   SCMP_SYS(fstat64),
                                   SCMP_SYS(stat),
                                   SCMP_SYS(stat64),
                                   SCMP_SYS(lstat),
                                   SCMP_SYS(lstat64),
                                   SCMP_SYS(newfstatat),
                                   SCMP_SYS(fstatat64),
                                   SCMP_SYS(statx),
                                   SCMP_SYS(statfs),
                                   SCMP_SYS(fstatfs),
                                   SCMP_SYS(access),
                                   SCMP_SYS(faccessat),
                                   SCMP_SYS(faccessat2),
                                   SCMP_SYS(readlink),
                                   SCMP_SYS(readlinkat),
                                   SCMP_SYS(getcwd),
                                   SCMP_SYS(getdents64),
                                   SCMP_SYS(dup),
                                   SCMP_SYS(fcntl),
                                   SCMP_SYS(fcntl64),
                                   SCMP_SYS(fadvise64),
                                   SCMP_SYS(sendmsg),
                                   SCMP_SYS(recvmsg),
                                   SCMP_SYS(poll),
                                   SCMP_SYS(ppoll),
                                   SCMP_SYS(select),
                                   SCMP_SYS(pselect6),
                                   SCMP_SYS(eventfd2),
                                   SCMP_SYS(pipe2),
                                   SCMP_SYS(mmap),
                                   SCMP_SYS(mmap2),
                                   SCMP_SYS(munmap),
                                   SCMP_SYS(mremap),
                                   SCMP_SYS(mprotect),
                                   SCMP_SYS(madvise),
                                   SCMP_SYS(mincore),
                                   SCMP_SYS(brk),
                                   SCMP_SYS(futex),
                                   SCMP_SYS(futex_time64),
                                   SCMP_SYS(set_robust_list),
                                   SCMP_SYS(rseq),
                                   SCMP_SYS(membarrier),
                                   SCMP_SYS(sched_yield),
                                   SCMP_SYS(sched_getaffinity),
                                   SCMP_SYS(sched_getparam),
                                   SCMP_SYS(sched_getscheduler),
                                   SCMP_SYS(sched_get_priority_min),
                                   SCMP_SYS(sched_get_priority_max),
                                   SCMP_SYS(getpriority),
                                   SCMP_SYS(getcpu),
                                   SCMP_SYS(gettid),
                                   SCMP_SYS(getpid),
                                   SCMP_SYS(getppid),
                                   SCMP_SYS(getuid),
                                   SCMP_SYS(geteuid),
                                   SCMP_SYS(getgid),
                                   SCMP_SYS(getegid),
                                   SCMP_SYS(getrlimit),
                                   SCMP_SYS(ugetrlimit),
                                   SCMP_SYS(getrusage),
                                   SCMP_SYS(sysinfo),
                                   SCMP_SYS(uname),
                                   SCMP_SYS(times),
                                   SCMP_SYS(time),
                                   SCMP_SYS(gettimeofday),
                                   SCMP_SYS(clock_gettime),
                                   SCMP_SYS(clock_gettime64),
                                   SCMP_SYS(clock_getres),
                                   SCMP_SYS(clock_nanosleep),
                                   SCMP_SYS(nanosleep),
                                   SCMP_SYS(restart_syscall),
                                   SCMP_SYS(rt_sigaction),
                                   SCMP_SYS(rt_sigprocmask),
                                   SCMP_SYS(rt_sigreturn),
                                   SCMP_SYS(sigreturn),
                                   SCMP_SYS(sigaltstack),
                                   SCMP_SYS(getrandom),
                                   SCMP_SYS(exit),
                                   SCMP_SYS(exit_group)};

bool add(scmp_filter_ctx filter, int call, std::initializer_list<scmp_arg_cmp> when)
{
    return seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, unsigned(when.size()),
                                  when.begin()) == 0;
}

// Files can only be opened for reading, even where the kernel lacks Landlock.
bool allowReading(scmp_filter_ctx filter)
{
    constexpr scmp_datum_t changing = O_ACCMODE | O_CREAT | O_TRUNC;
    return add(filter, SCMP_SYS(open), {SCMP_A1_64(SCMP_CMP_MASKED_EQ, changing, O_RDONLY)}) &&
           add(filter, SCMP_SYS(openat), {SCMP_A2_64(SCMP_CMP_MASKED_EQ, changing, O_RDONLY)});
}

// Qt converts large pictures in threads, and would wait for ever for a thread that is refused. A
// filter cannot see the arguments of clone3(), so that call is refused as unknown and the C library
// falls back to clone().
bool allowThreads(scmp_filter_ctx filter)
{
    return add(filter, SCMP_SYS(clone),
               {SCMP_A0_64(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)}) &&
           add(filter, SCMP_SYS(prctl), {SCMP_A0_64(SCMP_CMP_EQ, PR_SET_NAME, 0)});
}

// The process may send signals only to itself, as abort() does, and ask for its limits but not set
// them.
bool allowItself(scmp_filter_ctx filter)
{
    return add(filter, SCMP_SYS(tgkill), {SCMP_A0_64(SCMP_CMP_EQ, scmp_datum_t(getpid()), 0)}) &&
           add(filter, SCMP_SYS(prlimit64),
               {SCMP_A0_64(SCMP_CMP_EQ, 0, 0), SCMP_A2_64(SCMP_CMP_EQ, 0, 0)});
}

bool allowNeeded(scmp_filter_ctx filter)
{
    bool isAllowed = true;
    for (const int call : needed)
        isAllowed = isAllowed && add(filter, call, {});
    return isAllowed;
}

} // namespace

// Refused calls fail instead of ending the process: libraries have a fallback for most calls that a
// kernel may lack.
bool filterSystemCalls()
{
    constexpr unsigned refused = SCMP_ACT_ERRNO(ENOSYS);
    const Filter filter(seccomp_init(refused));
    return filter && seccomp_attr_set(filter.get(), SCMP_FLTATR_ACT_BADARCH, refused) == 0 &&
           seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) == 0 &&
           allowNeeded(filter.get()) && allowReading(filter.get()) && allowThreads(filter.get()) &&
           allowItself(filter.get()) && seccomp_load(filter.get()) == 0;
}

} // namespace kivra
