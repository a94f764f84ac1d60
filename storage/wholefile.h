#pragma once

#include <QByteArray>
#include <QString>

/// Writes \a content as the file at \a path, whole or not at all: until it is complete, what was
/// there before stays. False when it cannot be written.
///
/// The caller does not wait for the disk. The content is brought there by another thread, and the
/// program ends after that thread has; a power failure right after the call may still take the
/// file.
bool writeWholeFile(const QString &path, const QByteArray &content);

/// Begins to bring the file at \a path, and its folder's entry for it, to the disk.
/// disksync_posix.cpp does so in another thread; disksync_portable.cpp leaves it to the system.
void syncToDisk(const QString &path);
