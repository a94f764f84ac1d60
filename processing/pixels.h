#pragma once

#include <QImage>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <type_traits>

namespace kivra {

/// A pixel, 0xAARRGGBB.
using Pixel = std::uint32_t;

/// What dark and light parts of a picture become.
struct TwoColours
{
    Pixel dark;
    Pixel light;
};

// OpenCV sees the bytes of a word in memory order: blue, green, red, alpha.
static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN);

/// Rows of pixels that somebody else owns. Valid as long as the owner neither ends nor detaches.
template<typename Word>
class PixelGrid
{
public:
    /// \a first is the first pixel of the upper row; rows are \a bytesPerLine apart.
    PixelGrid(Word *first, int width, int height, std::ptrdiff_t bytesPerLine)
        : firstPixel(first)
        , columns(width)
        , rows(height)
        , stride(bytesPerLine)
    {
    }
    /// A read-only view of the same rows.
    operator PixelGrid<const Word>() const { return {firstPixel, columns, rows, stride}; }

    int width() const { return columns; }
    int height() const { return rows; }
    bool isEmpty() const { return columns <= 0 || rows <= 0; }
    std::ptrdiff_t bytesPerLine() const { return stride; }
    Word *row(int y) const
    {
        using Byte = std::conditional_t<std::is_const_v<Word>, const std::byte, std::byte>;
        return reinterpret_cast<Word *>(reinterpret_cast<Byte *>(firstPixel) + y * stride);
    }
    /// A matrix header of type CV_8UC4 over rows \a begin to \a end (exclusive). OpenCV knows no
    /// header over constant data: one that comes from a read-only grid must only be read.
    cv::Mat matrix(int begin, int end) const
    {
        auto *data = const_cast<std::remove_const_t<Word> *>(row(begin));
        return {end - begin, columns, CV_8UC4, data, static_cast<std::size_t>(stride)};
    }
    cv::Mat matrix() const { return matrix(0, rows); }

private:
    Word *firstPixel;
    int columns;
    int rows;
    std::ptrdiff_t stride;
};

using Pixels = PixelGrid<Pixel>;
using ConstPixels = PixelGrid<const Pixel>;

/// The picture itself when its pixels are 0xAARRGGBB words (Format_RGB32, Format_ARGB32), otherwise
/// a converted copy in Format_RGB32. Null for a null picture.
QImage withPixelWords(const QImage &image);

/// The pixels of a picture in Format_RGB32 or Format_ARGB32; empty for an empty picture.
ConstPixels pixelsOf(const QImage &image);

/// The pixels of \a image to be changed in place. Other holders of the same picture keep theirs; a
/// picture of another format is first converted to Format_RGB32. Empty for an empty picture.
Pixels editablePixels(QImage *image);

} // namespace kivra
