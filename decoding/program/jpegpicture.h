#pragma once

#include "decoding/decoder.h"

namespace kivra {

/// decodePicture() for the JPEG files of cameras and phones. The pixels are those of Qt's reader,
/// which goes over them once more. Empty for any other content, for other colours than theirs, and
/// for what is damaged: all that is left to Qt.
QSize decodeJpeg(const QByteArray &content, const PixelMemory &memory);

} // namespace kivra
