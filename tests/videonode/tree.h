#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The machine that the preloaded library shows to a program: what a test keeps in the folder named
/// by the environment variable KIVRA_TEST_DEVICES.
///
/// - dev/video<n>: a pipe; the camera is plugged in while it exists
/// - sys/video<n>/, udev/: in place of /sys/class/video4linux and /run/udev/data
/// - formats/video<n>: a line "MJPG 1920x1080@30" for each format, in the driver's order
/// - frames/<format>-<width>x<height>.<number>: what the camera delivers, from 0, over and over
/// - busy: another program has the cameras; forbidden: nobody may open them
/// - bandwidth: bytes a second that the bus has room for, without it any number
namespace kivra::test::videonode {

/// One of a camera's formats.
struct Format
{
    std::uint32_t fourcc = 0;
    int width = 0;
    int height = 0;
    int rate = 0; ///< frames a second
};

/// The path in the test's folder that takes the place of \a path; empty for one that is not
/// replaced.
std::string replacement(const std::string &path);

/// The path of something in the test's folder.
std::string inTree(const std::string &path);

/// Whether something in the test's folder exists.
bool exists(const std::string &path);

/// A file in the test's folder; empty if there is none.
std::string contentOf(const std::string &path);

/// The formats of a node such as "video0"; lines that cannot be parsed are left out.
std::vector<Format> formatsOf(const std::string &node);

/// What the bus has to carry for \a format, in bytes a second.
double bandwidthOf(const Format &format);

/// Whether frames of this format differ in length.
bool isCompressed(std::uint32_t fourcc);

/// The frames of \a format, one after the other.
std::vector<std::vector<char>> framesOf(const Format &format);

} // namespace kivra::test::videonode
