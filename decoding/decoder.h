#pragma once

#include <QByteArray>
#include <QSize>
#include <functional>

namespace kivra {

/// The largest picture that is decoded, in pixels: 134 megapixels, 512 MiB of 32-bit words.
constexpr qint64 mostPixels = qint64(1) << 27;

/// The most memory that decoding may take, in bytes: 2 GiB.
constexpr qint64 mostDecodingBytes = qint64(2) << 30;

/// True for a size of at least one pixel and at most mostPixels.
bool isDecodable(const QSize &size);

/// Gives memory for the 32-bit words of a picture of this size, row after row without padding; the
/// same memory if asked for the same size again. \a depth is how many bits a pixel has as the
/// reader decodes it, 0 if unknown or if the reader decodes straight into this memory. Null if
/// there is no memory.
using PixelMemory = std::function<uchar *(const QSize &size, int depth)>;

/// Decodes the content of a picture file, in any format that Qt's image readers know, into
/// \a memory as the opaque words of QImage::Format_RGB32. Returns the picture's size; empty if the
/// content is no picture, if the picture is larger than mostPixels, or if there is no memory for
/// it. Readers that know the size beforehand ask for the memory before they decode.
///
/// The content decides how long this takes, how much memory it needs and whether it returns at all:
/// open files of unknown origin with PictureDecoder (picturedecoder.h).
QSize decodePicture(const QByteArray &content, const PixelMemory &memory);

} // namespace kivra
