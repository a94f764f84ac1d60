#include "benchmarks/cputime.h"

#include "cameras/demo/framemaker.h"

#include <QDir>
#include <QFile>
#include <sys/resource.h>
#include <unistd.h>

namespace kivra::benchmarks {

namespace {

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) * 1e-6;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll().trimmed();
}

// Qt names a thread after its class; the system keeps the beginning.
bool drawsPictures(const QString &task)
{
    const QByteArray name = contentOf(task + QStringLiteral("/comm"));
    return name == "videonode" ||
           (!name.isEmpty() &&
            QByteArray(cameras::FrameMaker::staticMetaObject.className()).startsWith(name));
}

} // namespace

double cpuSeconds()
{
    rusage used = {};
    getrusage(RUSAGE_SELF, &used);
    double all = seconds(used.ru_utime) + seconds(used.ru_stime);
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = tasks.filePath(task);
        if (drawsPictures(path))
            all -= contentOf(path + QStringLiteral("/schedstat")).split(' ').value(0).toDouble() *
                   1e-9;
    }
    return all;
}

double residentMiB()
{
    const QByteArray pages = contentOf(QStringLiteral("/proc/self/statm")).split(' ').value(1);
    return pages.toDouble() * double(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

} // namespace kivra::benchmarks
