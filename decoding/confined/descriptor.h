#pragma once

#include <unistd.h>
#include <utility>

namespace kivra {

/// A file descriptor with one owner, which closes it. A negative number means none.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int opened)
        : number(opened)
    {
    }
    Descriptor(Descriptor &&other) noexcept
        : number(std::exchange(other.number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (isOpen())
            ::close(number);
    }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }

private:
    int number = -1;
};

} // namespace kivra
