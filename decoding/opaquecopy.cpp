#include "decoding/opaquecopy.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace kivra {

namespace {

// One shown, two beside it and one that is being made.
constexpr size_t mostKept = 4;
constexpr qsizetype mostKeptBytes = qsizetype(64) << 20;

// Command-line use decodes in several threads.
std::mutex &lock()
{
    static std::mutex mutex;
    return mutex;
}

std::vector<QImage> &kept()
{
    static std::vector<QImage> images;
    return images;
}

void dropSpares()
{
    std::vector<QImage> &images = kept();
    images.erase(std::remove_if(images.begin(), images.end(),
                                [](const QImage &image) { return image.isDetached(); }),
                 images.end());
}

QImage takeSpare(const QSize &size)
{
    const std::lock_guard<std::mutex> held(lock());
    std::vector<QImage> &images = kept();
    const auto spare = std::find_if(images.begin(), images.end(), [&](const QImage &image) {
        return image.size() == size && image.isDetached();
    });
    QImage taken;
    if (spare != images.end()) {
        taken = std::move(*spare);
        images.erase(spare);
    }
    return taken;
}

void keep(const QImage &image)
{
    if (image.sizeInBytes() > mostKeptBytes)
        return;
    const std::lock_guard<std::mutex> held(lock());
    if (kept().size() >= mostKept)
        dropSpares();
    if (kept().size() < mostKept)
        kept().push_back(image);
}

} // namespace

QImage opaqueCopy(const uchar *words, const QSize &size)
{
    constexpr QRgb opaque = 0xff000000;
    QImage copy = takeSpare(size);
    if (copy.isNull())
        copy = QImage(size, QImage::Format_RGB32);
    if (copy.isNull())
        return copy;
    const auto count = size_t(size.width()) * size_t(size.height());
    const auto *const from = reinterpret_cast<const QRgb *>(words);
    auto *const to = reinterpret_cast<QRgb *>(copy.bits());
    for (size_t i = 0; i < count; ++i)
        to[i] = from[i] | opaque;
    keep(copy);
    return copy;
}

void forgetCopies()
{
    const std::lock_guard<std::mutex> held(lock());
    kept().clear();
}

} // namespace kivra
