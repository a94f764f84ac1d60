#pragma once

#include <memory>

namespace kivra::test {

/// While one exists, what this thread allocates does not count as leaked. So LeakSanitizer need not
/// look for the names of what is known to stay, which takes longer than many a test.
class KeptMemory
{
public:
    KeptMemory();
    ~KeptMemory();
    KeptMemory(const KeptMemory &) = delete;
    KeptMemory &operator=(const KeptMemory &) = delete;
};

/// Makes an application: its platform plug-in keeps memory until the process ends.
template<typename Application>
std::unique_ptr<Application> makeKept(int &argc, char **argv)
{
    const KeptMemory kept;
    return std::make_unique<Application>(argc, argv);
}

} // namespace kivra::test
