#pragma once

#include "render/kernels/kernels.h"

#include <chrono>
#include <mutex>
#include <set>
#include <thread>

namespace kivra::test {

template<auto kernel>
class Spy;

/// While it lives, the kernel \c kernel of the version in use, such as &Kernels::grey, notes which
/// threads call it, and each call takes \a each longer. At most one for each kernel at a time.
template<typename Result, typename... Arguments, Result (*Kernels::*kernel)(Arguments...)>
class Spy<kernel>
{
public:
    explicit Spy(std::chrono::microseconds each = {})
        : previous(kernels())
        , spied(previous)
    {
        dawdling = each;
        original = previous.*kernel;
        threads.clear();
        spied.*kernel = note;
        useKernels(spied);
    }
    ~Spy() { useKernels(previous); }

    bool ran() const { return !threads.empty(); }
    std::set<std::thread::id> callers() const { return threads; }

private:
    static Result note(Arguments... arguments)
    {
        {
            const std::lock_guard lock(mutex);
            threads.insert(std::this_thread::get_id());
        }
        const auto end = std::chrono::steady_clock::now() + dawdling;
        while (std::chrono::steady_clock::now() < end) {
        }
        return original(arguments...);
    }

    static inline Result (*original)(Arguments...);
    static inline std::chrono::microseconds dawdling;
    static inline std::mutex mutex;
    static inline std::set<std::thread::id> threads;
    const Kernels &previous;
    Kernels spied;
};

} // namespace kivra::test
