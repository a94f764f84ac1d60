#pragma once

#include <QImage>
#include <atomic>

namespace kivra::cameras {

/// Makes the pictures that a demonstration device sees. Used by one thread at a time, never the
/// window's.
class PictureMaker
{
public:
    PictureMaker() = default;
    virtual ~PictureMaker() = default;
    PictureMaker(const PictureMaker &) = delete;
    PictureMaker &operator=(const PictureMaker &) = delete;

    /// Fills \a picture, which has Format_RGB32 and any size, with what is seen \a seconds after
    /// the start at an exposure compensation of \a ev stops. False, with the picture undefined, if
    /// there is nothing to see or \a abandoned became true.
    virtual bool make(QImage &picture, double seconds, double ev,
                      const std::atomic<bool> &abandoned) = 0;
};

} // namespace kivra::cameras
