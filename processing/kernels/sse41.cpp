#include "processing/kernels/area.h"
#include "processing/kernels/loops.h"
#include "processing/kernels/versions.h"

#if defined(__x86_64__)

#define KIVRA_TARGET __attribute__((target("sse4.1")))

namespace kivra {

namespace {

constexpr Isa version = Isa::Sse41;

#include "processing/kernels/bodies.inc"

} // namespace

const Kernels sse41Kernels{version,
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
                           {nullptr, nullptr},
                           {across<false>, decide<false>},
                           {weighRows, weighColumns}};

} // namespace kivra

#endif
