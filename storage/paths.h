#pragma once

#include <QString>

// Where pictures live on disk and how they are named:
//
//     <Documents>/TablinoQt/<category>/<year>-<month>/im<YYMMDDhhmmss>.jpg
//
// Nothing here reports an error: if a folder cannot be made, writing a picture to it fails. Times
// are local, and the clock is read anew for each field of a name.

/// The first existing Documents folder, ending in "/". Empty, with a warning in the log, when there
/// is none; every path below is then relative to the process's current folder.
QString getMyDocPath();

/// The folder that holds the category folders, without a trailing "/".
QString storageRoot();

/// Folder name of the current month, such as "2025-03".
QString monthDir();

/// \a prefix, the current date and time as YYMMDDhhmmss, and \a suffix. The first field counts
/// years from 2000 and has three digits from 2100 on.
QString daytimeFile(QString prefix, QString suffix);

/// Makes sure that storageRoot() exists.
void createDirRacine();

/// Path of the current month's folder in category \a sub, without a trailing "/"; the folder and
/// those above it are created if missing.
QString checkAndCreateDir(QString sub);

/// The same path, without touching the disk.
QString getDir(QString sub);
