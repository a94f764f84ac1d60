#pragma once

#include "decoding/decoder.h"

namespace kivra {

/// decodePicture() for the JPEG files of cameras and phones. Gives the same pixels as Qt's reader,
/// which needs one more pass over them. Empty for any other content, for other colours than YCbCr,
/// and for damaged files: these are left to Qt.
QSize decodeJpeg(const QByteArray &content, const PixelMemory &memory);

} // namespace kivra
