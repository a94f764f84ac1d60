#include "decoding/opaquecopy.h"

#include <QSemaphore>
#include <QThreadPool>
#include <algorithm>
#include <mutex>
#include <vector>

namespace kivra {

namespace {

// One shown, two held beside it and one in the making.
constexpr size_t mostKept = 4;
constexpr qsizetype mostKeptBytes = qsizetype(64) << 20;

// On the command line, several threads decode.
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

void copyOpaque(const QRgb *from, QRgb *to, size_t count)
{
    constexpr QRgb opaque = 0xff000000;
    for (size_t i = 0; i < count; ++i)
        to[i] = from[i] | opaque;
}

// One thread alone does not use the full memory bandwidth, but waking another one has its cost.
void copyOpaqueByTwo(const QRgb *from, QRgb *to, size_t count)
{
    constexpr size_t worthWaking = 1 << 20;
    const size_t half = count / 2;
    QSemaphore done;
    const bool isShared = count >= worthWaking && QThreadPool::globalInstance()->tryStart([&] {
        copyOpaque(from + half, to + half, count - half);
        done.release();
    });
    copyOpaque(from, to, isShared ? half : count);
    if (isShared)
        done.acquire();
}

} // namespace

QImage opaqueCopy(const uchar *words, const QSize &size)
{
    QImage copy = takeSpare(size);
    if (copy.isNull())
        copy = QImage(size, QImage::Format_RGB32);
    if (copy.isNull())
        return copy;
    const auto count = size_t(size.width()) * size_t(size.height());
    copyOpaqueByTwo(reinterpret_cast<const QRgb *>(words), reinterpret_cast<QRgb *>(copy.bits()),
                    count);
    keep(copy);
    return copy;
}

void forgetCopies()
{
    const std::lock_guard<std::mutex> held(lock());
    kept().clear();
}

} // namespace kivra
