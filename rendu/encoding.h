#pragma once

#include <QByteArray>
#include <QImage>

namespace kivra::rendu {

/// A picture of at most two colours as bits: Format_Mono with the lighter colour first in its
/// table. Null for a picture of more colours, and for a null picture. Takes opaque pictures in
/// Format_RGB32.
QImage twoValued(const QImage &picture);

/// The picture as a PNG file, with one bit a pixel if it has at most two colours. Empty if there is
/// no memory for it.
QByteArray pngOf(const QImage &picture);

/// Whether a side of the picture is longer than JPEG files have it from libjpeg-turbo: 65500
/// pixels.
bool isTooLargeForJpeg(const QImage &picture);

/// The picture as a JPEG file of quality 90. Empty if it is too large for that, and if there is no
/// memory for it.
QByteArray jpegOf(const QImage &picture);

} // namespace kivra::rendu
