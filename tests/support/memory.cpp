#include "tests/support/memory.h"

#include <QFile>
#include <malloc.h>
#include <unistd.h>

namespace kivra::test {

qint64 residentMemory()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        qFatal("no /proc/self/statm");
    return statm.readAll().split(' ').at(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

qint64 allocatedMemory()
{
    const struct mallinfo2 heap = mallinfo2();
    return qint64(heap.uordblks) + qint64(heap.hblkhd);
}

} // namespace kivra::test
