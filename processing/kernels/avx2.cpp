#include "processing/kernels/loops.h"
#include "processing/kernels/versions.h"

#if defined(__x86_64__)

#define KIVRA_TARGET [[gnu::target("avx2,fma")]]

namespace kivra {

namespace {

constexpr Isa version = Isa::Avx2;

#include "processing/kernels/bodies.inc"

} // namespace

const Kernels avx2Kernels{version,
                          opaque,
                          negative,
                          grey,
                          levels,
                          tone,
                          line,
                          gray,
                          choose,
                          luma,
                          relight,
                          hsvPlace,
                          median,
                          {across<true>, decide<true>},
                          {across<false>, decide<false>}};

} // namespace kivra

#endif
