#include "tests/render/versions.h"

#include "render/kernels/kernels.h"

#include <cstdio>

namespace kivra::test {

const std::vector<Isa> &testedVersions()
{
    static const std::vector<Isa> versions = [] {
        const Isa best = kernels().isa;
        std::vector<Isa> found;
        if (!qEnvironmentVariableIsSet("KIVRA_ISA")) {
            for (const Isa isa : {Isa::Portable, Isa::Sse41, Isa::Avx2}) {
                if (isa < best)
                    found.push_back(isa);
            }
        }
        found.push_back(best);
        return found;
    }();
    return versions;
}

int runForEachVersion(Registration::Run run, int argc, char **argv)
{
    int failed = 0;
    for (const Isa isa : testedVersions()) {
        useKernels(kernelsFor(isa));
        const int failures = run(argc, argv);
        if (failures != 0)
            std::fprintf(stderr, "with KIVRA_ISA=%s\n", isaName(isa).data());
        failed += failures;
    }
    return failed;
}

} // namespace kivra::test
