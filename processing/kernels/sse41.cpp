#include "processing/kernels/loops.h"
#include "processing/kernels/versions.h"

#if defined(__x86_64__)

namespace kivra {

namespace {

constexpr Isa version = Isa::Sse41;

KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, opaque,
                   (const Pixel *from, Pixel *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, negative,
                   (const Pixel *from, Pixel *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, grey, (const Pixel *from, Pixel *to, int n),
                   (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, levels,
                   (const Pixel *from, Pixel *to, int n, const LevelWords &words),
                   (from, to, n, words))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, tone,
                   (const Pixel *from, Pixel *to, int n, const ToneWords &words),
                   (from, to, n, words))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, gray,
                   (const Pixel *from, std::uint8_t *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, choose,
                   (const std::uint8_t *from, Pixel *to, int n, int threshold, Pixel dark,
                    Pixel light),
                   (from, to, n, threshold, dark, light))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, luma,
                   (const Pixel *from, std::uint8_t *to, int n), (from, to, n))
KIVRA_PLAIN_KERNEL([[gnu::target("sse4.1")]], version, relight,
                   (const Pixel *from, Pixel *to, int n,
                    const std::array<std::uint8_t, 256> &table),
                   (from, to, n, table))

} // namespace

const Kernels sse41Kernels{version, opaque, negative, grey, levels,
                           tone,    gray,   choose,   luma, relight};

} // namespace kivra

#endif
