#pragma once

#include "cameras/video/fault.h"
#include "cameras/video/formatchoice.h"
#include "cameras/video/videodevice.h"

#include <vector>

namespace kivra::cameras {

class Kernel;

/// A program that has a node open.
struct NodeUser
{
    int process = 0;
    std::string program; ///< its short name; UTF-8
};

/// The other processes that have \a node open, as far as we may look into them: those of the same
/// user, or all for root. \a processes is the kernel's folder of processes.
std::vector<NodeUser> nodeUsers(const std::string &node, const std::string &processes = "/proc");

/// The name of the group that \a node belongs to; empty where unknown.
std::string groupOf(const std::string &node);

/// \a fault with all that the message to the user needs; \a error is the kernel's number or 0.
FaultReport faultReport(const VideoDevice &device, Fault fault, int error);

/// Everything that is known about one node.
struct CameraReport
{
    VideoDevice device;
    std::string driver; ///< "uvcvideo"; empty if the node could not be asked
    std::string group;  ///< the group of the node, by name
    bool mayOpen = false;
    std::vector<NodeUser> users;
    std::vector<Offer> offers;  ///< what it has, readable or not, as the driver lists it
    std::vector<Choice> ranked; ///< what the program would try, in order; the first is chosen
    bool wishOffered = true;    ///< false: there is a wish, and the camera does not have it
    FaultReport fault;          ///< why there is no picture; Fault::None if there is one
};

/// Examines \a device: opens it for a moment, but does not stream. For the wish see rankFormats().
/// The report on a node that is no camera has neither offers nor a fault.
CameraReport examineCamera(Kernel &kernel, const VideoDevice &device,
                           const std::optional<FormatWish> &wish);

} // namespace kivra::cameras
