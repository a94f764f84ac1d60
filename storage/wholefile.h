#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <functional>

/// Writes \a content as the file at \a path, whole or not at all: until it is complete, what was
/// there before stays. False when it cannot be written.
///
/// The caller does not wait for the disk. The content is brought there by another thread, and the
/// program ends after that thread has; a power failure right after the call may still take the
/// file.
bool writeWholeFile(const QString &path, const QByteArray &content);

/// What becomes of a file that has the name already.
enum class Existing {
    Replaced,
    Kept, ///< then there is no new one
};

/// The same for content that \a fill writes to the file it is given, which is open, empty and has
/// another name until \a fill returns true. Gives 0, or the number of the system's error (errno):
/// EEXIST for a file that is kept.
int makeWholeFile(const QString &path, Existing existing, const std::function<bool(QFile &)> &fill);

/// Begins to bring the file at \a path, and its folder's entry for it, to the disk.
/// disksync_posix.cpp does so in another thread; disksync_portable.cpp leaves it to the system.
void syncToDisk(const QString &path);
