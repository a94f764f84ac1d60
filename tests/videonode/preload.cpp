// Cameras of Video4Linux without a kernel that has them. Preloaded, this library answers in place
// of the C library for the nodes, and for what the system tells of them; it passes everything else
// on. A folder of the test's (tree.h) says which cameras there are.

#include "tests/videonode/node.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace camera = kivra::test::videonode;

constexpr const char *nodePrefix = "/dev/video";
constexpr const char *otherDevice = "/dev/null"; // a node that every machine has

template<typename Function>
Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

bool isNode(const char *path)
{
    return path && std::strncmp(path, nodePrefix, std::strlen(nodePrefix)) == 0;
}

/// The open nodes by their descriptors. Never destroyed: the program closes files to its very end.
class Nodes
{
public:
    static Nodes &all()
    {
        static auto *const nodes = new Nodes;
        return *nodes;
    }

    int open(const char *path, int flags)
    {
        const std::shared_ptr<camera::Node> node =
            camera::Node::open(path + std::strlen("/dev/"), flags);
        if (!node)
            return -1;
        const int command = (flags & O_CLOEXEC) ? F_DUPFD_CLOEXEC : F_DUPFD;
        const int descriptor = fcntl(node->ready(), command, 0);
        const std::lock_guard<std::mutex> guard(lock);
        nodes[descriptor] = node;
        return descriptor;
    }

    void share(int descriptor, int copy)
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = nodes.find(descriptor);
        if (found != nodes.end() && copy >= 0)
            nodes[copy] = found->second;
    }

    void forget(int descriptor)
    {
        std::shared_ptr<camera::Node> last; // destroyed without the lock: it closes files itself
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = nodes.find(descriptor);
        if (found == nodes.end())
            return;
        last = std::move(found->second);
        nodes.erase(found);
    }

    std::shared_ptr<camera::Node> find(int descriptor)
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = nodes.find(descriptor);
        return found == nodes.end() ? nullptr : found->second;
    }

private:
    std::mutex lock;
    std::map<int, std::shared_ptr<camera::Node>> nodes;
};

int openAs(const char *name, const char *path, int flags, mode_t mode)
{
    if (isNode(path))
        return Nodes::all().open(path, flags);
    const std::string other = camera::replacement(path);
    auto *const passOn = next<int(const char *, int, ...)>(name);
    return passOn(other.empty() ? path : other.c_str(), flags, mode);
}

void *mapAs(const char *name, void *address, size_t length, int protection, int flags,
            int descriptor, off_t offset)
{
    const std::shared_ptr<camera::Node> node =
        descriptor < 0 ? nullptr : Nodes::all().find(descriptor);
    auto *const passOn = next<void *(void *, size_t, int, int, int, off_t)>(name);
    return passOn(address, length, protection, flags, node ? node->memory() : descriptor, offset);
}

template<typename Answer>
int describeAs(const char *name, const char *path, Answer *answer)
{
    auto *const passOn = next<int(const char *, Answer *)>(name);
    if (!isNode(path))
        return passOn(path, answer);
    if (camera::exists(path + 1)) // "dev/video0"
        return passOn(otherDevice, answer);
    errno = ENOENT;
    return -1;
}

} // namespace

extern "C" {

DIR *opendir(const char *path)
{
    static auto *const passOn = next<decltype(opendir)>("opendir");
    const std::string other = camera::replacement(path);
    return passOn(other.empty() ? path : other.c_str());
}

int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAs("open", path, flags, mode);
}

int open64(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAs("open64", path, flags, mode);
}

// Hardened programs call this in place of open().
int __open_2(const char *path, int flags)
{
    return openAs("open", path, flags, 0);
}

int __open64_2(const char *path, int flags)
{
    return openAs("open64", path, flags, 0);
}

int stat(const char *path, struct stat *answer) noexcept
{
    return describeAs("stat", path, answer);
}

int stat64(const char *path, struct stat64 *answer) noexcept
{
    return describeAs("stat64", path, answer);
}

int inotify_add_watch(int descriptor, const char *path, uint32_t events) noexcept
{
    static auto *const passOn = next<decltype(inotify_add_watch)>("inotify_add_watch");
    const std::string other = camera::replacement(path);
    return passOn(descriptor, other.empty() ? path : other.c_str(), events);
}

int dup(int descriptor) noexcept
{
    static auto *const passOn = next<int(int)>("dup");
    const int copy = passOn(descriptor);
    Nodes::all().share(descriptor, copy);
    return copy;
}

int close(int descriptor)
{
    static auto *const passOn = next<int(int)>("close");
    Nodes::all().forget(descriptor);
    return passOn(descriptor);
}

void *mmap(void *address, size_t length, int protection, int flags, int descriptor,
           off_t offset) noexcept
{
    return mapAs("mmap", address, length, protection, flags, descriptor, offset);
}

void *mmap64(void *address, size_t length, int protection, int flags, int descriptor,
             off64_t offset) noexcept
{
    return mapAs("mmap64", address, length, protection, flags, descriptor, offset);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    static auto *const passOn = next<int(int, unsigned long, ...)>("ioctl");
    va_list rest;
    va_start(rest, request);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    const std::shared_ptr<camera::Node> node = Nodes::all().find(descriptor);
    // Some programs hand the number on as a signed int.
    return node ? node->answer(request & 0xffffffffUL, argument)
                : passOn(descriptor, request, argument);
}

} // extern "C"
