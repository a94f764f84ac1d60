#include "processing/kernels/kernels.h"

#include "processing/kernels/versions.h"

#include <atomic>

namespace kivra {

namespace {

std::atomic<Isa> isaRun{Isa::Portable};

} // namespace

void noteRun(Isa isa)
{
    isaRun.store(isa, std::memory_order_relaxed);
}

const Kernels &kernelsFor(Isa isa)
{
#if defined(__x86_64__)
    switch (isa) {
    case Isa::Avx2:
        return avx2Kernels;
    case Isa::Sse41:
        return sse41Kernels;
    case Isa::Portable:
        break;
    }
#endif
    return portableKernels;
}

const Kernels &kernels()
{
    return kernelsFor(activeIsa());
}

Isa lastIsaRun()
{
    return isaRun.load(std::memory_order_relaxed);
}

} // namespace kivra
