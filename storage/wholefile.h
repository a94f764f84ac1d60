#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <functional>

/// Writes \a content as the file at \a path, whole or not at all: until the new file is complete,
/// the old one stays. False when it cannot be written.
///
/// The caller does not wait for the disk: another thread syncs the file, and the program does not
/// end before that thread. A power failure right after the call may still lose the file.
bool writeWholeFile(const QString &path, const QByteArray &content);

/// What to do with an existing file of that name.
enum class Existing {
    Replaced,
    Kept, ///< and no new one is made
};

/// The same for content that \a fill writes. \a fill gets an open, empty file under another name;
/// when it returns true, the file is renamed. Returns 0 or the system's error number (errno),
/// EEXIST if an existing file is kept.
int makeWholeFile(const QString &path, Existing existing, const std::function<bool(QFile &)> &fill);

/// Starts to sync the file at \a path, and the folder's entry for it, to the disk.
/// disksync_posix.cpp does so in another thread; disksync_portable.cpp leaves it to the system.
void syncToDisk(const QString &path);
