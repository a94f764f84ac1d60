#pragma once

#include <QImage>
#include <QString>

namespace kivra::rendu {

/// How the camera was held, as it is noted in the file at \a path: 1 to 8, as Exif counts (tag
/// 0x0112). 1, upright, for a file without such a note or with
/// another number, and for one that cannot be read. Only JPEG
/// files are looked into (the reader of TIFF files turns their pictures itself); nothing is
/// decoded.
int orientationOf(const QString &path);

/// The picture as its subject stands. Any other number than 2 to 8 leaves it as it is. Null without
/// the memory for it.
QImage upright(const QImage &picture, int orientation);

} // namespace kivra::rendu
