#pragma once

#include <QtGlobal>

namespace kivra::test {

/// Bytes of this process that are in memory. Ends the program where the system does not tell.
qint64 residentMemory();

/// Bytes that this process has allocated on the heap and not freed.
qint64 allocatedMemory();

/// The address sanitizer keeps what is freed for a while, so that memory says nothing.
#if defined(KIVRA_SANITIZED)
constexpr bool freedMemoryIsKept = true;
#else
constexpr bool freedMemoryIsKept = false;
#endif

} // namespace kivra::test
