// Runs the decoder program as on a kernel that lacks a part of what confines it: makes the kernel
// refuse these system calls as unknown, and becomes the decoder beside this program.
// KIVRA_MISSING_CALLS, set by CMake, names the calls.

#include <cerrno>
#include <cstdio>
#include <libgen.h>
#include <linux/limits.h>
#include <seccomp.h>
#include <string>
#include <unistd.h>

int main(int, char **argv)
{
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    for (const char *call : {KIVRA_MISSING_CALLS})
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), seccomp_syscall_resolve_name(call), 0);
    // Leaves it to the decoder to give up new privileges, if this process may (as root may).
    seccomp_attr_set(filter, SCMP_FLTATR_CTL_NNP, 0);
    bool isLoaded = seccomp_load(filter) == 0;
    if (!isLoaded) {
        // An unprivileged process may load a filter only once it has given up new privileges.
        seccomp_attr_set(filter, SCMP_FLTATR_CTL_NNP, 1);
        isLoaded = seccomp_load(filter) == 0;
    }
    if (!isLoaded)
        return 2;
    char own[PATH_MAX] = {};
    if (readlink("/proc/self/exe", own, sizeof own - 1) <= 0)
        return 2;
    const std::string program = std::string(dirname(own)) + "/kivra-decoder";
    execv(program.c_str(), argv);
    std::perror(program.c_str());
    return 2;
}
