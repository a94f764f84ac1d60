#pragma once

#include <QImage>
#include <vector>

namespace kivra {

/// Pictures that were given out and whose memory can serve again.
///
/// The memory of a large picture is returned to the system when it is freed and faulted in again
/// page by page at the next frame, which costs more than most operations on the pixels.
class ImagePool
{
public:
    /// A picture in Format_RGB32 of this size with undefined pixels, resolution and pixel ratio,
    /// held by nobody else; null for an empty size or if there is no memory for it.
    QImage take(const QSize &size);
    /// Remembers a picture from take(), now that its pixels are written.
    void keep(const QImage &image);
    /// Forgets the pictures of other sizes, whose memory is freed when their last holder lets go.
    void keepOnly(const QSize &size);

private:
    std::vector<QImage> images;
};

} // namespace kivra
