#include "render/kernels/kernels.h"

#include <QByteArray>
#include <algorithm>
#include <atomic>
#include <cstring>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

// Goes before a loop whose source and destination may be the same row. It promises that no
// iteration reads what another one wrote; otherwise the compiler would check for overlap and go
// pixel by pixel.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpass-failed" // instrumented builds do not vectorise
#define KIVRA_SAME_ROW _Pragma("clang loop vectorize(assume_safety)")
#else
#define KIVRA_SAME_ROW _Pragma("GCC ivdep")
#endif

#define KIVRA_VERSION portable
#include "render/kernels/loops.inc"
#undef KIVRA_VERSION

#if defined(__x86_64__)

// Each compiler has its own pragma for a region of another instruction set.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("sse4.1"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("sse4.1")
#endif
#define KIVRA_VERSION sse41
#include "render/kernels/loops.inc"
#undef KIVRA_VERSION
#if defined(__clang__)
#pragma clang attribute pop
#pragma clang attribute push(__attribute__((target("avx2,fma"))), apply_to = function)
#else
#pragma GCC pop_options
#pragma GCC push_options
#pragma GCC target("avx2,fma")
#endif
#define KIVRA_VERSION avx2
#define KIVRA_FUSES
#include "render/kernels/loops.inc"

#include "render/kernels/avx2.inc"
#undef KIVRA_VERSION
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#endif

namespace kivra {

namespace {

Isa bestOfMachine()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
        return Isa::Avx2;
    if (__builtin_cpu_supports("sse4.1"))
        return Isa::Sse41;
#endif
    return Isa::Portable;
}

Isa chosenIsa()
{
    const Isa best = bestOfMachine();
    for (const Isa isa : {Isa::Portable, Isa::Sse41}) {
        if (qgetenv("KIVRA_ISA") == isaName(isa).data())
            return std::min(isa, best);
    }
    return best;
}

std::atomic<const Kernels *> &used()
{
    static std::atomic<const Kernels *> version = &kernelsFor(chosenIsa());
    return version;
}

} // namespace

std::string_view isaName(Isa isa)
{
    constexpr std::array<std::string_view, 3> names{"portable", "sse41", "avx2"};
    return names[static_cast<std::size_t>(isa)];
}

const Kernels &kernelsFor(Isa isa)
{
    static constexpr Kernels portableKernels = portable::loopKernels(Isa::Portable);
#if defined(__x86_64__)
    static constexpr Kernels sse41Kernels = sse41::loopKernels(Isa::Sse41);
    static constexpr Kernels avx2Kernels = avx2::vectorKernels();
    if (isa == Isa::Avx2)
        return avx2Kernels;
    if (isa == Isa::Sse41)
        return sse41Kernels;
#endif
    return portableKernels;
}

const Kernels &kernels()
{
    return *used().load(std::memory_order_relaxed);
}

void useKernels(const Kernels &version)
{
    used().store(&version, std::memory_order_relaxed);
}

} // namespace kivra
