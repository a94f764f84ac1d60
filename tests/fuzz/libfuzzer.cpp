#include "tests/fuzz/frametarget.h"

// The entry of clang's fuzzer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    kivra::fuzz::runFrame(data, size);
    return 0;
}
