#include "decoding/confined/openedfile.h"

#include <QFile>
#include <fcntl.h>
#include <sys/stat.h>

namespace kivra {

namespace {

qint64 nanoseconds(const timespec &time)
{
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

FileState stateFrom(const struct stat &is)
{
    if (!S_ISREG(is.st_mode) || is.st_size > mostFileBytes)
        return {};
    return {quint64(is.st_dev), quint64(is.st_ino), qint64(is.st_size), nanoseconds(is.st_mtim),
            nanoseconds(is.st_ctim)};
}

} // namespace

OpenedFile openFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    Descriptor opened(open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat is = {};
    if (!opened.isOpen() || fstat(opened.get(), &is) != 0)
        return {};
    const FileState state = stateFrom(is);
    return {state.isFile() ? std::move(opened) : Descriptor(), state};
}

FileState stateOf(const QString &path)
{
    struct stat is = {};
    const bool isThere = stat(QFile::encodeName(path).constData(), &is) == 0;
    return isThere ? stateFrom(is) : FileState();
}

} // namespace kivra
