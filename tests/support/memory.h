#pragma once

#include <QtGlobal>
#include <sys/resource.h>

namespace kivra::test {

/// Bytes of this process that are in memory. Ends the program if the system does not tell.
qint64 residentMemory();

/// Bytes that this process has allocated on the heap and not freed.
qint64 allocatedMemory();

/// While it lives, this process gets at most \a bytes of address space more than it has. Not for
/// the sanitizers, which have all of it.
class AddressSpaceLimit
{
public:
    explicit AddressSpaceLimit(qint64 bytes);
    ~AddressSpaceLimit();
    AddressSpaceLimit(const AddressSpaceLimit &) = delete;
    AddressSpaceLimit &operator=(const AddressSpaceLimit &) = delete;

private:
    rlimit before;
};

} // namespace kivra::test
