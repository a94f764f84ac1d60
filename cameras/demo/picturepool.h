#pragma once

#include <QAbstractVideoBuffer>
#include <QImage>
#include <memory>
#include <mutex>
#include <vector>

namespace kivra::cameras {

/// A fixed number of pictures of one size that are used over and over, on any thread.
///
/// The thread that took a picture writes it; from then on it is only read. It comes back when the
/// last reader drops it, and the pool's lock orders that reading before the next writing. A picture
/// keeps the pool alive, so it may outlive the pool's owner.
class PicturePool : public std::enable_shared_from_this<PicturePool>
{
public:
    /// At most \a count pictures of \a size in Format_RGB32, allocated as they are needed.
    static std::shared_ptr<PicturePool> create(QSize size, int count);

    /// A free picture with any content; null if all are in use.
    std::shared_ptr<QImage> take();

private:
    PicturePool(QSize size, int count);
    void giveBack(QImage *picture);

    const QSize size;
    std::mutex mutex;
    std::vector<std::unique_ptr<QImage>> idle;
    int unmade; // pictures that may still be allocated
};

/// A picture as the content of a QVideoFrame, without a copy. Can be mapped for reading only.
class PictureBuffer : public QAbstractVideoBuffer
{
public:
    explicit PictureBuffer(std::shared_ptr<const QImage> picture);

    MapMode mapMode() const override;
    uchar *map(MapMode mode, int *numBytes, int *bytesPerLine) override;
    void unmap() override;

private:
    std::shared_ptr<const QImage> picture;
    MapMode currentMode = NotMapped;
};

} // namespace kivra::cameras
