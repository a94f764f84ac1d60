#include "cameras/video/kernel.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kivra::cameras {

namespace {

std::chrono::nanoseconds timeOf(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

class SystemNode : public Node
{
public:
    explicit SystemNode(int opened)
        : descriptor(opened)
    {
    }
    ~SystemNode() override { ::close(descriptor); }

    SystemNode(const SystemNode &) = delete;
    SystemNode &operator=(const SystemNode &) = delete;

    int control(unsigned long request, void *argument) override
    {
        int result = 0;
        do {
            result = ::ioctl(descriptor, request, argument);
        } while (result == -1 && errno == EINTR);
        return result == -1 ? errno : 0;
    }

    void *map(std::size_t length, std::uint32_t offset) override
    {
        void *const memory =
            ::mmap(nullptr, length, PROT_READ, MAP_SHARED, descriptor, off_t(offset));
        return memory == MAP_FAILED ? nullptr : memory;
    }

    void unmap(void *memory, std::size_t length) override { ::munmap(memory, length); }

    const int descriptor;
};

class SystemWaiter : public Waiter
{
public:
    SystemWaiter()
        : calls(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }
    ~SystemWaiter() override { ::close(calls); }

    SystemWaiter(const SystemWaiter &) = delete;
    SystemWaiter &operator=(const SystemWaiter &) = delete;

    Wake wait(Node *node, std::optional<std::chrono::nanoseconds> longest) override
    {
        pollfd watched[2] = {{calls, POLLIN, 0}, {-1, POLLIN, 0}};
        if (node)
            watched[1].fd = static_cast<SystemNode *>(node)->descriptor;
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(longest.value_or(longest->zero()));
        const timespec limit{seconds.count(), longest ? long((*longest - seconds).count()) : 0};
        if (::ppoll(watched, 2, longest ? &limit : nullptr, nullptr) <= 0)
            return Wake::TimeUp;
        if (watched[0].revents != 0) {
            eventfd_t number = 0;
            ::eventfd_read(calls, &number);
            return Wake::Called;
        }
        return Wake::Ready;
    }

    void wake() override { ::eventfd_write(calls, 1); }

private:
    const int calls;
};

class SystemKernel : public Kernel
{
public:
    std::unique_ptr<Node> open(const std::string &path, int &error) override
    {
        const int descriptor = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        error = descriptor == -1 ? errno : 0;
        return descriptor == -1 ? nullptr : std::make_unique<SystemNode>(descriptor);
    }

    std::unique_ptr<Waiter> makeWaiter() override { return std::make_unique<SystemWaiter>(); }

    Moment now() override
    {
        const std::chrono::nanoseconds awake = timeOf(CLOCK_MONOTONIC);
        return {awake, timeOf(CLOCK_BOOTTIME) - awake};
    }
};

} // namespace

Kernel &Kernel::system()
{
    static SystemKernel kernel;
    return kernel;
}

} // namespace kivra::cameras
