#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace kivra::test {

/// Memory that ends just before a page that may not be touched: reading or writing beyond it ends
/// the process, even in code that no sanitizer sees.
class GuardedBytes
{
public:
    explicit GuardedBytes(std::size_t size)
        : count(size)
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        mapped = (size + page - 1) / page * page + page;
        memory = static_cast<std::uint8_t *>(
            mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(memory + mapped - page, page, PROT_NONE);
        first = memory + mapped - page - size;
    }
    explicit GuardedBytes(const std::vector<std::uint8_t> &content)
        : GuardedBytes(content.size())
    {
        if (!content.empty())
            std::memcpy(first, content.data(), content.size());
    }
    GuardedBytes(const GuardedBytes &) = delete;
    GuardedBytes &operator=(const GuardedBytes &) = delete;
    ~GuardedBytes() { munmap(memory, mapped); }

    std::uint8_t *data() { return first; }
    const std::uint8_t *data() const { return first; }
    std::size_t size() const { return count; }

private:
    std::size_t count;
    std::size_t mapped;
    std::uint8_t *memory;
    std::uint8_t *first;
};

} // namespace kivra::test
