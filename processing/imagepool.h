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
    /// A picture in Format_RGB32 with the size, resolution and pixel ratio of \a model and
    /// undefined pixels, held by nobody else; null if there is no memory for it.
    QImage take(const QImage &model);
    /// Remembers a picture from take(), now that its pixels are written.
    void keep(const QImage &image);

private:
    std::vector<QImage> images;
};

} // namespace kivra
