#pragma once

namespace kivra::benchmarks {

/// Processor time of this process so far, in seconds, without the threads on which the
/// demonstration camera draws its pictures: a real camera does not draw them on the computer.
double cpuSeconds();

/// Memory of this process that is in use, in MiB.
double residentMiB();

} // namespace kivra::benchmarks
