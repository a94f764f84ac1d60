#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace kivra::cameras {

/// A video node that is open; the destructor closes it. control() may be called on several threads
/// at once, as the kernel allows.
class Node
{
public:
    virtual ~Node() = default;

    /// The call \a request of V4L2 with its structure. 0, or the number of the error.
    virtual int control(unsigned long request, void *argument) = 0;
    /// A buffer of the driver's in our memory, to be read; null if that fails.
    virtual void *map(std::size_t length, std::uint32_t offset) = 0;
    virtual void unmap(void *memory, std::size_t length) = 0;
};

/// Where one thread waits for a node, for a span of time, or for other threads.
class Waiter
{
public:
    enum class Wake {
        Ready,  ///< the node has a frame or an error
        Called, ///< wake() was called since the last return with this value
        TimeUp,
    };

    virtual ~Waiter() = default;

    /// Waits for \a node unless it is null, and no longer than \a longest if that is given.
    virtual Wake wait(Node *node, std::optional<std::chrono::nanoseconds> longest) = 0;
    /// Ends the present wait, or the next one; on any thread.
    virtual void wake() = 0;
};

/// The machine's time, from an arbitrary start.
struct Moment
{
    std::chrono::nanoseconds awake{0};  ///< does not go on while the machine is suspended
    std::chrono::nanoseconds asleep{0}; ///< spent suspended
};

/// What the cameras need of the operating system. Everything may be called on any thread.
class Kernel
{
public:
    virtual ~Kernel() = default;

    /// The node at \a path for reading and writing without blocking; null with the number of the
    /// error in \a error.
    virtual std::unique_ptr<Node> open(const std::string &path, int &error) = 0;
    virtual std::unique_ptr<Waiter> makeWaiter() = 0;
    virtual Moment now() = 0;

    /// The one that runs this machine.
    static Kernel &system();
};

} // namespace kivra::cameras
