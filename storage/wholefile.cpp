#include "storage/wholefile.h"

#include <QRandomGenerator>
#include <cerrno>
#include <cstdio>
#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

// In the same folder, so that it can be renamed; the browser does not list files with this suffix.
QString temporaryName(const QString &path)
{
    return path + QStringLiteral(".%1.part")
                      .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
}

// In one step where the system can: then there is a file at this path at every moment, even if this
// fails.
bool replace(const QString &path, const QString &by)
{
#ifdef Q_OS_UNIX
    return std::rename(QFile::encodeName(by).constData(), QFile::encodeName(path).constData()) == 0;
#else
    return (!QFile::exists(path) || QFile::remove(path)) && QFile::rename(by, path);
#endif
}

// In one step where the system and the file system can. Network file systems cannot rename without
// replacing, but can link; file systems of memory sticks cannot link.
bool give(const QString &path, const QString &from)
{
#ifdef Q_OS_LINUX
    const QByteArray to = QFile::encodeName(path);
    const QByteArray name = QFile::encodeName(from);
    if (renameat2(AT_FDCWD, name.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (link(name.constData(), to.constData()) == 0)
        return unlink(name.constData()) == 0;
    if (errno == EEXIST)
        return false;
#endif
    if (QFile::exists(path)) {
        errno = EEXIST;
        return false;
    }
    return QFile::rename(from, path);
}

bool move(const QString &path, const QString &from, Existing existing)
{
    return existing == Existing::Replaced ? replace(path, from) : give(path, from);
}

} // namespace

int makeWholeFile(const QString &path, Existing existing, const std::function<bool(QFile &)> &fill)
{
    QFile file(temporaryName(path));
    errno = 0;
    const bool isOpen =
        file.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered);
    const bool isFilled = isOpen && fill(file);
    int error = isFilled ? 0 : errno;
    file.close();
    const bool isThere = isFilled && move(path, file.fileName(), existing);
    if (isFilled && !isThere)
        error = errno;
    if (isThere)
        syncToDisk(path);
    else if (isOpen)
        file.remove();
    return isThere ? 0 : (error != 0 ? error : EIO);
}

bool writeWholeFile(const QString &path, const QByteArray &content)
{
    return makeWholeFile(path, Existing::Replaced,
                         [&](QFile &file) { return file.write(content) == content.size(); }) == 0;
}
