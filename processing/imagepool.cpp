#include "processing/imagepool.h"

#include <algorithm>

namespace kivra {

namespace {

// One on the screen and one that is being made.
constexpr std::size_t capacity = 2;

} // namespace

QImage ImagePool::take(const QSize &size)
{
    const auto free = std::find_if(images.begin(), images.end(),
                                   [](const QImage &image) { return image.isDetached(); });
    QImage image;
    if (free != images.end()) {
        image = std::move(*free);
        images.erase(free);
    }
    return image.size() == size ? image : QImage(size, QImage::Format_RGB32);
}

void ImagePool::keep(const QImage &image)
{
    if (image.isNull())
        return;
    if (images.size() == capacity)
        images.erase(images.begin());
    images.push_back(image);
}

void ImagePool::keepOnly(const QSize &size)
{
    images.erase(std::remove_if(images.begin(), images.end(),
                                [&](const QImage &image) { return image.size() != size; }),
                 images.end());
}

} // namespace kivra
