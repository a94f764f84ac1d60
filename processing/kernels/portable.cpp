#include "processing/kernels/area.h"
#include "processing/kernels/loops.h"
#include "processing/kernels/versions.h"

#define KIVRA_TARGET

namespace kivra {

namespace {

constexpr Isa version = Isa::Portable;

#include "processing/kernels/bodies.inc"

} // namespace

const Kernels portableKernels{version,
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
