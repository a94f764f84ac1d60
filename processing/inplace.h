#pragma once

#include "processing/buffers.h"
#include "render/modes.h"
#include "render/parallel.h"

#include <QImage>
#include <exception>

// How the operations work on a picture in place.

namespace kivra {

/// Calls \a change with the pixels of the picture, of which other holders keep theirs. Nothing
/// happens to an empty picture, nor where there is no memory for a copy; where memory is short
/// within \a change, the rest of it does not happen.
template<typename Change>
void changeInPlace(QImage *image, const Change &change)
{
    const Pixels pixels = editablePixels(image);
    if (pixels.isEmpty())
        return;
    try {
        change(pixels);
    } catch (const std::exception &) {
        return; // of OpenCV or the standard library
    }
}

/// What paint() does, over the pixels themselves and on all cores. \a plane is the mode's scratch,
/// for who wants to see it.
inline void paintOver(Pixels pixels, int mode, const Finish &finish = {}, cv::Mat *plane = nullptr)
{
    cv::Mat own;
    paint({pixels, pixels, allThreads(), plane ? *plane : own}, mode, finish);
}

} // namespace kivra
