#pragma once

#include "cameras/video/framedecoder.h"
#include "tests/reference/cameraframes.h"
#include "tests/support/guardedbytes.h"

#include <deque>
#include <optional>
#include <vector>

namespace kivra::test {

/// The number that V4L2 makes of the four letters.
std::uint32_t fourccOf(const std::string &letters);

/// V4L2's names of all raw formats that can be read.
const std::vector<std::string> &rawFormats();

/// All eight turns and mirrorings.
const std::vector<cameras::Orientation> &orientations();

/// The orientation's turn in quarters.
int quartersOf(cameras::Orientation orientation);

/// A frame of changing bytes. \a padding is added to the strides.
reference::CameraFrame makeFrame(const std::string &fourcc, int width, int height,
                                 std::size_t padding = 0);

/// The format that the driver of \a frame would report.
cameras::FrameFormat formatOf(const reference::CameraFrame &frame);

/// The frame in memory that ends just before a page that may not be touched.
class DriverFrame
{
public:
    explicit DriverFrame(const std::vector<std::vector<std::uint8_t>> &planes);

    cameras::RawFrame raw;

private:
    std::deque<GuardedBytes> memory;
};

/// Decodes into memory that ends just before a page that may not be touched, with \a padding bytes
/// between the rows, and checks that these stay untouched. Nothing if the decoder rejects the
/// frame.
std::optional<reference::CameraPicture> decoded(cameras::FrameDecoder &decoder,
                                                const cameras::RawFrame &raw, cameras::Size size,
                                                std::size_t padding = 0);

} // namespace kivra::test
