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

/// Who has \a node open, without this process. Only processes that we may look into are seen: those
/// of the same user, or all for root. \a processes is the folder of the kernel's list.
std::vector<NodeUser> nodeUsers(const std::string &node, const std::string &processes = "/proc");

/// The name of the group that \a node belongs to; empty where unknown.
std::string groupOf(const std::string &node);

/// \a fault with what the user has to be told of it; \a error is the kernel's number or 0.
FaultReport faultReport(const VideoDevice &device, Fault fault, int error);

/// Everything that is known of one node.
struct CameraReport
{
    VideoDevice device;
    std::string driver; ///< "uvcvideo"; empty if it could not be asked
    std::string group;  ///< the group of the node, by name
    bool mayOpen = false;
    std::vector<NodeUser> users;
    std::vector<Offer> offers;  ///< what it has, readable or not, as the driver lists it
    std::vector<Choice> ranked; ///< what the program would try, in order; the first is chosen
    bool wishOffered = true;    ///< false: there is a wish, and the camera does not have it
    FaultReport fault;          ///< why there is no picture; Fault::None when there can be one
};

/// Looks at \a device, opening it for a moment but not streaming; for the wish see rankFormats().
/// A node that is no camera is reported with what is known and neither offers nor fault.
CameraReport examineCamera(Kernel &kernel, const VideoDevice &device,
                           const std::optional<FormatWish> &wish);

} // namespace kivra::cameras
