#pragma once

namespace kivra::benchmarks {

/// Processor time of this process so far, in seconds, without the threads on which the
/// demonstration camera draws its pictures, or a simulated one fills its buffers: real cameras do
/// neither on the computer's processor.
double cpuSeconds();

/// Memory of this process that is in use, in MiB.
double residentMiB();

} // namespace kivra::benchmarks
