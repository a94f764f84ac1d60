#include "storage/wholefile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>
#include <fcntl.h>
#include <unistd.h>

namespace {

void sync(const QByteArray &path)
{
    const int opened = open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (opened < 0)
        return;
    fsync(opened);
    close(opened);
}

// Not Qt's global pool: a slow disk would block the pictures that are converted there.
QThreadPool &disk()
{
    static QThreadPool pool;
    return pool;
}

void finish()
{
    disk().waitForDone();
}

} // namespace

void syncToDisk(const QString &path)
{
    static const bool isReady = [] {
        disk().setMaxThreadCount(1);
        // A Qt thread uses the application object when it starts, so it crashes if the program ends
        // at that moment.
        qAddPostRoutine(finish);
        return true;
    }();
    Q_UNUSED(isReady)
    const QByteArray file = QFile::encodeName(path);
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    disk().start([=] {
        sync(file);
        sync(folder);
    });
}
