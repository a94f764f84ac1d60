#pragma once

#include "processing/kernels/kernels.h"

// The versions of the kernels.

namespace kivra {

extern const Kernels portableKernels;
extern const Kernels sse41Kernels;
extern const Kernels avx2Kernels;

/// Remembers for lastIsaRun() that a kernel of this version runs.
void noteRun(Isa isa);

} // namespace kivra
