#pragma once

#include <QImage>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <type_traits>
#include <utility>

namespace kivra {

/// A pixel, 0xAARRGGBB.
using Pixel = std::uint32_t;

/// What dark and light parts of a picture become.
struct TwoColours
{
    Pixel dark;
    Pixel light;
};

/// Rows or columns from \c begin to \c end, exclusive.
struct Span
{
    int begin;
    int end;
};

// OpenCV sees the bytes of a word in memory order: blue, green, red, alpha.
static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN);

/// Rows of pixels that somebody else owns. Valid until the owner is destroyed or detaches.
template<typename Word>
struct PixelGrid
{
    Word *first; ///< of the upper row
    int width;
    int height;
    std::ptrdiff_t bytesPerLine; ///< from row to row

    /// A read-only view of the same rows.
    operator PixelGrid<const Word>() const { return {first, width, height, bytesPerLine}; }

    bool isEmpty() const { return width <= 0 || height <= 0; }
    Word *row(int y) const
    {
        using Byte = std::conditional_t<std::is_const_v<Word>, const std::byte, std::byte>;
        return reinterpret_cast<Word *>(reinterpret_cast<Byte *>(first) + y * bytesPerLine);
    }
    /// A matrix header of type CV_8UC4 over the rows of \a span. OpenCV has no header for constant
    /// data: never write through a header of a read-only grid.
    cv::Mat matrix(Span span) const
    {
        return {span.end - span.begin, width, CV_8UC4,
                const_cast<std::remove_const_t<Word> *>(row(span.begin)),
                static_cast<std::size_t>(bytesPerLine)};
    }
    cv::Mat matrix() const { return matrix({0, height}); }
};

using Pixels = PixelGrid<Pixel>;
using ConstPixels = PixelGrid<const Pixel>;

/// The picture itself if its pixels are 0xAARRGGBB words (Format_RGB32, Format_ARGB32), otherwise a
/// copy converted to Format_RGB32. Null for a null picture, or if there is no memory for the copy.
inline QImage withPixelWords(const QImage &image)
{
    if (image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32)
        return image;
    return image.convertToFormat(QImage::Format_RGB32);
}

/// The pixels of a picture in Format_RGB32 or Format_ARGB32; empty for an empty picture.
inline ConstPixels pixelsOf(const QImage &image)
{
    return {reinterpret_cast<const Pixel *>(image.constBits()), image.width(), image.height(),
            image.bytesPerLine()};
}

/// The pixels of \a image, for changes in place. Other holders of the same picture keep theirs, and
/// a picture of another format is first converted to Format_RGB32; both may take a copy. Empty for
/// an empty picture. Also empty if there is no memory for the copy; the picture then stays as it
/// is.
inline Pixels editablePixels(QImage *image)
{
    const bool hasWords =
        image->format() == QImage::Format_RGB32 || image->format() == QImage::Format_ARGB32;
    if (!hasWords || !image->isDetached()) {
        QImage own = hasWords ? image->copy() : image->convertToFormat(QImage::Format_RGB32);
        if (own.isNull())
            return {nullptr, 0, 0, 0};
        *image = std::move(own);
    }
    return {reinterpret_cast<Pixel *>(image->bits()), image->width(), image->height(),
            image->bytesPerLine()};
}

} // namespace kivra
