#include "tests/render/versions.h"

#include "render/kernels/kernels.h"

#include <cstdio>

namespace kivra::test {

int runForEachVersion(Registration::Run run, int argc, char **argv)
{
    if (qEnvironmentVariableIsSet("KIVRA_ISA"))
        return run(argc, argv);
    const Isa best = kernels().isa;
    int failed = 0;
    for (const Isa isa : {Isa::Portable, Isa::Sse41, Isa::Avx2}) {
        if (isa > best)
            break;
        useKernels(kernelsFor(isa));
        const int failures = run(argc, argv);
        if (failures != 0)
            std::fprintf(stderr, "with KIVRA_ISA=%s\n", isaName(isa).data());
        failed += failures;
    }
    return failed;
}

} // namespace kivra::test
