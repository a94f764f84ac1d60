#pragma once

#include <string>

namespace kivra::cameras {

/// What can be wrong with a camera.
enum class Fault {
    None,
    NotThere,        ///< no such device is plugged in
    Unplugged,       ///< it was there a moment ago
    NoRight,         ///< the user may not open the node
    InUse,           ///< another program has it
    NoBandwidth,     ///< the USB bus has no room, not even for the smallest format
    NothingReadable, ///< none of its formats is known to us
    NoFrames,        ///< it runs, and no good frame came for three seconds
    Nonsense,        ///< the driver gives impossible answers
    DoesNotAnswer,   ///< a call failed for another reason
};

/// A fault and what the message to the user needs.
struct FaultReport
{
    Fault fault = Fault::None;
    std::string node;   ///< "/dev/video0"
    std::string camera; ///< its name
    std::string user;   ///< InUse: the program that has it; empty if the system does not tell
    std::string group;  ///< NoRight: the group that may open the node; empty where unknown
    int error = 0;      ///< the kernel's number, where there is one
};

/// The fault that the error number of a failed call on a node means.
Fault faultOf(int error);

} // namespace kivra::cameras
