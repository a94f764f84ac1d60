#pragma once

#include "cameras/video/formatchoice.h"
#include "cameras/video/framedecoder.h"

namespace kivra::cameras {

/// The settings of real cameras: from the settings store, overridden by the environment.
struct VideoSettings
{
    std::optional<FormatWish> format; ///< camera/format, KIVRA_CAMERA_FORMAT
    /// camera/turn, KIVRA_CAMERA_TURN: 0, 90, 180, 270; camera/mirror, KIVRA_CAMERA_MIRROR: 0, 1,
    /// false, true.
    Orientation orientation;
    int mains = 0; ///< camera/mains, KIVRA_CAMERA_MAINS: 50 or 60 Hz; 0 leaves it to the camera
};

/// Reads the settings; called whenever a camera is opened, on any thread. A value that cannot be
/// used is logged in one line and counts as not set.
VideoSettings videoSettings();

} // namespace kivra::cameras
