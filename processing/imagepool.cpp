#include "processing/imagepool.h"

#include <algorithm>

namespace kivra {

namespace {

// One on the screen, one on its way there, one that is being made.
constexpr std::size_t capacity = 3;

} // namespace

QImage ImagePool::take(const QImage &model)
{
    if (model.isNull())
        return {};
    const auto free = std::find_if(images.begin(), images.end(),
                                   [](const QImage &image) { return image.isDetached(); });
    QImage image;
    if (free != images.end()) {
        image = std::move(*free);
        images.erase(free);
    }
    if (image.size() != model.size())
        image = QImage(model.size(), QImage::Format_RGB32);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(model.devicePixelRatio());
    image.setDotsPerMeterX(model.dotsPerMeterX());
    image.setDotsPerMeterY(model.dotsPerMeterY());
    return image;
}

void ImagePool::keep(const QImage &image)
{
    if (image.isNull())
        return;
    if (images.size() == capacity)
        images.erase(images.begin());
    images.push_back(image);
}

} // namespace kivra
