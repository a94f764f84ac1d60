#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace kivra::cameras {

/// An open video node; the destructor closes it. As with the kernel, control() may be called on
/// several threads at once.
class Node
{
public:
    virtual ~Node() = default;

    /// Makes the V4L2 call \a request with its structure. Returns 0 or the error number.
    virtual int control(unsigned long request, void *argument) = 0;
    /// Maps a buffer of the driver into our memory, for reading; null if that fails.
    virtual void *map(std::size_t length, std::uint32_t offset) = 0;
    virtual void unmap(void *memory, std::size_t length) = 0;
};

/// Lets one thread wait for a node, for a time limit, or for other threads.
class Waiter
{
public:
    enum class Wake {
        Ready,  ///< the node has a frame or an error
        Called, ///< wake() was called since the last return with this value
        TimeUp,
    };

    virtual ~Waiter() = default;

    /// Waits for \a node unless it is null, at most \a longest if that is given.
    virtual Wake wait(Node *node, std::optional<std::chrono::nanoseconds> longest) = 0;
    /// Ends the present wait, or the next one; may be called on any thread.
    virtual void wake() = 0;
};

/// The machine's time, from an arbitrary start.
struct Moment
{
    std::chrono::nanoseconds awake{0};  ///< stands still while the machine is suspended
    std::chrono::nanoseconds asleep{0}; ///< spent suspended
};

/// What the cameras need from the operating system. Everything may be called on any thread.
class Kernel
{
public:
    virtual ~Kernel() = default;

    /// Opens the node at \a path for reading and writing without blocking; null with the error
    /// number in \a error.
    virtual std::unique_ptr<Node> open(const std::string &path, int &error) = 0;
    virtual std::unique_ptr<Waiter> makeWaiter() = 0;
    virtual Moment now() = 0;

    /// The one that runs this machine.
    static Kernel &system();
};

} // namespace kivra::cameras
