#pragma once

#include <QString>
#include <QStringList>

/// The names of the files in this folder that end in ".jpg" or ".png", in lower case, in no order;
/// links to files count, names that begin with a dot do not. Empty when the folder cannot be read,
/// and for an empty path. Names that are not valid in the file system's encoding are left out.
///
/// picturenames_posix.cpp reads the folder itself; picturenames_portable.cpp lists the same by
/// QDir.
QStringList pictureNames(const QString &path);
