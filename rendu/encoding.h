#pragma once

#include <QByteArray>
#include <QImage>

namespace kivra::rendu {

/// A picture of two colours at most, as bits: Format_Mono with the lighter colour first in its
/// table. Null for one of more colours, and for a null one. Takes Format_RGB32, opaque.
QImage twoValued(const QImage &picture);

/// The picture as a PNG file, with a bit a pixel where it has two colours at most. Empty without
/// the memory for it.
QByteArray pngOf(const QImage &picture);

/// The picture as a JPEG file of quality 90; likewise.
QByteArray jpegOf(const QImage &picture);

} // namespace kivra::rendu
