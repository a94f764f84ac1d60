#pragma once

#include <string_view>

namespace kivra {

/// The instruction sets that kernels are written for, each including the ones before it.
enum class Isa { Portable, Sse41, Avx2 };

/// The best one of this machine, or the lower one that the environment variable KIVRA_ISA
/// ("portable", "sse41", "avx2") asks for; any other value is ignored. Decided at the first call,
/// unless useIsa() came before.
Isa activeIsa();

/// From now on \a isa is the active one; the machine must have it. For tests and measurements; no
/// frame may be under way.
void useIsa(Isa isa);

/// What KIVRA_ISA calls it.
std::string_view isaName(Isa isa);

} // namespace kivra
