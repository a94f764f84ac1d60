#include "cameras/video/soughtcamera.h"

#include <algorithm>

namespace kivra::cameras {

SoughtCamera::SoughtCamera(VideoDevice wanted)
    : camera(std::move(wanted))
{
}

std::optional<VideoDevice> SoughtCamera::findIn(const std::vector<VideoDevice> &present) const
{
    const VideoDevice *elsewhere = nullptr;
    for (const VideoDevice &candidate : present) {
        if (!isSameModel(candidate, camera))
            continue;
        if (candidate.place == camera.place)
            return candidate;
        const bool isOther =
            std::any_of(others.begin(), others.end(),
                        [&](const VideoDevice &other) { return other.place == candidate.place; });
        if (!isOther && !elsewhere)
            elsewhere = &candidate;
    }
    return elsewhere ? std::optional<VideoDevice>(*elsewhere) : std::nullopt;
}

void SoughtCamera::foundAs(const VideoDevice &found, const std::vector<VideoDevice> &present)
{
    camera = found;
    others.clear();
    std::copy_if(present.begin(), present.end(), std::back_inserter(others),
                 [&](const VideoDevice &device) {
                     return isSameModel(device, camera) && device.node != camera.node;
                 });
}

} // namespace kivra::cameras
