#pragma once

#include "cameras/video/formatchoice.h"

#include <linux/videodev2.h>
#include <vector>

namespace kivra::cameras {

class Node;

/// What a node reports about itself.
struct Capabilities
{
    int error = 0; ///< of the query; the rest is valid only if it is 0
    std::string driver;
    std::string card; ///< the camera's name
    std::string bus;
    bool captures = false;    ///< pictures, on either interface
    bool multiPlanar = false; ///< the interface that it captures on
    bool streams = false;
    bool outputs = false;
    bool converts = false; ///< memory to memory
    bool hasMetadata = false;
};

Capabilities capabilitiesOf(Node &node);

/// All formats, sizes and rates of a camera, as the driver lists them, without repetitions. For a
/// range of sizes or rates, the usual ones in it, the largest size and the highest rate. The length
/// is limited, whatever the driver does.
std::vector<Offer> offersOf(Node &node, bool multiPlanar);

/// The type of the buffers of either interface.
constexpr std::uint32_t bufferType(bool multiPlanar)
{
    return multiPlanar ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE : V4L2_BUF_TYPE_VIDEO_CAPTURE;
}

} // namespace kivra::cameras
