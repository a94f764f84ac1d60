// Syncs a file and ends. Prints how many threads there are when the application object is
// destroyed.

#include "storage/wholefile.h"

#include <QCoreApplication>
#include <QDir>
#include <cstdio>

int main(int argc, char **argv)
{
    // The routine that is added first is called last.
    qAddPostRoutine([] {
        const QDir threads(QStringLiteral("/proc/self/task"));
        std::printf("%d", threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
    });
    const QCoreApplication application(argc, argv);
    syncToDisk(QFile::decodeName(argv[1]));
}
