// Syncs a file and ends. Prints how many threads there are when the application object is
// destroyed.

#include "storage/wholefile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <cstdio>
#include <thread>

namespace {

int threads()
{
    return QDir(QStringLiteral("/proc/self/task"))
        .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
        .size();
}

// The system lists a thread for another moment after it was waited for.
void printThreads()
{
    const QDeadlineTimer patience(3000);
    while (threads() > 1 && !patience.hasExpired())
        std::this_thread::yield();
    std::printf("%d", threads());
}

} // namespace

int main(int argc, char **argv)
{
    qAddPostRoutine(printThreads); // the routine that is added first is called last
    const QCoreApplication application(argc, argv);
    syncToDisk(QFile::decodeName(argv[1]));
}
