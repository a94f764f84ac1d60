#pragma once

#include <QByteArray>
#include <QSize>
#include <functional>

namespace kivra {

/// The largest picture that is decoded, in pixels: 134 megapixels, 512 MiB of 32-bit words.
constexpr qint64 mostPixels = qint64(1) << 27;

/// How much memory the decoding may take on the way, in bytes: 2 GiB.
constexpr qint64 mostDecodingBytes = qint64(2) << 30;

/// True for a size of at least one pixel and at most mostPixels.
bool isDecodable(const QSize &size);

/// Gives memory for the 32-bit words of a picture of this size, row after row without padding; the
/// same memory when asked for the same size again. \a depth is how many bits a pixel has on the
/// way, 0 for unknown. Null when there is none.
using PixelMemory = std::function<uchar *(const QSize &size, int depth)>;

/// Decodes the content of a picture file, in any format that Qt's image readers know, into
/// \a memory as the opaque words of QImage::Format_RGB32. Returns the picture's size; empty when
/// the content is no picture, the picture is larger than mostPixels or there is no memory for it.
/// The memory is asked for before the decoding by readers that tell the size beforehand.
///
/// How long it takes, how much memory it needs on the way and whether it returns at all is up to
/// the content: for files of unknown origin there is PictureDecoder (picturedecoder.h).
QSize decodePicture(const QByteArray &content, const PixelMemory &memory);

} // namespace kivra
