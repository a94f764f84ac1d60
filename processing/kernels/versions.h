#pragma once

#include "processing/kernels/kernels.h"

#include <atomic>

// The versions of the kernels, and what the tests read to see which one ran.

namespace kivra {

extern const Kernels portableKernels;
extern const Kernels sse41Kernels;
extern const Kernels avx2Kernels;

extern std::atomic<Isa> isaRun;

} // namespace kivra

/// The functions of struct Kernels as the loops of loops.h, in functions with the given attribute;
/// each notes which version it belongs to.
#define KIVRA_PLAIN_KERNEL(attribute, isa, name, parameters, arguments)                            \
    attribute void name parameters                                                                 \
    {                                                                                              \
        kivra::isaRun.store(isa, std::memory_order_relaxed);                                       \
        kivra::loops::name arguments;                                                              \
    }
