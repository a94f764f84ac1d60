#pragma once

#include "cameras/video/formatchoice.h"
#include "cameras/video/framedecoder.h"

namespace kivra::cameras {

/// How cameras are to be used here: the settings store, and the environment over it.
struct VideoSettings
{
    std::optional<FormatWish> format; ///< camera/format, KIVRA_CAMERA_FORMAT
    /// camera/turn, KIVRA_CAMERA_TURN: 0, 90, 180, 270; camera/mirror, KIVRA_CAMERA_MIRROR: 0, 1.
    Orientation orientation;
    int mains = 0; ///< camera/mains, KIVRA_CAMERA_MAINS: 50 or 60 Hz; 0 leaves it to the camera
};

/// Read whenever a camera is opened. A value that cannot be used is told in one line of the log and
/// counts as not set. On any thread.
VideoSettings videoSettings();

} // namespace kivra::cameras
