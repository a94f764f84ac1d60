#include "cameras/demo/picturepool.h"

namespace kivra::cameras {

std::shared_ptr<PicturePool> PicturePool::create(QSize size, int count)
{
    return std::shared_ptr<PicturePool>(new PicturePool(size, count));
}

PicturePool::PicturePool(QSize pictureSize, int count)
    : size(pictureSize)
    , unmade(count)
{
    idle.reserve(static_cast<size_t>(count));
}

std::shared_ptr<QImage> PicturePool::take()
{
    std::unique_ptr<QImage> picture;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!idle.empty()) {
            picture = std::move(idle.back());
            idle.pop_back();
        } else if (unmade > 0) {
            --unmade;
            picture = std::make_unique<QImage>(size, QImage::Format_RGB32);
        } else {
            return nullptr;
        }
    }
    return {picture.release(), [pool = shared_from_this()](QImage *used) { pool->giveBack(used); }};
}

void PicturePool::giveBack(QImage *picture)
{
    const std::lock_guard<std::mutex> lock(mutex);
    idle.emplace_back(picture);
}

PictureBuffer::PictureBuffer(std::shared_ptr<const QImage> content)
    : QAbstractVideoBuffer(NoHandle)
    , picture(std::move(content))
{
}

QAbstractVideoBuffer::MapMode PictureBuffer::mapMode() const
{
    return currentMode;
}

uchar *PictureBuffer::map(MapMode mode, int *numBytes, int *bytesPerLine)
{
    if (mode != ReadOnly || currentMode != NotMapped)
        return nullptr;
    currentMode = mode;
    if (numBytes)
        *numBytes = static_cast<int>(picture->sizeInBytes());
    if (bytesPerLine)
        *bytesPerLine = picture->bytesPerLine();
    // The interface has one pointer for reading and writing, hence the cast; only ReadOnly is
    // allowed.
    return const_cast<uchar *>(picture->constBits());
}

void PictureBuffer::unmap()
{
    currentMode = NotMapped;
}

} // namespace kivra::cameras
