#pragma once

#include <QString>

namespace kivra {

/// The largest file that is opened, in bytes: 512 MiB.
constexpr qint64 mostFileBytes = qint64(512) << 20;

/// What identifies a file: two states are equal unless the file was changed or replaced.
struct FileState
{
    quint64 device = 0;
    quint64 number = 0;
    qint64 bytes = 0;
    qint64 modifiedNs = 0;
    qint64 changedNs = 0;

    bool operator==(const FileState &other) const;
    bool isFile() const { return bytes > 0; } ///< regular, of 1 .. mostFileBytes bytes
};

/// The state of the file at \a path, links followed; not isFile() for anything else.
FileState stateOf(const QString &path);

/// The path that QImage::load() would open: if there is no file of this name, the suffixes of all
/// formats are tried behind it.
QString pictureFile(const QString &path);

} // namespace kivra
