#include "storage/wholefile.h"

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

} // namespace

// Not in Qt's global pool: a slow disk would block the pictures that are converted there.
void syncToDisk(const QString &path)
{
    static QThreadPool disk;
    disk.setMaxThreadCount(1);
    const QByteArray file = QFile::encodeName(path);
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    disk.start([=] {
        sync(file);
        sync(folder);
    });
}
