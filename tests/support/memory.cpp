#include "tests/support/memory.h"

#include <QFile>
#include <malloc.h>
#include <unistd.h>

namespace kivra::test {

namespace {

// A figure of /proc/self/statm, in bytes: 0 address space, 1 in memory.
qint64 memoryFigure(int place)
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        qFatal("no /proc/self/statm");
    return statm.readAll().split(' ').at(place).toLongLong() * sysconf(_SC_PAGESIZE);
}

} // namespace

qint64 residentMemory()
{
    return memoryFigure(1);
}

qint64 allocatedMemory()
{
    const struct mallinfo2 heap = mallinfo2();
    return qint64(heap.uordblks) + qint64(heap.hblkhd);
}

AddressSpaceLimit::AddressSpaceLimit(qint64 bytes)
    : before()
{
    malloc_trim(0); // otherwise the heap's reserve would remain available
    getrlimit(RLIMIT_AS, &before);
    rlimit limit = before;
    limit.rlim_cur = rlim_t(memoryFigure(0) + bytes);
    if (setrlimit(RLIMIT_AS, &limit) != 0)
        qFatal("no limit of the address space");
}

AddressSpaceLimit::~AddressSpaceLimit()
{
    setrlimit(RLIMIT_AS, &before);
}

} // namespace kivra::test
