#include "processing/isa.h"

#include <QByteArray>
#include <algorithm>
#include <atomic>

namespace kivra {

namespace {

Isa bestOfMachine()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
        return Isa::Avx2;
    if (__builtin_cpu_supports("sse4.1"))
        return Isa::Sse41;
#endif
    return Isa::Portable;
}

Isa chosenIsa()
{
    const QByteArray wanted = qgetenv("KIVRA_ISA");
    const Isa best = bestOfMachine();
    for (const Isa isa : {Isa::Portable, Isa::Sse41, Isa::Avx2}) {
        if (wanted == isaName(isa).data())
            return std::min(isa, best);
    }
    return best;
}

std::atomic<Isa> &active()
{
    static std::atomic<Isa> isa = chosenIsa();
    return isa;
}

} // namespace

Isa activeIsa()
{
    return active().load(std::memory_order_relaxed);
}

void useIsa(Isa isa)
{
    active().store(isa, std::memory_order_relaxed);
}

std::string_view isaName(Isa isa)
{
    switch (isa) {
    case Isa::Avx2:
        return "avx2";
    case Isa::Sse41:
        return "sse41";
    case Isa::Portable:
        break;
    }
    return "portable";
}

} // namespace kivra
