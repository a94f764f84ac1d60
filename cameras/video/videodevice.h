#pragma once

#include <string>
#include <vector>

namespace kivra::cameras {

class Kernel;

/// What a V4L2 node is for.
enum class NodeKind {
    Camera,
    Metadata, ///< what a camera says of its pictures
    Output,
    Converter, ///< memory to memory, such as a hardware decoder
    Other,     ///< radio, teletext and the like
    Unknown,   ///< the system does not tell, and we may not ask the node
};

/// What the system knows about a video node.
struct VideoDevice
{
    std::string node; ///< "/dev/video0"; identifies the device as long as it stays
    std::string name; ///< what a menu shows; UTF-8, never empty
    NodeKind kind = NodeKind::Unknown;

    // By these the same camera is recognised when it comes back on another node. Empty where
    // unknown.
    std::string model;  ///< USB vendor and product, "046d:0825"
    std::string serial; ///< as the device reports it; all units of a cheap model have the same
    std::string place;  ///< the bus and its port, "usb-3-1.2"

    bool usb = false;
    bool builtIn = false;  ///< part of the computer, or not on USB
    bool infrared = false; ///< for faces in the dark, not for a page
    int usbSpeed = 0;      ///< Mbit/s: 12, 480, 5000 or more; 0 where unknown
};

/// Where the system keeps its information on nodes; tests use folders of their own.
struct DeviceFolders
{
    std::string nodes = "/dev";
    std::string classes = "/sys/class/video4linux";
    std::string udev = "/run/udev/data";
};

/// All video nodes, of any kind, in the order of a catalogue: external USB cameras, built-in ones,
/// infrared ones, and by the number of the node among equals. A node that sysfs and udev do not
/// identify is opened for a moment with \a kernel; so do not call this on the window's thread. \a
/// known are the devices of the last call that are still the same; only those of unknown kind are
/// examined again.
std::vector<VideoDevice> findDevices(const DeviceFolders &folders, Kernel &kernel,
                                     const std::vector<VideoDevice> &known = {});

/// Those of \a devices that are cameras, in the same order.
std::vector<VideoDevice> camerasAmong(const std::vector<VideoDevice> &devices);

/// Whether \a a and \a b may be the same camera, whatever its node: equal model, name and serial.
/// The place, which tells two equal cameras apart, is not compared.
bool isSameModel(const VideoDevice &a, const VideoDevice &b);

} // namespace kivra::cameras
