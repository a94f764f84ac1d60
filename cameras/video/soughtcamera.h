#pragma once

#include "cameras/video/videodevice.h"

#include <optional>
#include <vector>

namespace kivra::cameras {

/// A camera that may go and come back on another node, and how it is known again.
class SoughtCamera
{
public:
    explicit SoughtCamera(VideoDevice camera);

    /// As it was last found.
    const VideoDevice &device() const { return camera; }

    /// The camera among \a present: an equal one at the same place, or an equal one that was not
    /// there when ours was, plugged in elsewhere. None if it is away.
    std::optional<VideoDevice> findIn(const std::vector<VideoDevice> &present) const;

    /// The camera has been opened as \a found, while \a present were there.
    void foundAs(const VideoDevice &found, const std::vector<VideoDevice> &present);

private:
    VideoDevice camera;
    std::vector<VideoDevice> others; // equal ones that were there at the same time
};

} // namespace kivra::cameras
