#include "processing/kernels/area.h"
#include "processing/kernels/loops.h"
#include "processing/kernels/versions.h"

#if defined(__x86_64__)

#include <immintrin.h>

#define KIVRA_TARGET __attribute__((target("avx2,fma")))
#define KIVRA_OWN_COLOUR_KERNELS

namespace kivra {

namespace {

constexpr Isa version = Isa::Avx2;

#include "processing/kernels/avx2own.inc"
#include "processing/kernels/bodies.inc"

} // namespace

const Kernels avx2Kernels{version,
                          isOpaque,
                          copy,
                          opaque,
                          negative,
                          grey,
                          fade,
                          tone,
                          line,
                          gray,
                          choose,
                          luma,
                          lookUp,
                          relight,
                          hsvPlace,
                          median,
                          {across<true>, decide<true>},
                          {across<false>, decide<false>},
                          {weighRows, weighColumns}};

} // namespace kivra

#endif
