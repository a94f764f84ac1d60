#include "processing/pixels.h"

namespace kivra {

QImage withPixelWords(const QImage &image)
{
    if (image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32)
        return image;
    return image.convertToFormat(QImage::Format_RGB32);
}

ConstPixels pixelsOf(const QImage &image)
{
    return {reinterpret_cast<const Pixel *>(image.constBits()), image.width(), image.height(),
            image.bytesPerLine()};
}

Pixels editablePixels(QImage *image)
{
    *image = withPixelWords(*image);
    auto *first = reinterpret_cast<Pixel *>(image->bits());
    return {first, image->width(), image->height(), image->bytesPerLine()};
}

} // namespace kivra
