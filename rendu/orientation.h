#pragma once

#include <QImage>
#include <QString>

namespace kivra::rendu {

/// How the camera was held, as noted in the file at \a path: 1 to 8, as in Exif (tag 0x0112). A
/// file counts as 1, upright, if it has no such note or another number, or cannot be read. Only
/// JPEG files are examined (the reader of TIFF files turns their pictures itself); nothing is
/// decoded.
int orientationOf(const QString &path);

/// The picture turned so that its subject stands upright. Any number other than 2 to 8 leaves it as
/// it is. Null if there is no memory for it.
QImage upright(const QImage &picture, int orientation);

} // namespace kivra::rendu
