#include "tests/fuzz/target.h"

// The entry points of clang's fuzzer.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static const auto surroundings = kivra::fuzz::prepare(*argc, *argv);
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    kivra::fuzz::run(data, size);
    return 0;
}
