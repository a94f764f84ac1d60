#include "processing/kernels/loops.h"
#include "processing/kernels/versions.h"

#if defined(__x86_64__)

namespace kivra {

namespace {

constexpr Isa version = Isa::Avx2;

KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, opaque, (const Pixel *from, Pixel *to, int n),
                   (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, negative,
                   (const Pixel *from, Pixel *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, grey, (const Pixel *from, Pixel *to, int n),
                   (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, levels,
                   (const Pixel *from, Pixel *to, int n, const LevelWords &words),
                   (from, to, n, words))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, tone,
                   (const Pixel *from, Pixel *to, int n, const ToneWords &words),
                   (from, to, n, words))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, gray,
                   (const Pixel *from, std::uint8_t *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, choose,
                   (const std::uint8_t *from, Pixel *to, int n, int threshold, Pixel dark,
                    Pixel light),
                   (from, to, n, threshold, dark, light))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, luma,
                   (const Pixel *from, std::uint8_t *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("avx2")]], version, relight,
                   (const Pixel *from, Pixel *to, int n,
                    const std::array<std::uint8_t, 256> &table),
                   (from, to, n, table))

} // namespace

const Kernels avx2Kernels{version, opaque, negative, grey, levels,
                          tone,    gray,   choose,   luma, relight};

} // namespace kivra

#endif
