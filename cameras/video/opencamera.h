#pragma once

#include "cameras/video/capture.h"
#include "cameras/video/devicecontrols.h"
#include "cameras/video/kernel.h"
#include "cameras/video/videodevice.h"
#include "cameras/video/videosettings.h"

#include <functional>
#include <memory>

namespace kivra::cameras {

/// A camera whose node is open, and its stream in the format that was chosen.
class OpenCamera
{
public:
    /// For \a onLocks see DeviceControls.
    OpenCamera(Kernel &kernel, const VideoSettings &settings,
               std::function<void(LockSet locks, bool found)> onLocks);

    /// Opens \a device and streams in the best of its formats that works. After a fault, destroy
    /// this object.
    Fault begin(const VideoDevice &device);
    /// Streams in the chosen format again, after beginLarge().
    Fault beginAgain();
    /// Streams in a format for still pictures of \a size, as the camera gives it, not turned. The
    /// stream in the chosen format must have ended.
    Fault beginLarge(Size size);

    /// Sizes in which the camera has more pixels than its stream, the smallest first.
    std::vector<Size> largerSizes() const;

    Node &openNode() const { return *node; }
    Capture &stream() const { return *capture; }
    DeviceControls &deviceControls() const { return *controls; }
    int error() const { return lastError; }

private:
    Fault fail(Fault fault, int error = 0);
    Fault tryFormats();

    Kernel &kernel;
    const VideoSettings settings;
    const std::function<void(LockSet, bool)> onLocks;
    int lastError = 0;
    std::vector<Choice> ranked;
    std::size_t chosen = 0;

    // Each needs those before it.
    std::unique_ptr<Node> node;
    std::unique_ptr<DeviceControls> controls;
    std::unique_ptr<Capture> capture;
};

} // namespace kivra::cameras
