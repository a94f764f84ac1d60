#include "tests/fuzz/target.h"

#include <cstdio>
#include <cstdlib>

namespace kivra::fuzz {

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

} // namespace kivra::fuzz
