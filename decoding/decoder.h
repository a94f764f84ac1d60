#pragma once

#include <QByteArray>
#include <QSize>
#include <functional>

namespace kivra {

/// The largest picture that is decoded, in pixels: 134 megapixels, 512 MiB of 32-bit words.
constexpr qint64 mostPixels = qint64(1) << 27;

/// True for a size of at least one pixel and at most mostPixels.
bool isDecodable(const QSize &size);

/// Gives memory for the 32-bit words of a picture of this size, row after row without padding; the
/// same memory when asked for the same size again. Null when there is none.
using PixelMemory = std::function<uchar *(const QSize &)>;

/// Decodes the content of a picture file, in any format that Qt's image readers know, into
/// \a memory as the opaque words of QImage::Format_RGB32. Returns the picture's size; empty when
/// the content is no picture, the picture is larger than mostPixels or there is no memory for it.
///
/// How long it takes, how much memory it needs on the way and whether it returns at all is up to
/// the content: only loadPicture() is fit for files of unknown origin.
QSize decodePicture(const QByteArray &content, const PixelMemory &memory);

} // namespace kivra
