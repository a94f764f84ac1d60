#include "tests/support/keptmemory.h"

// LeakSanitizer's, in programs that are linked with it.
extern "C" {
[[gnu::weak]] void __lsan_disable(); // NOLINT(bugprone-reserved-identifier)
[[gnu::weak]] void __lsan_enable();  // NOLINT(bugprone-reserved-identifier)
}

namespace kivra::test {

KeptMemory::KeptMemory()
{
    if (__lsan_disable != nullptr)
        __lsan_disable();
}

KeptMemory::~KeptMemory()
{
    if (__lsan_enable != nullptr)
        __lsan_enable();
}

} // namespace kivra::test
