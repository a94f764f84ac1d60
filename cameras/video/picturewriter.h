#pragma once

#include "cameras/video/framedecoder.h"
#include "cameras/video/framerows.h"

#include <cstdint>
#include <vector>

namespace kivra::cameras {

/// Writes the rows of a frame to their places in the turned picture.
class PictureWriter
{
public:
    explicit PictureWriter(Orientation orientation);

    /// Writes the whole frame of \a size pixels; \a picture has that size, turned.
    void write(FrameRows &rows, Size size, const Picture &picture);

private:
    void writeUpright(FrameRows &rows, Size size, const Picture &picture) const;
    void writeStaged(FrameRows &rows, Size size, const Picture &picture);
    void writeSideways(FrameRows &rows, Size size, const Picture &picture);

    Orientation orientation;
    std::vector<std::uint32_t> stage;
};

} // namespace kivra::cameras
