#pragma once

#include "cameras/video/videodevice.h"

#include <optional>
#include <vector>

namespace kivra::cameras {

/// A camera that may go away and come back on another node, and how to recognise it.
class SoughtCamera
{
public:
    explicit SoughtCamera(VideoDevice camera);

    /// The camera as it was last found.
    const VideoDevice &device() const { return camera; }

    /// The camera among \a present: an equal one at the same place, or an equal one elsewhere that
    /// was not there together with ours. None if it is away.
    std::optional<VideoDevice> findIn(const std::vector<VideoDevice> &present) const;

    /// The camera has been opened as \a found, while \a present were there.
    void foundAs(const VideoDevice &found, const std::vector<VideoDevice> &present);

private:
    VideoDevice camera;
    std::vector<VideoDevice> others; // equal ones that were there together with it
};

} // namespace kivra::cameras
